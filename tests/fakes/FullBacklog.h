#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

/// A port where a connection is neither admitted nor refused: as many wait already as it lets wait, so that the first
/// packet of another one is dropped.
class FullBacklog {
public:
    /// @param address IPv4. @throws std::runtime_error if nobody can listen there.
    FullBacklog(const std::string& address, std::uint16_t port);
    ~FullBacklog();

    FullBacklog(const FullBacklog&) = delete;
    FullBacklog& operator=(const FullBacklog&) = delete;

private:
    int makeSocket();

    std::vector<int> descriptors_;
};

}  // namespace fakes
