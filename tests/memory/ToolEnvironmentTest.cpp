#include <sys/stat.h>

#include <memory>
#include <string>

#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace {

/// The tool, whose server speaks TLS.
class ToolEnvironment : public testing::Test {
protected:
    ToolEnvironment() {
        directory_.write("ca.pem", authority_.certificate());
        directory_.write("install/bootstrap.properties", "TFTPPrimaryServer: " + address_ + "\n");
        callcontrol::CallControlServer::Options options;
        options.address = address_;
        options.file = directory_.write("server/corvid-config.xml", "<config><g><origin>server</origin></g></config>");
        options.credentials = authority_.issue({{address_}});
        server_ = std::make_unique<callcontrol::CallControlServer>(options);
        server_->start();
    }

    support::Ended fetchWithKeysIn(const std::string& file) const {
        support::ChildOptions options;
        options.environment["SSLKEYLOGFILE"] = file;
        return support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("config"), "--install-dir",
                                    directory_.path("install"), "--ca-file", directory_.path("ca.pem"), "fetch"},
                                   options);
    }

    const fakes::TemporaryDirectory directory_;
    const callcontrol::CertificateAuthority authority_;
    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    std::unique_ptr<callcontrol::CallControlServer> server_;
};

}  // namespace

TEST_F(ToolEnvironment, NamesNoFileForTheKeysOfConnections) {
    const support::Ended ended = fetchWithKeysIn(directory_.path("keys"));
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_FALSE(directory_.exists("keys"));
}

TEST_F(ToolEnvironment, DoesNotHoldTheToolUpByAPipeForTheKeys) {
    ASSERT_EQ(mkfifo(directory_.path("keys").c_str(), 0600), 0);
    EXPECT_EQ(fetchWithKeysIn(directory_.path("keys")).status, 0);
}
