#include "fakes/FullBacklog.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace fakes {

namespace {

std::string placeOf(const std::string& address, std::uint16_t port) {
    in_addr bytes{};
    inet_pton(AF_INET, address.c_str(), &bytes);
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%08X:%04X", bytes.s_addr, port);
    return text.data();
}

}  // namespace

FullBacklog::FullBacklog(const std::string& address, std::uint16_t port) : place_(placeOf(address, port)) {
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
    ownWaiting_ = waiting();
}

FullBacklog::~FullBacklog() {
    for (const int descriptor : descriptors_) {
        ::close(descriptor);
    }
}

bool FullBacklog::isWaitedFor() const { return waiting() > ownWaiting_; }

/// How many connections to the place the system has asked for without an answer.
std::size_t FullBacklog::waiting() const {
    std::ifstream table("/proc/net/tcp");
    std::string number;
    std::string local;
    std::string remote;
    std::string state;
    std::string rest;
    std::size_t count = 0;
    while (table >> number >> local >> remote >> state && std::getline(table, rest)) {
        count += remote == place_ && state == "02" ? 1 : 0;  // SYN_SENT
    }
    return count;
}

int FullBacklog::makeSocket() {
    descriptors_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    return descriptors_.back();
}

}  // namespace fakes
