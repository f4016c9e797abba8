#pragma once

#include <memory>

#include "cli/Invocation.h"
#include "session/ExitOnInterruption.h"

namespace corvidctl {

class Interruption;
struct Output;

/// While the result lives, an interruption ends the program on the spot, with status 0: nothing is to be told of a
/// command that goes on until it is interrupted and ends before it has begun.
/// @param output its line of progress is ended; both must outlive the result.
ExitOnInterruption endingQuietly(const Interruption& interruption, Output& output);

/// Makes what such a command works on, a session or what has one, from the invocation.
template <class Started>
std::unique_ptr<Started> startQuietly(const Invocation& invocation, const Interruption& interruption, Output& output) {
    const ExitOnInterruption exit = endingQuietly(interruption, output);
    return std::make_unique<Started>(invocation);
}

}  // namespace corvidctl
