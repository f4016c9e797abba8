#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "ServedFile.h"

using callcontrol::CallControlServer;
using callcontrol::ServedRequest;
using support::WebAnswer;
using support::WebClient;
using testing::Each;
using testing::HasSubstr;

namespace {

class CallControl : public ServedFile {
protected:
    CallControl() { server_.start(); }

    void expectNotFound(std::uint16_t port, const std::string& path, const std::string& line = "not found\n") {
        const WebAnswer answer = client_.get(url(port, path));
        EXPECT_EQ(answer.status, 404) << path;
        EXPECT_EQ(answer.contentType, "text/plain") << path;
        EXPECT_EQ(answer.body, line) << path;
    }
};

}  // namespace

TEST_F(CallControl, ServesTheFileOverHttpAndHttps) {
    for (const std::uint16_t port : {PLAIN, SECURE}) {
        const WebAnswer answer = client_.get(url(port, "/corvid-config.xml"));
        EXPECT_EQ(answer.status, 200) << port;
        EXPECT_EQ(answer.contentType, "text/xml") << port;
        EXPECT_EQ(answer.body, "<c><g><A>1</A></g></c>\n") << port;
    }
}

TEST_F(CallControl, ReadsTheFileAnewForEachRequest) {
    directory_.write("corvid-config.xml", "<new/>");
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).body, "<new/>");
    directory_.write("corvid-config.xml", "<newer/>");
    EXPECT_EQ(client_.get(url(SECURE, "/corvid-config.xml")).body, "<newer/>");
}

TEST_F(CallControl, ServesALargeFileWhole) {
    std::string large;
    for (int i = 0; i < 400'000; ++i) {
        large += std::to_string(i) + '\n';
    }
    directory_.write("corvid-config.xml", large);
    EXPECT_TRUE(client_.get(url(PLAIN, "/corvid-config.xml")).body == large);
    EXPECT_TRUE(client_.get(url(SECURE, "/corvid-config.xml")).body == large);
}

TEST_F(CallControl, ServesAnEmptyFileAndBytesAsTheyAre) {
    directory_.write("corvid-config.xml", "");
    const WebAnswer answer = client_.get(url(PLAIN, "/corvid-config.xml"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, "");
    const std::string bytes("\0\xff\r\n\n", 5);
    directory_.write("corvid-config.xml", bytes);
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).body, bytes);
}

TEST_F(CallControl, AnswersHeadWithoutABody) {
    for (const std::uint16_t port : {PLAIN, SECURE}) {
        const WebAnswer answer = client_.send("HEAD", url(port, "/corvid-config.xml"));
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.contentLength, "23");
        EXPECT_EQ(answer.contentType, "text/xml");
        EXPECT_EQ(answer.body, "");
    }
    EXPECT_EQ(client_.send("HEAD", url(PLAIN, "/other")).status, 404);
}

TEST_F(CallControl, IgnoresTheQueryOfAUrl) { EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml?x=y")).status, 200); }

TEST_F(CallControl, KnowsTheFileByItsBaseNameOnly) {
    for (const std::string path :
         {"/", "/other.xml", "/Corvid-Config.xml", "/corvid-config.xml/", "//corvid-config.xml"}) {
        expectNotFound(PLAIN, path);
        expectNotFound(SECURE, path);
    }
    expectNotFound(PLAIN, file_);
}

TEST_F(CallControl, LeadsNowhereElseByWayOfTricksInThePath) {
    directory_.write("secret", "x");
    const std::string folder = std::filesystem::path(directory_.path()).filename().string();
    const std::vector<std::string> tricks = {"/../" + folder + "/corvid-config.xml",
                                             "/%2e%2e/" + folder + "/corvid-config.xml",
                                             "/secret",
                                             "/./corvid-config.xml",
                                             "/%2e/corvid-config.xml",
                                             "/../../../../etc/passwd",
                                             "/..%2f..%2fetc%2fpasswd",
                                             "/corvid-config.xml%00",
                                             "/corvid-config.xml/../secret"};
    for (const std::string& path : tricks) {
        expectNotFound(PLAIN, path);
    }
}

TEST_F(CallControl, FindsNothingWhileTheFileIsGone) {
    std::filesystem::remove(file_);
    expectNotFound(PLAIN, "/corvid-config.xml", "the file is not there\n");
    expectNotFound(SECURE, "/corvid-config.xml", "the file is not there\n");
    directory_.write("corvid-config.xml", "<back/>");
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).body, "<back/>");
}

TEST_F(CallControl, FindsNothingWhereTheFileIsADirectoryOrAPipe) {
    std::filesystem::remove(file_);
    std::filesystem::create_directory(file_);
    expectNotFound(PLAIN, "/corvid-config.xml", "the file is not there\n");
    std::filesystem::remove(file_);
    ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
    expectNotFound(PLAIN, "/corvid-config.xml", "the file is not there\n");
}

TEST_F(CallControl, FindsNothingWhileTheFileCannotBeRead) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser can read every file";
    }
    ASSERT_EQ(chmod(file_.c_str(), 0), 0);
    expectNotFound(PLAIN, "/corvid-config.xml", "the file cannot be read\n");
}

TEST_F(ServedFile, FindsNothingWhereTheReadingFails) {
    CallControlServer::Options options = optionsFor(address_);
    options.file = "/proc/self/mem";  // has nothing at its beginning
    CallControlServer other(options);
    other.start();
    const WebAnswer answer = client_.get(url(PLAIN, "/mem"));
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.body, "the file cannot be read\n");
}

