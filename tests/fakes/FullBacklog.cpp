#include "fakes/FullBacklog.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace fakes {

FullBacklog::FullBacklog(const std::string& address, std::uint16_t port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &place.sin_addr);
    const int reuse = 1;
    const int listener = makeSocket();
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&place), sizeof place) != 0 || ::listen(listener, 0) != 0) {
        ::close(listener);
        throw std::runtime_error("FullBacklog: cannot listen on " + address);
    }
    // A backlog of nothing admits one; the others wait for an answer themselves.
    for (int waiting = 0; waiting < 3; ++waiting) {
        static_cast<void>(::connect(makeSocket(), reinterpret_cast<sockaddr*>(&place), sizeof place));
    }
}

FullBacklog::~FullBacklog() {
    for (const int descriptor : descriptors_) {
        ::close(descriptor);
    }
}

int FullBacklog::makeSocket() {
    descriptors_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return descriptors_.back();
}

}  // namespace fakes
