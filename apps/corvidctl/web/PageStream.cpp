#include "web/PageStream.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

namespace {

/// What a browser is to wait before it comes back, and a first sign of life.
constexpr std::string_view GREETING = "retry: 1000\n\n";

/// A comment. It finds out whether there is still somebody on the other side.
constexpr std::string_view PING = ": ping\n\n";

}  // namespace

void PageStream::run(std::uint64_t since) {
    const std::uint64_t known = sendMissed(since);
    while (reads_ && !events_.isOver()) {
        switch (waitForNews()) {
        case News::Events:
            reads_ = send(events_.take(known));
            break;
        case News::Silence:
            reads_ = send(PING);
            break;
        case News::Gone:
            reads_ = false;
            break;
        }
    }
}

/// The stream has been open since before: what happens meanwhile waits in it, and may be among what was missed, too.
/// Numbers are compared with those of this run alone: the page may come from an earlier one, on the same port.
std::uint64_t PageStream::sendMissed(std::uint64_t since) {
    std::string text(GREETING);
    std::uint64_t known = 0;
    for (const ServerEvent& event : house_.api.eventsSince(since)) {
        text.append(streamText(event));
        known = std::max(known, event.id);
    }
    reads_ = send(text);
    return known;
}

PageStream::News PageStream::waitForNews() const {
    std::array<pollfd, 2> waited{pollfd{events_.descriptor(), POLLIN, 0},
                                 pollfd{connection_.socket(), POLLIN | POLLRDHUP, 0}};
    const Deadline ping = std::chrono::steady_clock::now() + house_.options.pingInterval;
    const int count =
        QuillCoreUtils::uninterrupted([&] { return poll(waited.data(), waited.size(), millisecondsUntil(ping)); });
    if (count == 0) {
        return News::Silence;
    }
    // A page says nothing on its stream: whatever comes from there is its end.
    return waited[1].revents != 0 ? News::Gone : News::Events;
}

bool PageStream::send(std::string_view text) {
    connection_.setDeadline(std::chrono::steady_clock::now() + house_.options.requestTime);
    return connection_.write(text.data(), text.size()) >= 0;
}

}  // namespace corvidctl
