#pragma once

#include <httplib.h>

#include <cstddef>
#include <string>

#include "web/Deadline.h"

namespace corvidctl {

/// One browser's connection, as the HTTP library reads and writes it. Within limits for the whole, so that a client
/// that sends or takes a byte now and then gets no more time than one that does nothing. One thread.
class Connection : public httplib::Stream {
public:
    /// @param socket not blocking; stays the caller's.
    explicit Connection(int socket) : socket_(socket) {}

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Waits until there is something to read. @return false if nothing came in time.
    bool hasMore(Deadline deadline);

    /// When reading and writing end from here on.
    void setDeadline(Deadline deadline) { deadline_ = deadline; }

    /// How many bytes can be read from here on.
    void setMostBytes(std::size_t bytes) { mostBytes_ = bytes; }

    /// True if reading has ended since the last limit because there would have been more than that.
    bool isOverfull() const { return overfull_; }

    /// Says goodbye and waits until the client has gone too: closing over what it sent and nobody read would take the
    /// answer away from it.
    void finish(Deadline deadline);

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }

    /// @return 0 if there is no more, in time and within the limit.
    ssize_t read(char* data, std::size_t size) override;

    /// Writes all of it, or fails with -1.
    ssize_t write(const char* data, std::size_t size) override;

    /// Both ends are this machine, which nobody asks for: these leave what they are given as it is.
    void get_remote_ip_and_port(std::string& /*address*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*address*/, int& /*port*/) const override {}

    int socket() const override { return socket_; }

private:
    bool receive(Deadline deadline);
    bool waitFor(short events, Deadline deadline) const;

    const int socket_;
    Deadline deadline_;
    std::size_t mostBytes_ = 0;
    bool overfull_ = false;
    std::string unread_;
    std::size_t taken_ = 0;  ///< of unread_, from its beginning
};

}  // namespace corvidctl
