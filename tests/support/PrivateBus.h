#pragma once

#include <memory>
#include <string>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace support {

/// A message bus of the test's own, with the rules of a system bus: everybody may connect, own names, send
/// signals and call the login manager.
class PrivateBus {
public:
    /// Takes connections when this returns. @throws std::runtime_error, with what the daemon said, if it does not
    /// start.
    /// @param moreRules put into the default policy, after the rules that allow.
    explicit PrivateBus(const std::string& moreRules = {});

    /// Stops.
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// As D-Bus writes addresses.
    std::string address() const;

    /// Nothing of the bus is there any more when this returns. Any number of times.
    void stop();

private:
    std::string socket() const { return directory_.path("bus"); }

    const fakes::TemporaryDirectory directory_;
    std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace support
