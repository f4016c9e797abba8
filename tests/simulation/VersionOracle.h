#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DownloadEnvironment.h"

namespace simulation {

/// The version query restated.
class VersionOracle {
public:
    struct Request {
        std::string address;
        std::string version;
    };

    explicit VersionOracle(DownloadEnvironment& environment) : environment_(environment) {}

    /// @return the major version, 0 if unknown.
    std::uint32_t ask(const ServerDetails& last);

    /// What the last ask() asked, in order.
    const std::vector<Request>& requests() const { return requests_; }

private:
    void log(int level, const std::string& text) { environment_.log(level, "UdsVersionQuery", text); }
    std::string retrieve(const std::string& address);
    void retrieveIfAllowed(const std::string& address, const std::string& words, std::string& version);
    void keep(const std::string& version);

    DownloadEnvironment& environment_;
    std::uint32_t attempts_ = 0;
    std::vector<std::string> asked_;
    std::vector<Request> requests_;
};

}  // namespace simulation
