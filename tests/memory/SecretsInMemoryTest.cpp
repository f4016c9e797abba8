#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ProcessMemory.h"
#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"
#include "support/TurnedText.h"

using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

// Long enough to lie on the heap, and unlike anything else. What gives a block back writes over its beginning: what
// lies there unwiped has but its end left.
const std::string COMMON_PART = "tr0ub4dor";
const std::string COMMON_END = "-b4tterystaple";
const std::string PASSWORD = "tr0ub4dor-of-the-directory-password" + COMMON_END;
const std::string SENSITIVE = "tr0ub4dor-of-the-sensitive-key" + COMMON_END;
const std::string COMMENT = "tr0ub4dor-of-a-comment-in-the-document" + COMMON_END;
const std::string OF_THE_LINK = "tr0ub4dor-of-the-provisioning-link" + COMMON_END;
const std::string IGNORED = "tr0ub4dor-of-what-the-link-may-not-set" + COMMON_END;
const std::string OF_THE_USER = "tr0ub4dor-of-the-user-himself" + COMMON_END;
const std::string USERS_PASSWORD = "tr0ub4dor-of-the-users-own-password" + COMMON_END;
// Which nothing forgets before the host has stopped.
const std::string OF_THE_INSTALLER = "c0rrecth0rse-of-the-installers-file" + COMMON_END;

/// A client that has a server, and whose memory is looked at while it waits.
class SecretsInMemory : public testing::Test {
protected:
    SecretsInMemory() {
        directory_.write("ca.pem", authority_.certificate());
        directory_.write("install/bootstrap.properties",
                         "TFTPPrimaryServer: " + address_ + "\nConnectionPassword: " + OF_THE_INSTALLER + "\n");
        directory_.write("link", support::turned("corvid://setup?ServicesDomain=" + OF_THE_LINK + "&Other=" + IGNORED));
        directory_.write("user", support::turned(OF_THE_USER));
        directory_.write("password", support::turned(USERS_PASSWORD));
        serve("<!--" + COMMENT + "--><ConnectionPassword>" + PASSWORD +
              "</ConnectionPassword><Secret sensitive=\"true\">" + SENSITIVE + "</Secret>");
        callcontrol::CallControlServer::Options options;
        options.address = address_;
        options.file = directory_.path("server/corvid-config.xml");
        options.credentials = authority_.issue({{address_}});
        server_ = std::make_unique<callcontrol::CallControlServer>(options);
        server_->start();
    }

    void serve(const std::string& secrets) const {
        directory_.write("server/corvid-config.xml",
                         "<config><group><origin>server</origin>" + secrets + "</group></config>");
    }

    void start() {
        // Where a library of the system calls a function for the first time, the loader that looks it up leaves the
        // registers on the stack, and in them the end of a text that was copied.
        client_ = std::make_unique<support::ChildProcess>(
            std::vector<std::string>{MEMORY_CLIENT_PROGRAM, directory_.path()},
            support::ChildProcess::Options{.environment = {{"LD_BIND_NOW", "1"}}});
    }

    bool canLookAtMemory() const { return ProcessMemory(client_->id()).isOpen(); }

    /// Waits until the client has done a step, and waits itself.
    void awaitStep(const std::string& step) {
        ASSERT_TRUE(client_->waitForError(step + "\n")) << client_->wait().error;
    }

    void goOn() { client_->signal(SIGUSR1); }

    std::vector<std::string> placesOf(const std::string& secret) const {
        return ProcessMemory(client_->id()).placesOf(secret);
    }

    /// No secret lies anywhere but as often as it is held, each wide: not even the end of one.
    void expectNoneBeyond(std::size_t held) const {
        EXPECT_THAT(placesOf(COMMON_END), AllOf(SizeIs(held), Each(EndsWith(" wide"))));
    }

    /// Lets the client do the rest without being looked at.
    void finish(const std::vector<std::string>& steps) {
        for (const std::string& step : steps) {
            awaitStep(step);
            goOn();
        }
        EXPECT_EQ(client_->wait().status, 0);
    }

    /// The client's files that hold a secret: "NAME: SECRET".
    std::vector<std::string> filesWithSecrets() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.path())) {
            const std::string name = std::filesystem::relative(entry.path(), directory_.path());
            for (const std::string& secret :
                 {PASSWORD, SENSITIVE, COMMENT, OF_THE_LINK, IGNORED, OF_THE_USER, USERS_PASSWORD, OF_THE_INSTALLER}) {
                if (!name.starts_with("server/") && directory_.read(name).find(secret) != std::string::npos) {
                    found.push_back(name + ": " + secret);
                }
            }
        }
        return found;
    }

    const fakes::TemporaryDirectory directory_;
    const callcontrol::CertificateAuthority authority_;
    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    std::unique_ptr<callcontrol::CallControlServer> server_;
    std::unique_ptr<support::ChildProcess> client_;
};

}  // namespace

