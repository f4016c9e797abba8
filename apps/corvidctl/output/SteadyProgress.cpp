#include "output/SteadyProgress.h"

#include <utility>

namespace corvidctl {

namespace {

/// How often the seconds of the line are looked at.
constexpr std::chrono::milliseconds TICK{250};

}  // namespace

SteadyProgress::SteadyProgress(ProgressLine& progress, std::string text)
    : progress_(progress), text_(std::move(text)), thread_([this] { run(); }) {}

SteadyProgress::~SteadyProgress() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isOver_ = true;
    }
    over_.notify_one();
    thread_.join();
    progress_.clear();
}

void SteadyProgress::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!isOver_) {
        progress_.show(text_);
        over_.wait_for(lock, TICK);
    }
}

}  // namespace corvidctl
