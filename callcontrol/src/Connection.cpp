#include "Connection.h"

#include <arpa/inet.h>
#include <openssl/err.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <limits>

namespace callcontrol {

namespace {

constexpr int MOST_UNREAD_PIECES = 256;

using NameOf = int (*)(int, sockaddr*, socklen_t*);

void readEnd(NameOf nameOf, int socket, std::string& address, int& port) {
    sockaddr_in end{};
    socklen_t length = sizeof end;
    std::array<char, INET_ADDRSTRLEN> text{};
    if (nameOf(socket, reinterpret_cast<sockaddr*>(&end), &length) != 0 ||
        inet_ntop(AF_INET, &end.sin_addr, text.data(), text.size()) == nullptr) {
        return;
    }
    address = text.data();
    port = ntohs(end.sin_port);
}

int clampedToInt(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, std::numeric_limits<int>::max()));
}

}  // namespace

Connection::Connection(int socket, SSL_CTX* tls) : socket_(socket), tls_(tls == nullptr ? nullptr : SSL_new(tls)) {
    readEnd(getpeername, socket_, client_, clientPort_);
}

Connection::~Connection() {
    ERR_clear_error();  // the queue is the thread's, and the thread has other clients to come
}

bool Connection::open() {
    isUp_ = tls_ && SSL_set_fd(tls_.get(), socket_) == 1 && SSL_accept(tls_.get()) == 1;
    return isUp_;
}

void Connection::finish() {
    if (isUp_) {
        SSL_shutdown(tls_.get());
    }
    shutdown(socket_, SHUT_WR);
    std::array<char, 4096> unread{};
    for (int i = 0; i < MOST_UNREAD_PIECES && recv(socket_, unread.data(), unread.size(), 0) > 0; ++i) {
    }
}

ssize_t Connection::read(char* data, std::size_t size) {
    if (!tls_) {
        return recv(socket_, data, size, 0);
    }
    const int count = SSL_read(tls_.get(), data, clampedToInt(size));
    isUp_ = isUp_ && count > 0;
    return count;
}

ssize_t Connection::write(const char* data, std::size_t size) {
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = writeSome(data + written, size - written);
        if (count <= 0) {
            isUp_ = false;
            return -1;
        }
        written += static_cast<std::size_t>(count);
        hasAnswered_ = true;
    }
    return static_cast<ssize_t>(size);
}

ssize_t Connection::writeSome(const char* data, std::size_t size) {
    return tls_ ? SSL_write(tls_.get(), data, clampedToInt(size)) : send(socket_, data, size, MSG_NOSIGNAL);
}

void Connection::get_local_ip_and_port(std::string& address, int& port) const {
    readEnd(getsockname, socket_, address, port);
}

}  // namespace callcontrol