TEST_F(SecretsInMemory, AreThereOnlyWhereAndAsLongAsAClientHoldsThem) {
    start();
    awaitStep("started");
    if (!canLookAtMemory()) {
        GTEST_SKIP() << "only root can look into the memory of a host";
    }
    // The value in the store and the two of the live object, while no other store has the key.
    EXPECT_THAT(placesOf(OF_THE_INSTALLER), ElementsAre(EndsWith(" wide"), EndsWith(" wide"), EndsWith(" wide")));
    expectNoneBeyond(3);
    goOn();

    awaitStep("fetched");
    EXPECT_THAT(placesOf(OF_THE_INSTALLER), ElementsAre(EndsWith(" wide")));
    EXPECT_THAT(placesOf(PASSWORD), IsEmpty());
    EXPECT_THAT(placesOf(COMMENT), IsEmpty());
    // The value in the store and the two of the live object, and no other form of them.
    EXPECT_THAT(placesOf(SENSITIVE), ElementsAre(EndsWith(" wide"), EndsWith(" wide"), EndsWith(" wide")));
    expectNoneBeyond(4);
    goOn();

    awaitStep("set");
    EXPECT_THAT(placesOf(OF_THE_INSTALLER), ElementsAre(EndsWith(" wide")));
    // The value in the store and the one of the live object: what a user has set is no administrator's value.
    for (const std::string& secret : {OF_THE_USER, USERS_PASSWORD}) {
        EXPECT_THAT(placesOf(secret), ElementsAre(EndsWith(" wide"), EndsWith(" wide"))) << secret;
    }
    EXPECT_THAT(placesOf(OF_THE_LINK), ElementsAre(EndsWith(" wide"), EndsWith(" wide"), EndsWith(" wide")));
    EXPECT_THAT(placesOf(IGNORED), IsEmpty());
    // That of the server is still held.
    expectNoneBeyond(11);
    serve("");
    goOn();

    awaitStep("forgotten");
    EXPECT_THAT(placesOf(OF_THE_INSTALLER), ElementsAre(EndsWith(" wide"), EndsWith(" wide"), EndsWith(" wide")));
    for (const std::string& secret : {SENSITIVE, OF_THE_USER, USERS_PASSWORD, OF_THE_LINK, COMMON_PART}) {
        EXPECT_THAT(placesOf(secret), IsEmpty()) << secret;
    }
    expectNoneBeyond(3);
    goOn();
    finish({"stopped"});
}

TEST_F(SecretsInMemory, AreGoneWhenTheHostHasStopped) {
    start();
    for (const char* const step : {"started", "fetched", "set", "forgotten"}) {
        awaitStep(step);
        if (!canLookAtMemory()) {
            GTEST_SKIP() << "only root can look into the memory of a host";
        }
        goOn();
    }
    awaitStep("stopped");
    EXPECT_THAT(placesOf(COMMON_PART), IsEmpty());
    EXPECT_THAT(placesOf(OF_THE_INSTALLER), IsEmpty());
    expectNoneBeyond(0);
    goOn();
    EXPECT_EQ(client_->wait().status, 0);
}

TEST_F(SecretsInMemory, AreInNoLogAndInNoFileButThoseThatKeepThemByDesign) {
    start();
    for (const char* const step : {"started", "fetched"}) {
        awaitStep(step);
        goOn();
    }
    awaitStep("set");
    // What a user sets, and what a link sets, is kept in clear; the mark "sensitive" concerns what is shown.
    const std::string ofTheInstaller = "install/bootstrap.properties: " + OF_THE_INSTALLER;
    EXPECT_THAT(filesWithSecrets(),
                testing::UnorderedElementsAre(ofTheInstaller, "config/corvidLocalConfig.xml: " + OF_THE_USER,
                                              "config/corvidLocalConfig.xml: " + USERS_PASSWORD,
                                              "config/Cache/cachedUrlProvisioningConfigStore.xml: " + OF_THE_LINK));
    goOn();
    finish({"forgotten", "stopped"});
    EXPECT_THAT(directory_.read("log"), AllOf(HasSubstr("VALUE_HIDDEN"), HasSubstr(" debug "),
                                              Not(HasSubstr(COMMON_PART)), Not(HasSubstr(COMMON_END))));
    EXPECT_THAT(filesWithSecrets(), ElementsAre(ofTheInstaller));
}
