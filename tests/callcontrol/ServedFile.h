#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "callcontrol/CallControlServer.h"
#include "fakes/TemporaryDirectory.h"
#include "support/WebClient.h"

/// A server with a file of its own on an address of its own, and a client that trusts it.
class ServedFile : public ::testing::Test {
protected:
    callcontrol::CallControlServer::Options optionsFor(const std::string& address) const;

    /// @param port of the server's three. @param path begins with a slash.
    std::string url(std::uint16_t port, const std::string& path) const;

    /// What the server told until it stopped.
    std::vector<callcontrol::ServedRequest> toldUntilStop();

    /// Returns when the server has told of so many requests, ever.
    void waitUntilTold(std::size_t count);

    static constexpr std::uint16_t PLAIN = 6970;
    static constexpr std::uint16_t SECURE = 6972;
    static constexpr std::uint16_t VERSION = 8443;
    static constexpr const char* VERSION_PATH = "/hubm-uds/version";

    const fakes::TemporaryDirectory directory_;
    const std::string file_ = directory_.write("corvid-config.xml", "<c><g><A>1</A></g></c>\n");
    const callcontrol::CertificateAuthority authority_;
    const support::WebClient client_{authority_.certificate()};
    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();

    std::mutex mutex_;
    std::condition_variable toldMore_;
    std::vector<callcontrol::ServedRequest> told_;  ///< under the mutex
    callcontrol::CallControlServer server_{optionsFor(address_), [this](const callcontrol::ServedRequest& request) {
                                               const std::lock_guard lock(mutex_);
                                               told_.push_back(request);
                                               toldMore_.notify_all();
                                           }};
};
