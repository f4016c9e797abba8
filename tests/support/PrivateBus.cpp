#include "support/PrivateBus.h"

#include <csignal>
#include <stdexcept>
#include <vector>

namespace support {

namespace {

std::string configuration(const std::string& socket, const std::string& moreRules) {
    return R"(<busconfig>
  <type>system</type>
  <listen>unix:path=)" +
           socket + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow own="*"/>
    <allow send_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
    <allow send_destination="org.freedesktop.login1"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    )" + moreRules +
           R"(
  </policy>
</busconfig>
)";
}

}  // namespace

PrivateBus::PrivateBus(const std::string& moreRules) {
    const std::string config = directory_.write("bus.conf", configuration(socket(), moreRules));
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{DBUS_DAEMON_PROGRAM, "--config-file=" + config, "--nofork", "--print-address"});
    // The address is printed once the socket listens.
    if (!daemon_->waitForOutput("\n")) {
        throw std::runtime_error("dbus-daemon does not start: " + daemon_->wait().error);
    }
}

PrivateBus::~PrivateBus() { stop(); }

std::string PrivateBus::address() const { return "unix:path=" + socket(); }

void PrivateBus::stop() {
    if (daemon_ != nullptr) {
        daemon_->signal(SIGTERM);
        daemon_->wait();
        daemon_.reset();
    }
}

}  // namespace support
