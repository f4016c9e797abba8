#include "fakes/RecordingLogSink.h"

#include <algorithm>
#include <utility>

namespace fakes {

void RecordingLogSink::write(const tessel::LogRecord& record) {
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_.push_back({record.level, record.logger, record.function, record.text});
        if (record.text == awaitedText_) {
            action = std::exchange(action_, nullptr);
        }
        changed_.notify_all();
    }
    if (action) {
        action();
    }
}

std::vector<RecordingLogSink::Line> RecordingLogSink::lines() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

std::vector<std::string> RecordingLogSink::texts(int level) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> texts;
    for (const Line& line : lines_) {
        if (line.level == level) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

std::size_t RecordingLogSink::count(int level, const std::string& text) const {
    const std::vector<std::string> all = texts(level);
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), text));
}

bool RecordingLogSink::mentions(const std::string& part) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const Line& line) { return line.text.find(part) != std::string::npos; });
}

void RecordingLogSink::waitFor(const std::string& text) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] {
        return std::any_of(lines_.begin(), lines_.end(), [&](const Line& line) { return line.text == text; });
    });
}

void RecordingLogSink::atNext(const std::string& text, std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    awaitedText_ = text;
    action_ = std::move(action);
}

void RecordingLogSink::waitForLines(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return lines_.size() >= count; });
}

void RecordingLogSink::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.clear();
}

ScopedRecordingLog::ScopedRecordingLog(int level) : sink_(std::make_shared<RecordingLogSink>()) {
    tessel::LogControl::setLevel(level);
    tessel::LogControl::setSink(sink_);
}

ScopedRecordingLog::~ScopedRecordingLog() {
    tessel::LogControl::setSink(nullptr);
    tessel::LogControl::setLevel(3);
}

}  // namespace fakes
