#include "web/Farewells.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace corvidctl {

namespace {

/// Throws away what has come. @return true if no more will come.
bool hasGone(int socket) {
    std::array<char, 4096> unread{};
    const ssize_t count = recv(socket, unread.data(), unread.size(), MSG_DONTWAIT);
    return count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
}

}  // namespace

Farewells::Farewells(std::string text, std::size_t most, std::chrono::milliseconds moment)
    : text_(std::move(text)), most_(most), moment_(moment) {}

Farewells::~Farewells() {
    for (const Leaving& one : leaving_) {
        close(one.socket);
    }
}

void Farewells::add(int socket) {
    send(socket, text_.data(), text_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    shutdown(socket, SHUT_WR);
    if (leaving_.size() >= most_) {
        close(leaving_.front().socket);
        leaving_.pop_front();
    }
    leaving_.push_back({socket, std::chrono::steady_clock::now() + moment_});
}

int Farewells::waitFor(std::vector<pollfd>& descriptors) const {
    for (const Leaving& one : leaving_) {
        descriptors.push_back({one.socket, POLLIN, 0});
    }
    return leaving_.empty() ? -1 : millisecondsUntil(leaving_.front().deadline);
}

void Farewells::tend() {
    const auto now = std::chrono::steady_clock::now();
    const auto ended = [now](const Leaving& one) {
        const bool ends = one.deadline <= now || hasGone(one.socket);
        if (ends) {
            close(one.socket);
        }
        return ends;
    };
    leaving_.erase(std::remove_if(leaving_.begin(), leaving_.end(), ended), leaving_.end());
}

}  // namespace corvidctl
