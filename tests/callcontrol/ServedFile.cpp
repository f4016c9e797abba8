#include "ServedFile.h"

callcontrol::CallControlServer::Options ServedFile::optionsFor(const std::string& address) const {
    callcontrol::CallControlServer::Options options;
    options.address = address;
    options.file = file_;
    options.credentials = authority_.issue({{address}});
    return options;
}

std::string ServedFile::url(std::uint16_t port, const std::string& path) const {
    return (port == PLAIN ? "http://" : "https://") + address_ + ":" + std::to_string(port) + path;
}

std::vector<callcontrol::ServedRequest> ServedFile::toldUntilStop() {
    server_.stop();
    const std::lock_guard lock(mutex_);
    return told_;
}

void ServedFile::waitUntilTold(std::size_t count) {
    std::unique_lock lock(mutex_);
    toldMore_.wait(lock, [this, count] { return told_.size() >= count; });
}
