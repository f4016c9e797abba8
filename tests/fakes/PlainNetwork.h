#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

#include "fakes/TemporaryDirectory.h"

namespace fakes {

/// The environment as tests with names of their own want it, for the length of a scope: no proxy stands between, and no
/// authority of the system's is trusted, since reading all of them takes longer than a transfer. No other thread may
/// look at the environment when the scope begins or ends.
class PlainNetwork {
public:
    PlainNetwork() {
        set("no_proxy", "*");
        set("SSL_CERT_FILE", "/dev/null");
        set("SSL_CERT_DIR", empty_.path());
    }

    ~PlainNetwork() {
        for (const auto& [name, before] : before_) {
            before ? setenv(name.c_str(), before->c_str(), 1) : unsetenv(name.c_str());
        }
    }

    PlainNetwork(const PlainNetwork&) = delete;
    PlainNetwork& operator=(const PlainNetwork&) = delete;

private:
    void set(const char* name, const std::string& value) {
        const char* const before = std::getenv(name);
        before_[name] = before == nullptr ? std::optional<std::string>() : before;
        setenv(name, value.c_str(), 1);
    }

    const TemporaryDirectory empty_;
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace fakes
