#include "impl/tessel/SpdlogSink.h"

#include <fcntl.h>
#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/sinks/ansicolor_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <mutex>
#include <utility>

#include "impl/quill/FileReplacement.h"
#include "impl/tessel/CountingSink.h"
#include "impl/tessel/PrintableText.h"
#include "impl/tessel/StreamSink.h"
#include "tessel/TesselLogger.h"

namespace tessel {
namespace {

constexpr const char* linePattern = "%Y-%m-%d %H:%M:%S.%e %z %^%l%$ [%t] %v";
constexpr const char* toTheLinesEndCleared = "\x1b[K";

/// Places in spdlog's queue beyond those of the records, for flushes.
constexpr std::size_t flushPlaces = 16;

/// More than one would mix up the order of the lines.
constexpr std::size_t threads = 1;

spdlog::level::level_enum spdlogLevel(int level) {
    switch (level) {
    case 3:
        return spdlog::level::warn;
    case 4:
        return spdlog::level::info;
    case 5:
        return spdlog::level::debug;
    default:
        return spdlog::level::err;
    }
}

/// What writes to the end of a file: to the very one that has been looked at, whatever stands in its place by then. A
/// sink of spdlog's opens a name itself, and follows any link. @return null if it cannot be opened.
std::shared_ptr<spdlog::sinks::sink> endOfFile(const std::string& path, std::chrono::milliseconds patience) {
    int descriptor = -1;
    if (QuillCoreUtils::openForAppending(path, O_WRONLY, descriptor, QuillCoreUtils::Growing::Streams) != 0) {
        return nullptr;
    }
    return std::make_shared<StreamSink>(path, descriptor, patience);
}

}  // namespace

class SpdlogSink::Engine {
public:
    explicit Engine(std::shared_ptr<spdlog::sinks::sink> end, const std::string& lineEnd = {})
        : sink_(std::make_shared<CountingSink>(std::move(end), queueCapacity)),
          pool_(std::make_shared<spdlog::details::thread_pool>(queueCapacity + flushPlaces, threads)),
          logger_(std::make_shared<spdlog::async_logger>("", sink_, pool_, spdlog::async_overflow_policy::block)) {
        sink_->set_pattern(linePattern + lineEnd);
        logger_->set_level(spdlog::level::trace);
    }

    // The queue's thread ends first. Its messages hold the logger too, and must not be the last to do so.
    ~Engine() { pool_.reset(); }

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    void write(const LogRecord& record) {
        // Whoever was admitted finds a place in the queue, so the queue never makes a writer wait.
        if (sink_->admit()) {
            const std::string line = "[" + record.logger + "] " + record.function + ": " + record.text;
            logger_->log(spdlogLevel(record.level), printableText(line));
        }
    }

    void flush() {
        unsigned long number = 0;
        {
            // The queue keeps the order of its entries, so the number tells which flush is this one.
            const std::lock_guard<std::mutex> lock(flushMutex_);
            number = ++flushes_;
            logger_->flush();
        }
        sink_->waitForFlush(number);
    }

private:
    const std::shared_ptr<CountingSink> sink_;
    std::shared_ptr<spdlog::details::thread_pool> pool_;
    const std::shared_ptr<spdlog::async_logger> logger_;
    std::mutex flushMutex_;
    unsigned long flushes_ = 0;  ///< guarded by flushMutex_
};

SpdlogSink::SpdlogSink(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

SpdlogSink::~SpdlogSink() = default;

std::shared_ptr<SpdlogSink> SpdlogSink::toStandardError(bool colours, bool clearing) {
    std::shared_ptr<spdlog::sinks::sink> end;
    if (colours) {
        end = std::make_shared<spdlog::sinks::ansicolor_stderr_sink_mt>(spdlog::color_mode::always);
    } else {
        end = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    }
    const std::string lineEnd = clearing ? toTheLinesEndCleared : "";
    return std::shared_ptr<SpdlogSink>(new SpdlogSink(std::make_unique<Engine>(std::move(end), lineEnd)));
}

std::shared_ptr<SpdlogSink> SpdlogSink::toFile(const std::string& path, std::chrono::milliseconds patience) {
    auto end = endOfFile(path, patience);
    return end == nullptr ? nullptr
                          : std::shared_ptr<SpdlogSink>(new SpdlogSink(std::make_unique<Engine>(std::move(end))));
}

void SpdlogSink::write(const LogRecord& record) { engine_->write(record); }

void SpdlogSink::flush() { engine_->flush(); }

}  // namespace tessel
