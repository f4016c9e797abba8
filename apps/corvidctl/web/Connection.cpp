#include "web/Connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

namespace {

constexpr std::size_t PIECE = 4096;

/// More than this is not waited for at a goodbye, whatever the deadline is.
constexpr int MOST_UNREAD_PIECES = 256;

}  // namespace

int millisecondsUntil(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

Connection::Received Connection::receive(Deadline deadline) {
    std::array<char, PIECE> piece{};
    while (waitFor(POLLIN, deadline)) {
        const ssize_t count = recv(socket_, piece.data(), piece.size(), 0);
        if (count > 0) {
            unread_.append(piece.data(), static_cast<std::size_t>(count));
            return Received::Something;
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            return Received::TheEnd;
        }
    }
    return Received::NothingInTime;
}

std::string Connection::take(std::size_t size) {
    std::string taken = unread_.substr(0, size);
    unread_.erase(0, size);
    return taken;
}

bool Connection::send(std::string_view text, Deadline deadline) {
    while (!text.empty()) {
        if (!waitFor(POLLOUT, deadline)) {
            return false;
        }
        const ssize_t count = ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EAGAIN && errno != EINTR) {
            return false;
        }
    }
    return true;
}

void Connection::finish(Deadline deadline) {
    shutdown(socket_, SHUT_WR);
    unread_.clear();
    for (int i = 0; i < MOST_UNREAD_PIECES && receive(deadline) == Received::Something; ++i) {
        unread_.clear();
    }
}

bool Connection::waitFor(short events, Deadline deadline) const {
    pollfd waited{socket_, events, 0};
    return QuillCoreUtils::uninterrupted([&] { return poll(&waited, 1, millisecondsUntil(deadline)); }) == 1;
}

}  // namespace corvidctl
