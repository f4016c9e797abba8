#include "web/LoopbackListener.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace corvidctl {

namespace {

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/// A port whose last connections are still dying may be taken again; one that somebody listens on may not.
bool bindAndListen(int socket, sockaddr_in& address) {
    const int yes = 1;
    auto* const name = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    return setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 && bind(socket, name, length) == 0 &&
           listen(socket, SOMAXCONN) == 0 && getsockname(socket, name, &length) == 0;
}

}  // namespace

LoopbackListener::LoopbackListener(std::uint16_t port)
    : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_in address = loopback(port);
    if (!socket_.isOpen() || !bindAndListen(socket_.get(), address)) {
        const std::string reason = std::strerror(errno);
        throw std::runtime_error("cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + reason);
    }
    port_ = ntohs(address.sin_port);
}

int LoopbackListener::accept() const {
    const int client = accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (client >= 0) {
        const int yes = 1;
        setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    }
    return client;
}

}  // namespace corvidctl
