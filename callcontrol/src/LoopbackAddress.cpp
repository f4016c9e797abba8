#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

#include "callcontrol/CallControlServer.h"

namespace callcontrol {

namespace {

constexpr unsigned CANDIDATES = 254;

/// The process gives the two bytes in the middle and the call the last one, so that processes that run side by side,
/// whose numbers are close to each other, stay apart without a word. No byte is 0 or 255, and 127.0.x.y is not used.
std::string candidate(unsigned process, unsigned call) {
    const unsigned round = call / CANDIDATES;
    const unsigned third = 1 + process % 254;
    const unsigned second = 1 + (process / 254 + 97 * round) % 254;
    return "127." + std::to_string(second) + "." + std::to_string(third) + "." + std::to_string(1 + call % CANDIDATES);
}

bool canBind(const std::string& address, std::uint16_t port) {
    const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (probe < 0) {
        return false;
    }
    const int yes = 1;
    setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in end{};
    end.sin_family = AF_INET;
    end.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &end.sin_addr);
    const bool isFree = bind(probe, reinterpret_cast<const sockaddr*>(&end), sizeof end) == 0;
    close(probe);
    return isFree;
}

bool isFree(const std::string& address) {
    const CallControlServerOptions usual;
    return canBind(address, usual.filePort) && canBind(address, usual.secureFilePort) &&
           canBind(address, usual.versionPort);
}

}  // namespace

std::string CallControlServer::freeLoopbackAddress() {
    static std::atomic<unsigned> calls{0};
    for (unsigned attempt = 0; attempt < CANDIDATES; ++attempt) {
        const std::string address = candidate(static_cast<unsigned>(getpid()), calls++);
        if (isFree(address)) {
            return address;
        }
    }
    throw std::runtime_error("no loopback address is free");
}

}  // namespace callcontrol
