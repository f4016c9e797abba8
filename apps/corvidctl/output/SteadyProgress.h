#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "output/ProgressLine.h"

namespace corvidctl {

/// Keeps a progress line up to date while its maker is busy with something that cannot do so. The line is gone at the
/// end of the scope. To be made after the Interruption, whose signals its thread must not take.
class SteadyProgress {
public:
    /// @param progress must outlive this. @param text what is being waited for.
    SteadyProgress(ProgressLine& progress, std::string text);
    ~SteadyProgress();

    SteadyProgress(const SteadyProgress&) = delete;
    SteadyProgress& operator=(const SteadyProgress&) = delete;

private:
    void run();

    ProgressLine& progress_;
    const std::string text_;
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;  ///< under mutex_
    std::thread thread_;   ///< last: it uses all of the above
};

}  // namespace corvidctl
