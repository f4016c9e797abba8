#include "fakes/ScriptedConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include <openssl/err.h>
#include <openssl/ssl.h>

namespace fakes {

namespace {

constexpr std::chrono::milliseconds FOREVER{-1};
constexpr std::string_view HEAD_END = "\r\n\r\n";

}  // namespace

ScriptedConnection::ScriptedConnection(int socket, int stopEvent, SSL_CTX* tls)
    : socket_(socket), stopEvent_(stopEvent), tls_(tls == nullptr ? nullptr : SSL_new(tls), SSL_free) {
    if (tls_ != nullptr) {
        SSL_set_fd(tls_.get(), socket_);
        SSL_set_accept_state(tls_.get());
    }
}

ScriptedConnection::~ScriptedConnection() { close(); }

bool ScriptedConnection::shakeHands() {
    if (tls_ == nullptr) {
        return true;
    }
    for (;;) {
        ERR_clear_error();
        const int result = SSL_do_handshake(tls_.get());
        if (result == 1) {
            return true;
        }
        if (!awaitWhat(SSL_get_error(tls_.get(), result))) {
            return false;
        }
    }
}

bool ScriptedConnection::readRequest() {
    request_.clear();
    std::size_t end = unread_.find(HEAD_END);
    while (end == std::string::npos) {
        char buffer[4096];
        const long count = receive(buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        unread_.append(buffer, static_cast<std::size_t>(count));
        end = unread_.find(HEAD_END);
    }
    request_ = unread_.substr(0, end + HEAD_END.size());
    unread_.erase(0, request_.size());
    return true;
}

std::string ScriptedConnection::target() const {
    const std::size_t begin = request_.find(' ');
    const std::size_t end = begin == std::string::npos ? begin : request_.find(' ', begin + 1);
    return end == std::string::npos ? std::string() : request_.substr(begin + 1, end - begin - 1);
}

bool ScriptedConnection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        if (socket_ < 0) {
            return false;
        }
        long count = 0;
        bool goOn = false;
        if (tls_ == nullptr) {
            count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            goOn = count > 0 || ((errno == EAGAIN || errno == EINTR) && await(POLLOUT, FOREVER));
        } else {
            ERR_clear_error();
            count = SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
            goOn = count > 0 || awaitWhat(SSL_get_error(tls_.get(), static_cast<int>(count)));
        }
        if (!goOn) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return true;
}

bool ScriptedConnection::sendSlowly(std::string_view bytes, std::chrono::milliseconds pauseAfterEach) {
    for (const char& byte : bytes) {
        if (!send({&byte, 1}) || !pause(pauseAfterEach)) {
            return false;
        }
    }
    return true;
}

bool ScriptedConnection::respond(int status, std::string_view body, std::string_view headers) {
    std::string answer = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n";
    answer.append(headers).append("Content-Length: " + std::to_string(body.size())).append(HEAD_END).append(body);
    return send(answer);
}

bool ScriptedConnection::redirect(std::string_view location, int status) {
    return respond(status, "", "Location: " + std::string(location) + "\r\n");
}

bool ScriptedConnection::pause(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return true;
        }
        pollfd polled[] = {{socket_, POLLRDHUP, 0}, {stopEvent_, POLLIN, 0}};
        const int ready = ::poll(polled, 2, static_cast<int>(left.count()));
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return false;
        }
    }
}

void ScriptedConnection::waitUntilClientSpeaks() { await(POLLIN, FOREVER); }

void ScriptedConnection::waitUntilClientLeaves() {
    char ignored[4096];
    long count = 0;
    do {
        // Around TLS, whose end of the stream may come without the end of the connection.
        count = socket_ < 0 ? 0 : ::recv(socket_, ignored, sizeof ignored, 0);
    } while (count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR) && await(POLLIN, FOREVER)));
}

void ScriptedConnection::halfClose() {
    if (tls_ != nullptr) {
        SSL_shutdown(tls_.get());
    }
    ::shutdown(socket_, SHUT_WR);
}

void ScriptedConnection::reset() {
    const linger atOnce{1, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    breakOff();
}

void ScriptedConnection::breakOff() {
    tls_.reset();
    close();
}

void ScriptedConnection::close() {
    if (socket_ < 0) {
        return;
    }
    if (tls_ != nullptr && SSL_is_init_finished(tls_.get())) {
        ERR_clear_error();
        SSL_shutdown(tls_.get());
    }
    tls_.reset();
    ::close(std::exchange(socket_, -1));
}

bool ScriptedConnection::takeKeptOpen() { return std::exchange(keptOpen_, false) && socket_ >= 0; }

/// @return false if the time is over or the server stopped.
bool ScriptedConnection::await(short events, std::chrono::milliseconds limit) {
    pollfd polled[] = {{socket_, events, 0}, {stopEvent_, POLLIN, 0}};
    int ready = 0;
    do {
        ready = ::poll(polled, 2, static_cast<int>(limit.count()));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && polled[1].revents == 0;
}

bool ScriptedConnection::awaitWhat(int sslError) {
    switch (sslError) {
    case SSL_ERROR_WANT_READ:
        return await(POLLIN, FOREVER);
    case SSL_ERROR_WANT_WRITE:
        return await(POLLOUT, FOREVER);
    default:
        return false;
    }
}

/// @return how many bytes; 0 or less at the end of the connection.
long ScriptedConnection::receive(char* buffer, std::size_t size) {
    while (socket_ >= 0) {
        if (tls_ != nullptr) {
            ERR_clear_error();
            const int count = SSL_read(tls_.get(), buffer, static_cast<int>(size));
            if (count > 0 || !awaitWhat(SSL_get_error(tls_.get(), count))) {
                return count;
            }
            continue;
        }
        const long count = ::recv(socket_, buffer, size, 0);
        if (count >= 0 || !((errno == EAGAIN || errno == EINTR) && await(POLLIN, FOREVER))) {
            return count;
        }
    }
    return 0;
}

}  // namespace fakes
