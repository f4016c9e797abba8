#include <string>
#include <vector>

#include "callcontrol/CallControlServer.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

const std::string GONE = "taken down: service, feature set and factory are gone\n";
const std::string PATIENT = "3600";
const std::string IMPATIENT = "0";

/// The example's directory, with a server that the bootstrap file there names. The server has not been started.
class BareHost : public testing::Test {
protected:
    BareHost() {
        directory.write("bootstrap.properties", "TFTPPrimaryServer: " + address + "\n");
        directory.write("ca.pem", authority.certificate());
        serverDirectory.write("corvid-config.xml", "<config><Voicemail><VoicemailPrimaryServer>voicemail.of.the.server"
                                                   "</VoicemailPrimaryServer></Voicemail></config>");
    }

    support::Ended run(const std::string& seconds, const std::string& module = CONFIGSERVICE_MODULE) const {
        return runWith({module, directory.path(), directory.path("ca.pem"), seconds});
    }
    static support::Ended runWith(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), BARE_HOST_PROGRAM);
        return support::runProgram(arguments);
    }

    const CertificateAuthority authority;
    const std::string address = CallControlServer::freeLoopbackAddress();
    const fakes::TemporaryDirectory directory;
    const fakes::TemporaryDirectory serverDirectory;
    std::vector<std::string> requests;  ///< complete once the server has stopped
    CallControlServer server{{.address = address,
                              .file = serverDirectory.path("corvid-config.xml"),
                              .credentials = authority.issue({.names = {address}})},
                             [this](const callcontrol::ServedRequest& request) { requests.push_back(request.path); }};
};

void expectUsage(const support::Ended& ended) {
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "usage: bare-host MODULE DIRECTORY [CA-FILE [SECONDS-TO-WAIT-FOR-THE-SERVER]]\n");
    EXPECT_EQ(ended.status, 2);
}

}  // namespace

TEST_F(BareHost, LeadsTheModuleThroughItsLife) {
    server.start();
    const support::Ended ended = run(PATIENT);
    EXPECT_EQ(ended.out,
              "module put in: VoicemailPrimaryServer is \"\" from []\n"
              "started: VoicemailPrimaryServer is \"\" from []\n"
              "fetched: VoicemailPrimaryServer is \"voicemail.of.the.server\" from [TFTPConfigStore]\n"
              "changed: VoicemailPrimaryServer is \"voicemail.of.the.user\" from [LocalFileConfigStore]\n"
              "refreshed: VoicemailPrimaryServer is \"voicemail.of.the.user\" from [LocalFileConfigStore]\n"
              "stopped: VoicemailPrimaryServer is \"voicemail.of.the.server\" from [cachedTFTPConfigStore.xml]\n"
              "started again: VoicemailPrimaryServer is \"voicemail.of.the.user\" from [LocalFileConfigStore]\n"
              "data reset: VoicemailPrimaryServer is \"\" from []\n" +
                  GONE);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.status, 0);
}

TEST_F(BareHost, LeavesTheInstallationsFilesAndNoneOfTheUsers) {
    directory.write("user/installationId.txt", "7");
    directory.write("user/notes.txt", "the user's");
    directory.write("user/corvidLocalConfig.xml",
                    "<Corvid><userConfig name=\"VoicemailPrimaryServer\" value=\"of.last.year\"/></Corvid>");
    server.start();
    EXPECT_EQ(run(PATIENT).status, 0);
    EXPECT_EQ(directory.read("user/installationId.txt"), "7");
    EXPECT_FALSE(directory.exists("user/notes.txt"));
    EXPECT_FALSE(directory.exists("user/corvidLocalConfig.xml"));
    EXPECT_FALSE(directory.exists("user/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(directory.exists("bootstrap.properties"));
}

TEST_F(BareHost, ComesOutTheSameWhenRunAgain) {
    server.start();
    const support::Ended first = run(PATIENT);
    const support::Ended second = run(PATIENT);
    EXPECT_EQ(second.out, first.out);
    EXPECT_EQ(second.status, 0);
}

TEST_F(BareHost, SaysThatNoServerAnswersAndLeavesTheUsersFiles) {
    directory.write("user/corvidLocalConfig.xml",
                    "<Corvid><userConfig name=\"VoicemailPrimaryServer\" value=\"of.last.year\"/></Corvid>");
    const support::Ended ended = run(IMPATIENT);
    EXPECT_EQ(ended.out, "module put in: VoicemailPrimaryServer is \"of.last.year\" from [LocalFileConfigStore]\n"
                         "started: VoicemailPrimaryServer is \"of.last.year\" from [LocalFileConfigStore]\n" +
                             GONE);
    EXPECT_EQ(ended.error, "bare-host: no value came from a server; bootstrap.properties tells which ones are asked\n");
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(directory.read("user/corvidLocalConfig.xml"), HasSubstr("of.last.year"));
}

TEST_F(BareHost, TrustsNoServerOfAnUnknownAuthority) {
    server.start();
    directory.write("ca.pem", CertificateAuthority().certificate());
    const support::Ended ended = run(IMPATIENT);
    EXPECT_THAT(ended.error, StartsWith("bare-host: no value came from a server"));
    EXPECT_EQ(ended.status, 1);
    server.stop();
    // One that it trusts is asked for its version before the host begins to wait.
    EXPECT_THAT(requests, IsEmpty());
}

TEST_F(BareHost, AsksAServerThatItTrustsForItsVersion) {
    server.start();
    run(IMPATIENT);
    server.stop();
    EXPECT_THAT(requests, Contains("/hubm-uds/version"));
}

TEST_F(BareHost, SaysWhyTheModuleCannotBeLoaded) {
    const std::string missing = directory.path("no-such-module.so");
    const support::Ended ended = run(PATIENT, missing);
    EXPECT_EQ(ended.out, GONE);
    EXPECT_THAT(ended.error, StartsWith("bare-host: cannot load the module: " + missing + ": "));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(BareHost, SaysThatALibraryIsNoSuchModule) {
    const support::Ended ended = run(PATIENT, PLATFORM_LIBRARY);
    EXPECT_EQ(ended.out, GONE);
    EXPECT_THAT(ended.error, StartsWith("bare-host: cannot load the module: "));
    EXPECT_THAT(ended.error, HasSubstr("InjectConfigService"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(BareHost, TellsItsUsage) {
    expectUsage(runWith({}));
    expectUsage(runWith({CONFIGSERVICE_MODULE}));
    expectUsage(runWith({CONFIGSERVICE_MODULE, directory.path(), directory.path("ca.pem"), "1", "more"}));
    expectUsage(run("soon"));
    expectUsage(run("-1"));
}
