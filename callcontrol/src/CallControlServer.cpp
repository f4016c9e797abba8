#include "callcontrol/CallControlServer.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "PortListener.h"
#include "TlsContext.h"

namespace callcontrol {

namespace {

constexpr const char* VERSION_PATH = "/hubm-uds/version";
constexpr const char* XML = "text/xml";

std::string escapedForXml(const std::string& text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

std::string versionDocument(const std::string& version) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<versionResponse><version>" + escapedForXml(version) +
           "</version></versionResponse>\n";
}

void answerNotFound(httplib::Response& response, const std::string& reason) {
    response.status = 404;
    response.set_content(reason + "\n", "text/plain");
}

void answerFile(const std::string& file, httplib::Response& response) {
    // Asked first, since a directory can be opened, and a pipe would never end.
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        return answerNotFound(response, "the file is not there");
    }
    std::ifstream in(file, std::ios::binary);
    std::ostringstream contents;
    if (in && in.peek() != std::ifstream::traits_type::eof()) {
        contents << in.rdbuf();
    }
    if (!in.is_open() || in.bad() || contents.fail()) {
        return answerNotFound(response, "the file cannot be read");
    }
    response.set_content(contents.str(), XML);
}

bool isReading(const httplib::Request& request) { return request.method == "GET" || request.method == "HEAD"; }

/// The answerer of a port that knows one path. Paths are compared as a whole, so that none leads anywhere else.
PortListener::Answer onlyAt(const std::string& path, std::function<void(httplib::Response&)> answer) {
    return [path, answer = std::move(answer)](const httplib::Request& request, httplib::Response& response) {
        if (isReading(request) && request.path == path) {
            answer(response);
        } else {
            answerNotFound(response, "not found");
        }
    };
}

ServedRequest served(std::uint16_t port, const std::string& client, const httplib::Request& request,
                     const httplib::Response& response) {
    const std::size_t bytes = request.method == "HEAD" ? 0 : response.body.size();
    return {port, client, request.method, request.path, response.status, bytes};
}

}  // namespace

struct CallControlServer::Listeners {
    Listeners(std::string initialVersion, Listener toTell)
        : version(std::move(initialVersion)), listener(std::move(toTell)) {}

    std::string currentVersion() {
        const std::lock_guard lock(versionMutex);
        return version;
    }

    void tell(const ServedRequest& request) {
        const std::lock_guard lock(listenerMutex);
        if (listener) {
            listener(request);
        }
    }

    std::mutex versionMutex;
    std::string version;

    std::mutex listenerMutex;
    const Listener listener;

    std::mutex startMutex;  ///< for all that follows
    Owned<SSL_CTX> tls;
    std::vector<std::unique_ptr<PortListener>> ports;
};

CallControlServer::CallControlServer(Options options, Listener listener)
    : options_(std::move(options)),
      listeners_(std::make_unique<Listeners>(options_.serverVersion, std::move(listener))) {}

CallControlServer::~CallControlServer() { stop(); }

void CallControlServer::start() {
    Listeners& listeners = *listeners_;
    const std::lock_guard lock(listeners.startMutex);
    if (!listeners.ports.empty()) {
        return;
    }
    listeners.tls = makeServerContext(options_.credentials);

    std::vector<std::unique_ptr<PortListener>> ports;
    const auto bind = [&](std::uint16_t port, SSL_CTX* tls, const PortListener::Answer& answer) {
        const auto tell = [&listeners, port](const std::string& client, const httplib::Request& request,
                                             const httplib::Response& response) {
            listeners.tell(served(port, client, request, response));
        };
        ports.push_back(std::make_unique<PortListener>(tls, answer, tell));
        ports.back()->bind(options_.address, port);
    };
    const std::string filePath = "/" + std::filesystem::path(options_.file).filename().string();
    const auto file = onlyAt(filePath, [this](httplib::Response& response) { answerFile(options_.file, response); });
    const auto version = onlyAt(VERSION_PATH, [&listeners](httplib::Response& response) {
        response.set_content(versionDocument(listeners.currentVersion()), XML);
    });
    bind(options_.filePort, nullptr, file);
    bind(options_.secureFilePort, listeners.tls.get(), file);
    bind(options_.versionPort, listeners.tls.get(), version);

    for (const auto& port : ports) {
        port->listen();
    }
    listeners.ports = std::move(ports);
}

void CallControlServer::stop() {
    const std::lock_guard lock(listeners_->startMutex);
    listeners_->ports.clear();
    listeners_->tls.reset();
}

void CallControlServer::setServerVersion(const std::string& version) {
    const std::lock_guard lock(listeners_->versionMutex);
    listeners_->version = version;
}

}  // namespace callcontrol
