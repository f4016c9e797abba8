#pragma once

#include <spdlog/sinks/sink.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace tessel {

/// Stands between spdlog's queue and the sink that writes, and counts what spdlog does not tell: how many records are
/// on their way, how many were dropped, by the sink that writes too (it throws), and which flush has been done.
/// spdlog's own ways to deal with a full queue either make a writer wait or lose flushes along with records.
class CountingSink : public spdlog::sinks::sink {
public:
    /// @param capacity how many records may be on their way.
    CountingSink(std::shared_ptr<spdlog::sinks::sink> inner, std::size_t capacity);

    /// Takes a place in the queue for one record; to be asked before the record is queued. Never waits. Any thread.
    /// @return false if there is none: the record is counted as dropped.
    bool admit();

    /// Waits until that many flushes have been done since the start. Any thread but that of the queue.
    void waitForFlush(unsigned long number);

    void log(const spdlog::details::log_msg& message) override;
    void flush() override;
    void set_pattern(const std::string& pattern) override;
    void set_formatter(std::unique_ptr<spdlog::formatter> formatter) override;

private:
    void reportDropped();

    const std::shared_ptr<spdlog::sinks::sink> inner_;
    const std::size_t capacity_;
    std::atomic<std::size_t> underWay_{0};
    std::atomic<std::size_t> dropped_{0};
    std::mutex mutex_;
    std::condition_variable flushed_;
    unsigned long flushes_ = 0;  ///< guarded by mutex_
};

}  // namespace tessel
