#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace corvidctl {

using Deadline = std::chrono::steady_clock::time_point;

/// How long poll() is to wait for a deadline, in milliseconds: 0 if it has passed.
int millisecondsUntil(Deadline deadline);

/// One browser's connection: reads and writes with a deadline for the whole, so that a client that sends or takes a
/// byte now and then gets no more time than one that does nothing. One thread.
class Connection {
public:
    /// @param socket not blocking; stays the caller's.
    explicit Connection(int socket) : socket_(socket) {}

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    enum class Received { Something, TheEnd, NothingInTime };

    /// Waits until something more has come, which joins unread().
    Received receive(Deadline deadline);

    /// What has come and has not been taken.
    const std::string& unread() const { return unread_; }

    /// Takes so many bytes of what has come. @param size at most that of unread().
    std::string take(std::size_t size);

    /// @return false if the client did not take all of it in time.
    bool send(std::string_view text, Deadline deadline);

    /// Says goodbye and waits until the client has gone too: closing over what it sent and nobody read would take the
    /// answer away from it.
    void finish(Deadline deadline);

    int socket() const { return socket_; }

private:
    bool waitFor(short events, Deadline deadline) const;

    const int socket_;
    std::string unread_;
};

}  // namespace corvidctl
