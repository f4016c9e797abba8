#include "web/Connection.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

namespace {

constexpr std::size_t PIECE = 4096;

/// More than this is not waited for at a goodbye, whatever the deadline is.
constexpr int MOST_UNREAD_PIECES = 256;

}  // namespace

bool Connection::hasMore(Deadline deadline) { return taken_ < unread_.size() || receive(deadline); }

ssize_t Connection::read(char* data, std::size_t size) {
    overfull_ = mostBytes_ == 0;
    if (overfull_ || !hasMore(deadline_)) {
        return 0;
    }
    const std::size_t count = unread_.copy(data, std::min(size, mostBytes_), taken_);
    taken_ += count;
    mostBytes_ -= count;
    return static_cast<ssize_t>(count);
}

ssize_t Connection::write(const char* data, std::size_t size) {
    for (std::size_t written = 0; written < size;) {
        if (!waitFor(POLLOUT, deadline_)) {
            return -1;
        }
        const ssize_t count = send(socket_, data + written, size - written, MSG_NOSIGNAL);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EAGAIN && errno != EINTR) {
            return -1;
        }
    }
    return static_cast<ssize_t>(size);
}

void Connection::finish(Deadline deadline) {
    shutdown(socket_, SHUT_WR);
    for (int i = 0; i < MOST_UNREAD_PIECES && receive(deadline); ++i) {
    }
}

/// Replaces what has been taken. @return false if nothing came in time.
bool Connection::receive(Deadline deadline) {
    unread_.resize(PIECE);
    taken_ = 0;
    while (waitFor(POLLIN, deadline)) {
        const ssize_t count = recv(socket_, unread_.data(), unread_.size(), 0);
        if (count > 0) {
            unread_.resize(static_cast<std::size_t>(count));
            return true;
        }
        if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
            break;
        }
    }
    unread_.clear();
    return false;
}

bool Connection::waitFor(short events, Deadline deadline) const {
    pollfd waited{socket_, events, 0};
    return QuillCoreUtils::uninterrupted([&] { return poll(&waited, 1, millisecondsUntil(deadline)); }) == 1;
}

}  // namespace corvidctl
