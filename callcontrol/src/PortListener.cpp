#include "PortListener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "Connection.h"

namespace callcontrol {

namespace {

constexpr std::size_t WORKERS = 4;
constexpr std::time_t LONGEST_SILENCE_SECONDS = 10;

/// What the thread is working on: the library does not say where it could not read the request.
thread_local const Connection* connectionOfThisThread = nullptr;

/// The library's own choice would be SO_REUSEPORT, with which two servers share a port without a word.
void reuseAddress(int socket) {
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

[[noreturn]] void throwCannotListen(const std::string& address, std::uint16_t port, const char* reason) {
    throw std::runtime_error("cannot listen on " + address + ":" + std::to_string(port) + ": " + reason);
}

}  // namespace

PortListener::PortListener(SSL_CTX* tls, const Answer& answer, const Logger& logger) : tls_(tls) {
    new_task_queue = [] { return new httplib::ThreadPool(WORKERS); };  // the library deletes it
    set_address_family(AF_INET);
    set_socket_options([this](int socket) {
        reuseAddress(socket);
        listeningSocket_ = fcntl(socket, F_DUPFD_CLOEXEC, 0);
    });
    set_tcp_nodelay(true);
    set_read_timeout(LONGEST_SILENCE_SECONDS);
    set_write_timeout(LONGEST_SILENCE_SECONDS);
    set_pre_routing_handler([answer](const httplib::Request& request, httplib::Response& response) {
        answer(request, response);
        return HandlerResponse::Handled;
    });
    set_error_handler(HandlerWithResponse([](const httplib::Request&, httplib::Response& response) {
        if (response.body.empty()) {
            response.set_content(std::to_string(response.status) + "\n", "text/plain");
        }
        return HandlerResponse::Handled;
    }));
    set_logger([logger](const httplib::Request& request, const httplib::Response& response) {
        if (connectionOfThisThread->hasAnswered()) {
            logger(connectionOfThisThread->client(), request, response);
        }
    });
}

PortListener::~PortListener() { stop(); }

void PortListener::bind(const std::string& address, std::uint16_t port) {
    in_addr parsed{};
    if (inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
        throwCannotListen(address, port, "not an IPv4 address");
    }
    errno = 0;
    if (!bind_to_port(address, port)) {
        throwCannotListen(address, port, errno == 0 ? "unknown reason" : std::strerror(errno));
    }
    if (listeningSocket_ < 0) {
        throwCannotListen(address, port, "no descriptor is left");
    }
}

void PortListener::listen() {
    thread_ = std::thread([this] { listen_after_bind(); });
}

void PortListener::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        for (const int connection : connections_) {
            shutdown(connection, SHUT_RDWR);
        }
    }
    if (listeningSocket_ < 0) {
        return;
    }
    shutdown(listeningSocket_, SHUT_RDWR);
    if (thread_.joinable()) {
        thread_.join();
    } else if (const int unused = svr_sock_.exchange(-1); unused >= 0) {
        close(unused);  // the loop would have done it
    }
    close(std::exchange(listeningSocket_, -1));
}

bool PortListener::process_and_close_socket(int socket) {
    if (enter(socket)) {
        serve(socket);
        leave(socket);
    }
    close(socket);
    return true;
}

void PortListener::serve(int socket) {
    fcntl(socket, F_SETFD, FD_CLOEXEC);
    Connection connection(socket, tls_);
    if (tls_ != nullptr && !connection.open()) {
        return;
    }
    bool closedByClient = false;
    connectionOfThisThread = &connection;
    process_request(connection, true, closedByClient, nullptr);
    connectionOfThisThread = nullptr;
    connection.finish();
}

bool PortListener::enter(int socket) {
    const std::lock_guard lock(mutex_);
    return !stopping_ && connections_.insert(socket).second;
}

void PortListener::leave(int socket) {
    const std::lock_guard lock(mutex_);
    connections_.erase(socket);
}

}  // namespace callcontrol
