#include "fakes/ScriptedServer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <openssl/pem.h>
#include <openssl/ssl.h>

namespace fakes {

namespace {

using Context = std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)>;

std::unique_ptr<BIO, int (*)(BIO*)> reading(const std::string& text) {
    return {BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), BIO_free};
}

void limitVersion(SSL_CTX* context, int newest) {
    if (newest == 0) {
        return;
    }
    SSL_CTX_set_security_level(context, 0);  // old versions do not exist above it
    SSL_CTX_set_min_proto_version(context, TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context, newest);
}

Context makeContext(const ScriptedServerOptions& options) {
    if (options.certificate.empty()) {
        return {nullptr, SSL_CTX_free};
    }
    Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    limitVersion(context.get(), options.newestTls);
    const std::unique_ptr<X509, void (*)(X509*)> certificate(
        PEM_read_bio_X509(reading(options.certificate).get(), nullptr, nullptr, nullptr), X509_free);
    const std::unique_ptr<EVP_PKEY, void (*)(EVP_PKEY*)> key(
        PEM_read_bio_PrivateKey(reading(options.privateKey).get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
    if (certificate == nullptr || key == nullptr || SSL_CTX_use_certificate(context.get(), certificate.get()) != 1 ||
        SSL_CTX_use_PrivateKey(context.get(), key.get()) != 1) {
        throw std::runtime_error("ScriptedServer: these credentials cannot be used");
    }
    return context;
}

/// A write to a client that has gone must not end the test, whatever library makes it.
void blockBrokenPipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

ScriptedServer::ScriptedServer(Script script, Options options)
    : script_(std::move(script)),
      options_(std::move(options)),
      tls_(makeContext(options_)),
      stopEvent_(eventfd(0, EFD_CLOEXEC)) {
    listen();
    acceptor_ = std::thread([this] { accept(); });
}

ScriptedServer::~ScriptedServer() {
    stop();
    ::close(stopEvent_);
}

void ScriptedServer::listen() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options_.port);
    inet_pton(AF_INET, options_.address.c_str(), &address.sin_addr);
    socklen_t size = sizeof address;
    const int reuse = 1;

    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener_, SOMAXCONN) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        const std::string reason = std::strerror(errno);
        ::close(listener_);
        ::close(stopEvent_);
        throw std::runtime_error("ScriptedServer: cannot listen on " + options_.address + ":" +
                                 std::to_string(options_.port) + ": " + reason);
    }
    port_ = ntohs(address.sin_port);
}

void ScriptedServer::accept() {
    blockBrokenPipeSignal();
    for (;;) {
        pollfd polled[] = {{listener_, POLLIN, 0}, {stopEvent_, POLLIN, 0}};
        ::poll(polled, 2, -1);
        if (polled[1].revents != 0) {
            return;
        }
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            conversations_.emplace_back([this, socket] { serve(socket); });
        }
    }
}

void ScriptedServer::serve(int socket) {
    ScriptedConnection connection(socket, stopEvent_, tls_.get());
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++connections_;
        changed_.notify_all();
    }
    if (options_.onConnect) {
        options_.onConnect(connection);
    }
    if (connection.shakeHands()) {
        converse(connection);
    }
}

void ScriptedServer::converse(ScriptedConnection& connection) {
    do {
        if (!connection.readRequest()) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            requests_.push_back(connection.request());
            changed_.notify_all();
        }
        script_(connection);
    } while (connection.takeKeptOpen());
}

void ScriptedServer::stop() {
    const std::lock_guard<std::mutex> lock(stopMutex_);
    if (!acceptor_.joinable()) {
        return;
    }
    eventfd_write(stopEvent_, 1);
    acceptor_.join();
    for (std::thread& conversation : conversations_) {
        conversation.join();
    }
    conversations_.clear();
    ::close(listener_);
}

std::string ScriptedServer::url(const std::string& path) const {
    return (tls_ == nullptr ? "http://" : "https://") + options_.address + ":" + std::to_string(port_) + path;
}

std::size_t ScriptedServer::connections() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return connections_;
}

std::vector<std::string> ScriptedServer::requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void ScriptedServer::waitForConnections(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return connections_ >= count; });
}

void ScriptedServer::waitForRequests(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return requests_.size() >= count; });
}

}  // namespace fakes