TEST_F(CallControl, TakesNoFileFromAClient) {
    for (const std::string method : {"POST", "PUT", "DELETE", "PATCH"}) {
        EXPECT_EQ(client_.send(method, url(PLAIN, "/corvid-config.xml")).status, 404) << method;
    }
    EXPECT_EQ(directory_.read("corvid-config.xml"), "<c><g><A>1</A></g></c>\n");
}

TEST_F(CallControl, TellsTheVersionOfTheDirectoryService) {
    const WebAnswer answer = client_.get(url(VERSION, VERSION_PATH));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.contentType, "text/xml");
    EXPECT_EQ(answer.body, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<versionResponse><version>12.5</version></versionResponse>\n");
}

TEST_F(CallControl, TellsTheNewVersionFromTheNextRequestOn) {
    server_.setServerVersion("10.5.2");
    EXPECT_THAT(client_.get(url(VERSION, VERSION_PATH)).body, HasSubstr("<version>10.5.2</version>"));
    server_.setServerVersion("<&>");
    EXPECT_THAT(client_.get(url(VERSION, VERSION_PATH)).body, HasSubstr("<version>&lt;&amp;&gt;</version>"));
}

TEST_F(CallControl, KeepsTheNewVersionOverARestart) {
    server_.setServerVersion("9.1");
    server_.stop();
    server_.start();
    EXPECT_THAT(client_.get(url(VERSION, VERSION_PATH)).body, HasSubstr("<version>9.1</version>"));
}

TEST_F(CallControl, HasEachThingOnItsOwnPortsOnly) {
    expectNotFound(PLAIN, VERSION_PATH);
    expectNotFound(SECURE, VERSION_PATH);
    expectNotFound(VERSION, "/corvid-config.xml");
}

TEST_F(CallControl, IsTrustedByWhoeverTrustsTheAuthority) {
    EXPECT_TRUE(client_.get(url(SECURE, "/corvid-config.xml")).trusted);
    const callcontrol::CertificateAuthority other;
    for (const std::uint16_t port : {SECURE, VERSION}) {
        const WebAnswer answer = WebClient(other.certificate()).get(url(port, "/corvid-config.xml"));
        EXPECT_FALSE(answer.arrived);
        EXPECT_FALSE(answer.trusted);
    }
}

TEST_F(CallControl, TellsOfEachAnsweredRequest) {
    client_.get(url(PLAIN, "/corvid-config.xml"));
    waitUntilTold(1);
    client_.send("HEAD", url(SECURE, "/corvid-config.xml"));
    waitUntilTold(2);
    client_.get(url(VERSION, VERSION_PATH));
    waitUntilTold(3);
    client_.get(url(SECURE, "/a%20b"));
    const std::vector<ServedRequest> told = toldUntilStop();
    ASSERT_EQ(told.size(), 4u);
    EXPECT_THAT(told, Each(testing::Field(&ServedRequest::client, "127.0.0.1")));
    const auto row = [&told](std::size_t i) {
        return std::to_string(told[i].port) + " " + told[i].method + " " + told[i].path + " " +
               std::to_string(told[i].status) + " " + std::to_string(told[i].bytes);
    };
    EXPECT_EQ(row(0), "6970 GET /corvid-config.xml 200 23");
    EXPECT_EQ(row(1), "6972 HEAD /corvid-config.xml 200 0");
    EXPECT_EQ(row(2), "8443 GET /hubm-uds/version 200 98");
    EXPECT_EQ(row(3), "6972 GET /a b 404 10");
}

TEST_F(CallControl, TellsOfAClientThatSpeaksTlsToThePlainPort) {
    EXPECT_FALSE(client_.get("https://" + address_ + ":6970/corvid-config.xml").arrived);
    const std::vector<ServedRequest> told = toldUntilStop();
    ASSERT_EQ(told.size(), 1u);
    EXPECT_EQ(told[0].client, "127.0.0.1");
    EXPECT_EQ(told[0].method, "");
    EXPECT_EQ(told[0].status, 400);
}

TEST_F(CallControl, SpeaksPlainHttpOnThePlainPortOnly) {
    EXPECT_FALSE(client_.get("http://" + address_ + ":6972/corvid-config.xml").arrived);
    EXPECT_FALSE(client_.get("http://" + address_ + ":8443" + VERSION_PATH).arrived);
    EXPECT_TRUE(toldUntilStop().empty());
}

TEST_F(ServedFile, ServesWithoutAListener) {
    CallControlServer quiet(optionsFor(address_));
    quiet.start();
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).status, 200);
}

TEST_F(ServedFile, ListensOnThePortsThatItIsGiven) {
    CallControlServer::Options options = optionsFor(address_);
    options.filePort = 16970;
    options.secureFilePort = 16972;
    options.versionPort = 18443;
    CallControlServer other(options);
    other.start();
    EXPECT_EQ(client_.get("http://" + address_ + ":16970/corvid-config.xml").status, 200);
    EXPECT_EQ(client_.get("https://" + address_ + ":16972/corvid-config.xml").status, 200);
    EXPECT_EQ(client_.get("https://" + address_ + ":18443" + VERSION_PATH).status, 200);
    EXPECT_FALSE(client_.get(url(PLAIN, "/corvid-config.xml")).arrived);
}

TEST_F(ServedFile, TakesANameWithABlank) {
    CallControlServer::Options options = optionsFor(address_);
    options.file = directory_.write("my file+.xml", "<mine/>");
    CallControlServer other(options);
    other.start();
    EXPECT_EQ(client_.get(url(PLAIN, "/my%20file+.xml")).body, "<mine/>");
}
