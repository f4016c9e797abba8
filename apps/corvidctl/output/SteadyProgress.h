#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "output/ProgressLine.h"

namespace corvidctl {

/// Keeps a progress line up to date while its maker is busy with something that cannot do so, on a thread that takes no
/// signals. The line is gone at the end of the scope, if not before.
class SteadyProgress {
public:
    /// @param progress must outlive this. @param text what is being waited for.
    SteadyProgress(ProgressLine& progress, std::string text);
    ~SteadyProgress();

    SteadyProgress(const SteadyProgress&) = delete;
    SteadyProgress& operator=(const SteadyProgress&) = delete;

    /// Takes the line away for good: it is gone when this returns. Any thread, any number of times.
    void end();

private:
    void run();

    ProgressLine& progress_;
    const std::string text_;
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;  ///< under mutex_
    std::once_flag ended_;
    std::thread thread_;  ///< last: it uses all of the above; none where nothing is shown
};

}  // namespace corvidctl
