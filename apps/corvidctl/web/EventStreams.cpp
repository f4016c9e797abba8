#include "web/EventStreams.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace corvidctl {

std::string streamText(const ServerEvent& event) {
    std::string text = "event: ";
    text.append(event.name).append("\n");
    if (event.id != 0) {
        text.append("id: ").append(std::to_string(event.id)).append("\n");
    }
    return text.append("data: ").append(event.json).append("\n\n");
}

EventStream::EventStream(std::size_t mostBytes) : mostBytes_(mostBytes), news_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!news_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void EventStream::push(const std::shared_ptr<const std::string>& text, std::uint64_t id) {
    const std::lock_guard lock(mutex_);
    if (over_) {
        return;
    }
    over_ = !waiting_.empty() && bytes_ + text->size() > mostBytes_;
    if (over_) {
        waiting_.clear();
    } else {
        waiting_.push_back({text, id});
        bytes_ += text->size();
    }
    announce();
}

bool EventStream::isOver() const {
    const std::lock_guard lock(mutex_);
    return over_;
}

std::string EventStream::take(std::uint64_t known) {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const Waiting& one : std::exchange(waiting_, {})) {
        if (one.id == 0 || one.id > known) {
            text.append(*one.text);
        }
    }
    bytes_ = 0;
    if (!over_) {
        eventfd_t count = 0;
        eventfd_read(news_.get(), &count);
    }
    return text;
}

void EventStream::announce() const { eventfd_write(news_.get(), 1); }

std::shared_ptr<EventStream> EventStreams::open() {
    const std::lock_guard lock(mutex_);
    std::erase_if(streams_, [](const auto& stream) { return stream.expired(); });
    if (streams_.size() >= most_) {
        return nullptr;
    }
    try {
        auto stream = std::make_shared<EventStream>(mostBytes_);
        streams_.push_back(stream);
        return stream;
    } catch (const std::system_error&) {
        return nullptr;
    }
}

bool EventStreams::isAnyOpen() const {
    const std::lock_guard lock(mutex_);
    return std::any_of(streams_.begin(), streams_.end(), [](const auto& stream) { return !stream.expired(); });
}

void EventStreams::send(const ServerEvent& event) {
    const auto text = std::make_shared<const std::string>(streamText(event));
    const std::lock_guard lock(mutex_);
    for (const auto& place : streams_) {
        if (const auto stream = place.lock()) {
            stream->push(text, event.id);
        }
    }
}

}  // namespace corvidctl
