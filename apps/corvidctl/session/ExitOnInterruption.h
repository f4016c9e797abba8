#pragma once

#include <functional>
#include <thread>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

class Interruption;

/// While this lives, an interruption ends the program on the spot: a module that is just starting cannot be asked to
/// stop, and taking it down is not worth the wait. Only for work of which nothing needs to be kept.
///
/// Temporary folders are removed first, and what waits to be logged is written.
class ExitOnInterruption {
public:
    /// @param interruption must outlive this. @param status the program's.
    /// @param lastWords run as the last thing before the end, on a thread of its own.
    ExitOnInterruption(const Interruption& interruption, int status, std::function<void()> lastWords = {});

    /// An interruption that has come until now still ends the program.
    ~ExitOnInterruption();

    ExitOnInterruption(const ExitOnInterruption&) = delete;
    ExitOnInterruption& operator=(const ExitOnInterruption&) = delete;

private:
    void run();
    [[noreturn]] void leave();

    const int interruption_;
    const int status_;
    const std::function<void()> lastWords_;
    const QuillCoreUtils::FileDescriptor over_;
    std::thread thread_;  ///< last: it uses all of the above
};

}  // namespace corvidctl
