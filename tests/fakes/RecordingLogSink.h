#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "tessel/LogSink.h"

namespace fakes {

/// Keeps every record. Installed with level 5 by its ScopedRecordingLog.
class RecordingLogSink : public tessel::LogSink {
public:
    struct Line {
        int level;
        std::string logger;
        std::string function;
        std::string text;

        bool operator==(const Line&) const = default;
    };

    void write(const tessel::LogRecord& record) override;

    std::vector<Line> lines() const;

    /// Texts of one level, in order.
    std::vector<std::string> texts(int level) const;

    /// How often exactly this text was written at this level.
    std::size_t count(int level, const std::string& text) const;

    /// True if the text occurs inside any record of any level.
    bool mentions(const std::string& part) const;

    /// Waits until exactly this text has been written, at any level. For tests with real threads.
    void waitFor(const std::string& text);

    /// Runs the action once, when exactly this text is written next, on the thread that writes it and with no lock of
    /// the sink held: what else happens at that moment.
    void atNext(const std::string& text, std::function<void()> action);

    /// Waits until so many records have been written since the last clear().
    void waitForLines(std::size_t count);

    void clear();

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Line> lines_;
    std::string awaitedText_;
    std::function<void()> action_;
};

/// Sets a recording sink for the length of a test and puts the drop-everything sink back afterwards.
class ScopedRecordingLog {
public:
    explicit ScopedRecordingLog(int level = 5);
    ~ScopedRecordingLog();

    ScopedRecordingLog(const ScopedRecordingLog&) = delete;
    ScopedRecordingLog& operator=(const ScopedRecordingLog&) = delete;

    RecordingLogSink* operator->() const { return sink_.get(); }

private:
    std::shared_ptr<RecordingLogSink> sink_;
};

}  // namespace fakes
