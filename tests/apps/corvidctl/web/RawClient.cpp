#include "web/RawClient.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace {

RawAnswer readAnswerHead(const std::string& head) {
    RawAnswer answer;
    answer.head = head;
    answer.status = std::stoi(head.substr(head.find(' ') + 1, 3));
    for (std::size_t line = head.find("\r\n") + 2; line < head.size() - 2;) {
        const std::size_t end = head.find("\r\n", line);
        const std::size_t colon = head.find(": ", line);
        answer.fields[head.substr(line, colon - line)] = head.substr(colon + 2, end - colon - 2);
        line = end + 2;
    }
    return answer;
}

}  // namespace

std::string RawAnswer::field(const std::string& name) const {
    const auto found = fields.find(name);
    return found == fields.end() ? std::string() : found->second;
}

RawClient::RawClient(std::uint16_t port, int receiveBuffer, std::uint32_t host)
    : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (receiveBuffer > 0) {
        setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(socket_);
        throw std::runtime_error("nobody listens");
    }
}

RawClient::~RawClient() { close(); }

RawClient::RawClient(RawClient&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), unread_(std::move(other.unread_)) {}

RawClient& RawClient::operator=(RawClient&& other) noexcept {
    std::swap(socket_, other.socket_);
    std::swap(unread_, other.unread_);
    return *this;
}

bool RawClient::send(const std::string& text) const {
    std::size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t count = ::send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

RawAnswer RawClient::read(bool hasBody) {
    const auto head = readUpTo("\r\n\r\n");
    if (!head) {
        return {};
    }
    RawAnswer answer = readAnswerHead(*head);
    const std::string length = answer.field("Content-Length");
    if (!hasBody) {
        return answer;
    }
    if (length.empty()) {
        answer.body = readToEnd();
        return answer;
    }
    const std::size_t size = std::stoul(length);
    while (unread_.size() < size && readSome()) {
    }
    answer.body = unread_.substr(0, size);
    unread_.erase(0, size);
    return answer;
}

std::optional<std::string> RawClient::readUpTo(const std::string& text) {
    std::size_t found = unread_.find(text);
    while (found == std::string::npos) {
        const std::size_t seen = unread_.size() - std::min(unread_.size(), text.size());
        if (!readSome()) {
            return {};
        }
        found = unread_.find(text, seen);
    }
    const std::string read = unread_.substr(0, found + text.size());
    unread_.erase(0, read.size());
    return read;
}

std::string RawClient::readToEnd() {
    while (readSome()) {
    }
    return std::exchange(unread_, {});
}

bool RawClient::hasSomething(int milliseconds) const {
    pollfd waited{socket_, POLLIN, 0};
    return poll(&waited, 1, milliseconds) == 1;
}

void RawClient::finishSending() const { shutdown(socket_, SHUT_WR); }

void RawClient::close() {
    if (socket_ >= 0) {
        ::close(std::exchange(socket_, -1));
    }
}

bool RawClient::readSome() {
    std::array<char, 65536> piece{};
    const ssize_t count = recv(socket_, piece.data(), piece.size(), 0);
    if (count > 0) {
        unread_.append(piece.data(), static_cast<std::size_t>(count));
    }
    wasCutOff_ = count < 0;
    return count > 0;
}
