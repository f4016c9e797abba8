#include "session/Listeners.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

using namespace corvidctl;

namespace {

std::string toldAt(const std::string& address) {
    callcontrol::CallControlServer::Options options;
    options.address = address;
    options.file = "/folder/corvid-config.xml";
    std::ostringstream out;
    printListeners(options, out);
    return out.str();
}

std::string urlsAt(const std::string& address) {
    return "file     http://" + address + ":6970/corvid-config.xml\nfile     https://" + address +
           ":6972/corvid-config.xml\nversion  https://" + address + ":8443/hubm-uds/version\n";
}

}  // namespace

TEST(Listeners, AreToldInUrls) { EXPECT_EQ(toldAt("127.0.0.9"), urlsAt("127.0.0.9")); }

TEST(Listeners, OnEveryAddressAreToldAtOneToConnectTo) {
    EXPECT_EQ(toldAt("0.0.0.0"), "Listens on all addresses of this machine; 127.0.0.1 is the one for clients on it.\n" +
                                     urlsAt("127.0.0.1"));
    EXPECT_EQ(reachableAddress("0.0.0.0"), "127.0.0.1");
}
