#include "Servers.h"

#include <mutex>

namespace integration {

namespace {

constexpr const char* FILE_NAME = "corvid-config.xml";

}  // namespace

struct Server::Answered {
    mutable std::mutex mutex;
    std::vector<std::string> requests;

    void add(const callcontrol::ServedRequest& request) {
        const std::lock_guard<std::mutex> lock(mutex);
        requests.push_back(std::to_string(request.port) + " " + request.path + " " + std::to_string(request.status));
    }
};

std::string document(const std::map<std::string, std::string>& entries) {
    std::string text = "<config><group>";
    for (const auto& [key, value] : entries) {
        text += "<" + key + ">" + value + "</" + key + ">";
    }
    return text + "</group></config>";
}

Server::Server(const callcontrol::CertificateAuthority& authority, const std::string& version)
    : answered_(std::make_shared<Answered>()),
      server_(std::make_unique<callcontrol::CallControlServer>(
          callcontrol::CallControlServerOptions{.address = address_,
                                                .file = directory_.path(FILE_NAME),
                                                .serverVersion = version,
                                                .credentials = authority.issue({.names = {address_}})},
          [answered = answered_](const callcontrol::ServedRequest& request) { answered->add(request); })) {
    server_->start();
}

void Server::serve(const std::map<std::string, std::string>& entries) const { serveText(document(entries)); }

void Server::serveText(const std::string& text) const { directory_.write(FILE_NAME, text); }

std::vector<std::string> Server::stopAndTell() const {
    stop();
    const std::lock_guard<std::mutex> lock(answered_->mutex);
    return answered_->requests;
}

}  // namespace integration
