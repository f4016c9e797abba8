#include "impl/tessel/StreamSink.h"

#include <poll.h>
#include <spdlog/common.h>
#include <spdlog/details/log_msg.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tessel {

using QuillCoreUtils::uninterrupted;

StreamSink::StreamSink(std::string name, int descriptor, std::chrono::milliseconds patience)
    : name_(std::move(name)), descriptor_(descriptor), patience_(static_cast<int>(patience.count())) {}

void StreamSink::sink_it_(const spdlog::details::log_msg& message) {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    if (isInMidLine_) {
        write("\n");
    }
    write({line.data(), line.size()});
}

void StreamSink::write(std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = uninterrupted([&] { return ::write(descriptor_.get(), text.data(), text.size()); });
        if (size >= 0) {
            text.remove_prefix(static_cast<std::size_t>(size));
            isInMidLine_ = !text.empty();
            isTaken_ = true;
        } else if (errno != EAGAIN) {
            throw spdlog::spdlog_ex("the log " + name_ + " cannot be written", errno);
        } else if (!isTaken_ || !waitForRoom()) {
            isTaken_ = false;
            throw spdlog::spdlog_ex("nobody reads the log " + name_ + ": lines are lost");
        }
    }
}

bool StreamSink::waitForRoom() {
    pollfd waited = {descriptor_.get(), POLLOUT, 0};
    return uninterrupted([&] { return poll(&waited, 1, patience_); }) == 1;
}

}  // namespace tessel
