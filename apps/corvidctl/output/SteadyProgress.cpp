#include "output/SteadyProgress.h"

#include <csignal>
#include <functional>
#include <utility>

namespace corvidctl {

namespace {

/// How often the seconds of the line are looked at.
constexpr std::chrono::milliseconds TICK{250};

/// A thread inherits what is blocked: one that is to take no signal is made while all are.
std::thread startWithoutSignals(const std::function<void()>& function) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(function);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace

SteadyProgress::SteadyProgress(ProgressLine& progress, std::string text) : progress_(progress), text_(std::move(text)) {
    if (progress_.isShown()) {
        thread_ = startWithoutSignals([this] { run(); });
    }
}

SteadyProgress::~SteadyProgress() { end(); }

void SteadyProgress::end() {
    std::call_once(ended_, [this] {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            isOver_ = true;
        }
        over_.notify_one();
        if (thread_.joinable()) {
            thread_.join();
        }
        progress_.clear();
    });
}

void SteadyProgress::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!isOver_) {
        progress_.show(text_);
        over_.wait_for(lock, TICK);
    }
}

}  // namespace corvidctl
