#include "tessel/TesselLogger.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "quill/StringUtils.h"
#include "tessel/LogSink.h"

class TesselLogger {
public:
    explicit TesselLogger(std::string name) : name_(std::move(name)) {}

    const std::string& name() const { return name_; }

private:
    const std::string name_;
};

namespace {

constexpr int mostSevere = 2;
constexpr int startLevel = 3;
constexpr int debug = 5;

/// The process-wide state. Its locks are leaves: nothing is called while they are held.
class Log {
public:
    TesselLogger* loggerNamed(const std::string& name) {
        const std::lock_guard<std::mutex> lock(loggersMutex_);
        std::unique_ptr<TesselLogger>& logger = loggers_[name];
        if (logger == nullptr) {
            logger = std::make_unique<TesselLogger>(name);
        }
        return logger.get();
    }

    std::shared_ptr<tessel::LogSink> sink() {
        const std::lock_guard<std::mutex> lock(sinkMutex_);
        return sink_;
    }

    /// The sink before, for the caller to drop: the end of a sink may take long and may log.
    std::shared_ptr<tessel::LogSink> exchangeSink(std::shared_ptr<tessel::LogSink> sink) {
        const std::lock_guard<std::mutex> lock(sinkMutex_);
        return std::exchange(sink_, std::move(sink));
    }

    std::atomic<int> level{startLevel};

private:
    std::mutex loggersMutex_;
    std::map<std::string, std::unique_ptr<TesselLogger>> loggers_;
    std::mutex sinkMutex_;
    std::shared_ptr<tessel::LogSink> sink_;
};

/// Never destroyed: objects log until the very end of a process.
Log& log() {
    static auto* const instance = new Log;
    return *instance;
}

bool isWritten(int level) { return level <= log().level.load(std::memory_order_relaxed); }

}  // namespace

TesselLogger* TesselLogger_getLogger(const std::string& name) { return log().loggerNamed(name); }

void TesselLog(TesselLogger* logger, int level, const char* file, int line, const char* function,
               const std::string& text) {
    if (!isWritten(level)) {
        return;
    }
    if (const auto sink = log().sink()) {
        sink->write({level, logger->name(), file, line, function, text});
    }
}

void TesselLog(TesselLogger* logger, int level, const char* file, int line, const char* function,
               const std::wstring& text) {
    if (isWritten(level)) {
        TesselLog(logger, level, file, line, function, QuillCoreUtils::toString(text));
    }
}

bool TesselLog_isDebugEnabled(TesselLogger*) { return isWritten(debug); }

namespace tessel {

void LogControl::setSink(std::shared_ptr<LogSink> sink) { log().exchangeSink(std::move(sink)); }

void LogControl::setLevel(int level) { log().level = std::clamp(level, mostSevere, debug); }

int LogControl::getLevel() { return log().level; }

void LogControl::flush() {
    if (const auto sink = log().sink()) {
        sink->flush();
    }
}

}  // namespace tessel
