#pragma once

#include <cstdint>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

/// A port of 127.0.0.1. Nobody outside this machine reaches it.
class LoopbackListener {
public:
    /// From here on clients can connect. @param port 0: a free one.
    /// @throws std::runtime_error with one line that names the port and the reason.
    explicit LoopbackListener(std::uint16_t port);

    std::uint16_t port() const { return port_; }

    /// Readable when somebody waits to be accepted.
    int descriptor() const { return socket_.get(); }

    /// Takes the next one: a socket that is not blocking and is no program's that this one starts.
    /// @return -1 and errno: EAGAIN if there is none.
    int accept() const;

private:
    const QuillCoreUtils::FileDescriptor socket_;
    std::uint16_t port_ = 0;
};

}  // namespace corvidctl
