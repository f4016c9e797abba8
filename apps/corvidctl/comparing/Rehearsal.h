#pragma once

#include <functional>
#include <stdexcept>
#include <string>

#include "cli/Invocation.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "session/ExitOnInterruption.h"
#include "session/Interruption.h"

namespace corvidctl {

/// The user has had enough: no answer, and nobody's mistake.
class Interrupted : public std::runtime_error {
public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// What a command needs that takes its time, most of all one that tries something out on a throw-away copy: an
/// interruption is noticed between the steps, so that the copy is removed, and a step that takes long is shown. To be
/// made before any session.
class Rehearsal {
public:
    explicit Rehearsal(Output& output);

    Rehearsal(const Rehearsal&) = delete;
    Rehearsal& operator=(const Rehearsal&) = delete;

    /// The invocation on a copy. What the module logs of it, which would name the copy's files and quote broken ones,
    /// comes out only at the levels 4 and 5; what matters of it is for the command to tell.
    static Invocation onCopy(Invocation invocation, const std::string& directory);

    /// Runs one step. @param text what the progress line calls it.
    /// @throws Interrupted if an interruption has come before or meanwhile.
    template <class Step>
    void run(const std::string& text, const Step& step) {
        throwIfInterrupted();
        showing(text, step);
        throwIfInterrupted();
    }

    /// From here to the end of the scope, an interruption ends the program on the spot, with status 1. For a command
    /// that has nothing to tell then.
    ExitOnInterruption endingOnTheSpot();

    Interruption& interruption() { return interruption_; }
    ProgressLine& progress() { return progress_; }

private:
    void throwIfInterrupted();
    void showing(const std::string& text, const std::function<void()>& step);

    Output& output_;
    Interruption interruption_;
    ProgressLine progress_;
};

}  // namespace corvidctl
