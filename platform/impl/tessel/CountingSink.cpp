#include "impl/tessel/CountingSink.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/formatter.h>

#include <utility>

namespace tessel {
namespace {

/// Runs a step at the end of a scope, also when the disk is full and the sink throws (spdlog reports that itself).
template <typename Step>
class AtEnd {
public:
    explicit AtEnd(Step step) : step_(std::move(step)) {}
    ~AtEnd() { step_(); }

    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

private:
    Step step_;
};

}  // namespace

CountingSink::CountingSink(std::shared_ptr<spdlog::sinks::sink> inner, std::size_t capacity)
    : inner_(std::move(inner)), capacity_(capacity) {}

bool CountingSink::admit() {
    std::size_t count = underWay_.load();
    while (count < capacity_) {
        if (underWay_.compare_exchange_weak(count, count + 1)) {
            return true;
        }
    }
    ++dropped_;
    return false;
}

void CountingSink::waitForFlush(unsigned long number) {
    std::unique_lock<std::mutex> lock(mutex_);
    flushed_.wait(lock, [&] { return flushes_ >= number; });
}

void CountingSink::log(const spdlog::details::log_msg& message) {
    const AtEnd counted([this] { --underWay_; });
    try {
        reportDropped();
        inner_->log(message);
    } catch (...) {
        ++dropped_;
        throw;
    }
    if (underWay_.load() == 1) {
        // This was the last: nobody knows when the next comes, and a crash until then would lose what is buffered.
        inner_->flush();
    }
}

void CountingSink::reportDropped() {
    if (const std::size_t count = dropped_.load()) {
        const std::string text = std::to_string(count) + " records were dropped";
        inner_->log(spdlog::details::log_msg("", spdlog::level::warn, text));
        dropped_ -= count;
    }
}

void CountingSink::flush() {
    const AtEnd counted([this] {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++flushes_;
        flushed_.notify_all();
    });
    inner_->flush();
}

void CountingSink::set_pattern(const std::string& pattern) { inner_->set_pattern(pattern); }

void CountingSink::set_formatter(std::unique_ptr<spdlog::formatter> formatter) {
    inner_->set_formatter(std::move(formatter));
}

}  // namespace tessel
