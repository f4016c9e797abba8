#include "impl/tessel/SpdlogSink.h"

#include <fcntl.h>
#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/sinks/ansicolor_sink.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <mutex>
#include <utility>

#include "impl/quill/FileDescriptor.h"
#include "impl/quill/FileReplacement.h"
#include "impl/tessel/CountingSink.h"
#include "impl/tessel/PrintableText.h"
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

/// Opens a file before spdlog does, which would make it with a wider mode and follow any link.
/// @return its descriptor, for the caller to close; -1 on failure.
int openFirst(const std::string& path) {
    int descriptor = -1;
    QuillCoreUtils::openForAppending(path, O_WRONLY, descriptor);
    return descriptor;
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

std::shared_ptr<SpdlogSink> SpdlogSink::toFile(const std::string& path) {
    // Kept until spdlog has opened it too: whoever reads a pipe would find its end between the two, and spdlog would
    // wait for another reader.
    const QuillCoreUtils::FileDescriptor file(openFirst(path));
    if (!file.isOpen()) {
        return nullptr;
    }
    try {
        auto end = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
        return std::shared_ptr<SpdlogSink>(new SpdlogSink(std::make_unique<Engine>(std::move(end))));
    } catch (const spdlog::spdlog_ex&) {
        return nullptr;
    }
}

void SpdlogSink::write(const LogRecord& record) { engine_->write(record); }

void SpdlogSink::flush() { engine_->flush(); }

}  // namespace tessel
