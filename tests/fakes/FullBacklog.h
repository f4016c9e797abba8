#pragma once

#include <cstddef>
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

    /// Whether somebody waits for a connection now.
    bool isWaitedFor() const;

private:
    int makeSocket();
    std::size_t waiting() const;

    const std::string place_;  ///< as the system's table of connections names it
    std::vector<int> descriptors_;
    std::size_t ownWaiting_ = 0;
};

}  // namespace fakes
