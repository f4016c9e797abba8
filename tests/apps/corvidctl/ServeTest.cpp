#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <csignal>

#include "FullPipe.h"
#include "Tool.h"
#include "callcontrol/CallControlServer.h"
#include "support/WebClient.h"

using support::ChildProcess;
using support::Ended;
using support::WebAnswer;
using support::WebClient;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

/// Sees files come into a folder.
class Arrivals {
public:
    explicit Arrivals(const std::string& folder) : events_(inotify_init1(IN_CLOEXEC)) {
        inotify_add_watch(events_, folder.c_str(), IN_MOVED_TO);
    }
    ~Arrivals() { close(events_); }

    Arrivals(const Arrivals&) = delete;
    Arrivals& operator=(const Arrivals&) = delete;

    /// Waits for the next one. @return its name.
    std::string wait() const {
        alignas(inotify_event) std::array<char, sizeof(inotify_event) + NAME_MAX + 1> event{};
        const ssize_t size = read(events_, event.data(), event.size());
        return size <= 0 ? std::string() : reinterpret_cast<const inotify_event*>(event.data())->name;
    }

private:
    const int events_;
};

/// The tool as a server on an address of the test's own.
class Serve : public Tool {
protected:
    std::vector<std::string> words(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> all = {"serve", file_, "--address", address_, "--write-ca", ca_};
        all.insert(all.end(), more.begin(), more.end());
        return command(all);
    }

    static Ended interrupted(ChildProcess& server, int signal = SIGINT) {
        server.signal(signal);
        return server.wait();
    }

    std::string plainUrl() const { return "http://" + address_ + ":6970/corvid-config.xml"; }
    std::string secureUrl() const { return "https://" + address_ + ":6972/corvid-config.xml"; }
    std::string versionUrl() const { return "https://" + address_ + ":8443/hubm-uds/version"; }
    WebClient client() const { return WebClient(directory_.read("ca.pem")); }

    void expectRefused(const std::vector<std::string>& refused, const std::string& line, int status = 2) const {
        const auto before = files();
        const Ended ended = run(refused);
        EXPECT_EQ(ended.status, status) << line;
        EXPECT_EQ(ended.error, "corvidctl: " + line + "\n");
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(files(), before) << line;
    }

    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    const std::string file_ = directory_.write("served/corvid-config.xml", "<c/>\n");
    const std::string ca_ = directory_.path("ca.pem");
    static constexpr const char* READY = "/hubm-uds/version\n";
};

}  // namespace

TEST_F(Serve, ServesTheFileAndTheVersionUntilItIsInterrupted) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_EQ(client().get(plainUrl()).body, "<c/>\n");
    EXPECT_EQ(client().get(secureUrl()).body, "<c/>\n");
    EXPECT_THAT(client().get(versionUrl()).body, HasSubstr("<version>12.5</version>"));
    const Ended ended = interrupted(server);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_FALSE(client().get(plainUrl()).arrived);
}

TEST_F(Serve, EndsWithNoughtWhenItIsTerminated) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_EQ(interrupted(server, SIGTERM).status, 0);
}

TEST_F(Serve, TellsWhereItListens) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_EQ(interrupted(server).out,
              "file     " + plainUrl() + "\nfile     " + secureUrl() + "\nversion  " + versionUrl() + "\n");
}

TEST_F(Serve, TellsItsUrlsAsTheyCanBeUsed) {
    const std::string file = directory_.write("a b\xc3\xa4.xml", "<ab/>");
    ChildProcess server(command({"serve", file, "--address", address_}));
    ASSERT_TRUE(server.waitForOutput(READY));
    const std::string url = "http://" + address_ + ":6970/a%20b%C3%A4.xml";
    EXPECT_EQ(client().get(url).body, "<ab/>");
    EXPECT_THAT(interrupted(server).out, HasSubstr(url + "\n"));
}

TEST_F(Serve, PrintsALineForEachRequest) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    client().get(plainUrl());
    ASSERT_TRUE(server.waitForOutput(" 5 bytes\n"));  // at once, not at the end
    client().send("HEAD", secureUrl());
    ASSERT_TRUE(server.waitForOutput(" 0 bytes\n"));
    client().get("http://" + address_ + ":6970/other%1b");
    const std::string out = interrupted(server).out;
    EXPECT_THAT(out.substr(out.find(READY) + std::string(READY).size()),
                MatchesRegex("[0-9:]{8}  127\\.0\\.0\\.1  6970  GET /corvid-config\\.xml  200  5 bytes\n"
                             "[0-9:]{8}  127\\.0\\.0\\.1  6972  HEAD /corvid-config\\.xml  200  0 bytes\n"
                             "[0-9:]{8}  127\\.0\\.0\\.1  6970  GET /other\\\\x1b  404  10 bytes\n"));
}

TEST_F(Serve, PrintsAClientThatSpeaksNoHttp) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_FALSE(client().get("https://" + address_ + ":6970/").arrived);
    ASSERT_TRUE(server.waitForOutput("6970  (no HTTP)  400  4 bytes\n"));
}

TEST_F(Serve, PrintsAnObjectForEachRequestAndNothingElse) {
    const Arrivals arrivals(directory_.path());
    ChildProcess server(words({"--json"}));
    ASSERT_EQ(arrivals.wait(), "ca.pem");  // the server answers when it is there
    client().get(secureUrl());
    ASSERT_TRUE(server.waitForOutput("\n"));
    client().get("http://" + address_ + ":6970/other");
    EXPECT_EQ(interrupted(server).out,
              "{\"port\":6972,\"client\":\"127.0.0.1\",\"method\":\"GET\",\"path\":\"/corvid-config.xml\","
              "\"status\":200,\"bytes\":5}\n"
              "{\"port\":6970,\"client\":\"127.0.0.1\",\"method\":\"GET\",\"path\":\"/other\","
              "\"status\":404,\"bytes\":10}\n");
}

TEST_F(Serve, ServesAChangedFileChanged) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    directory_.write("served/corvid-config.xml", "<changed/>");
    EXPECT_EQ(client().get(plainUrl()).body, "<changed/>");
}

TEST_F(Serve, TellsTheVersionThatItIsGiven) {
    ChildProcess server(words({"--server-version", "10.5.2"}));
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_THAT(client().get(versionUrl()).body, HasSubstr("<version>10.5.2</version>"));
}

TEST_F(Serve, IsTrustedByItsCertificateOnly) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    const callcontrol::CertificateAuthority other;
    EXPECT_FALSE(WebClient(other.certificate()).get(secureUrl()).trusted);
    EXPECT_THAT(directory_.read("ca.pem"), testing::StartsWith("-----BEGIN CERTIFICATE-----\n"));
    EXPECT_THAT(directory_.read("ca.pem"), testing::Not(HasSubstr("PRIVATE")));
}

TEST_F(Serve, ReplacesTheCertificateOfAnEarlierRun) {
    directory_.write("ca.pem", "-----BEGIN CERTIFICATE-----\n" + std::string(100'000, 'x'));
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_EQ(client().get(secureUrl()).status, 200);
}

TEST_F(Serve, WritesItsCertificateIntoAnEmptyFile) {
    directory_.write("ca.pem", "");
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    EXPECT_EQ(client().get(secureUrl()).status, 200);
}

TEST_F(Serve, EndsWhenNobodyReadsItsLines) {
    ChildProcess server(words());
    ASSERT_TRUE(server.waitForOutput(READY));
    server.stopReading();
    client().get(plainUrl());
    EXPECT_EQ(server.wait().status, 0);
}

TEST_F(Serve, EndsWhenInterruptedWhileNobodyTakesItsLines) {
    const Arrivals arrivals(directory_.path());
    const FullPipe pipe(directory_.path("pipe"));
    ChildProcess server(pipe.asOutputOf(words()));
    ASSERT_EQ(arrivals.wait(), "ca.pem");  // its first lines come next
    server.signal(SIGINT);
    const Ended ended = server.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
}

TEST_F(Serve, ColoursATerminalThatIsNotDumbOnly) {
    const auto requestOn = [this](const std::map<std::string, std::string>& environment) {
        ChildProcess::Options options;
        options.terminal = true;
        options.environment = environment;
        ChildProcess server(words(), options);
        EXPECT_TRUE(server.waitForOutput("/hubm-uds/version\r\n"));
        client().get(plainUrl());
        EXPECT_TRUE(server.waitForOutput(" 5 bytes\r\n"));
        return interrupted(server).out;
    };
    EXPECT_THAT(requestOn({{"TERM", "xterm"}, {"NO_COLOR", ""}}), HasSubstr("\x1b["));
    EXPECT_THAT(requestOn({{"TERM", "dumb"}, {"NO_COLOR", ""}}), testing::Not(HasSubstr("\x1b[")));
    EXPECT_THAT(requestOn({{"TERM", "xterm"}, {"NO_COLOR", "1"}}), testing::Not(HasSubstr("\x1b[")));
}

TEST_F(Serve, ListensOnThisMachineUnlessToldOtherwise) {
    ChildProcess server(command({"serve", file_}));
    // Somebody else may be there, which tells the address as well.
    const bool listens = server.waitForOutput(READY);
    const Ended ended = interrupted(server);
    EXPECT_THAT(listens ? ended.out : ended.error, HasSubstr("127.0.0.1:69")) << ended.out << ended.error;
    EXPECT_EQ(ended.status, listens ? 0 : 1);
}

TEST_F(Serve, SaysWhenTheCertificateCannotBeWritten) {
    std::vector<std::string> limited = {"/bin/sh", "-c", "trap '' XFSZ; ulimit -f 0; exec \"$0\" \"$@\""};
    const std::vector<std::string> serve = words();
    limited.insert(limited.end(), serve.begin(), serve.end());
    const Ended ended = support::runProgram(limited);
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: the certificate cannot be written: " + ca_ + "\n");
    EXPECT_FALSE(directory_.exists("ca.pem"));
}

TEST_F(Serve, NamesThePortThatIsTaken) {
    callcontrol::CallControlServer::Options options;
    options.address = address_;
    options.file = file_;
    options.credentials = callcontrol::CertificateAuthority::selfSigned({{address_}});
    callcontrol::CallControlServer other(options);
    other.start();
    expectRefused({"serve", file_, "--address", address_, "--write-ca", ca_},
                  "cannot listen on " + address_ + ":6970: Address already in use", 1);
    expectRefused({"serve", file_, "--address", "192.0.2.1"},
                  "cannot listen on 192.0.2.1:6970: Cannot assign requested address", 1);
}

TEST_F(Serve, NeedsAFileThatCanBeRead) {
    expectRefused({"serve"}, "serve: FILE is missing, expected: corvidctl serve FILE");
    expectRefused({"serve", file_, "B"}, "serve: unexpected argument 'B', expected: corvidctl serve FILE");
    for (const std::string& file : {directory_.path("nowhere"), directory_.path("config")}) {
        expectRefused({"serve", file}, "serve: FILE '" + file + "': expected a file that can be read");
    }
    expectRefused({"serve", "/dev/null"}, "serve: FILE '/dev/null': expected a regular file");
}

TEST_F(Serve, NeedsAnIpv4Address) {
    for (const std::string address : {"localhost", "::1", "127.0.0", "127.0.0.1:80"}) {
        expectRefused({"serve", file_, "--address", address}, "--address '" + address + "': expected an IPv4 address");
    }
    expectRefused({"serve", file_, "--address"}, "--address: A is missing, expected: --address A");
}

TEST_F(Serve, NeedsAVersionOfDigitsAndFullStops) {
    for (const std::string version : {"twelve", "12.5a", ".", "-1", "12,5"}) {
        expectRefused({"serve", file_, "--server-version=" + version},
                      "--server-version '" + version + "': expected digits and full stops, as in 12.5");
    }
}

TEST_F(Serve, NeedsAPlaceForTheCertificate) {
    const std::string pipe = directory_.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {directory_.path("nowhere/ca.pem"), directory_.path("config"), pipe, file_,
                                    directory_.path("served/../served/corvid-config.xml")}) {
        expectRefused({"serve", file_, "--write-ca", path},
                      "--write-ca '" + path + "': expected a file that can be written, and another one than FILE");
    }
}

TEST_F(Serve, WritesItsCertificateOverNoFileThatIsNone) {
    const std::string letter = directory_.write("letter", "Dear Sirs");
    expectRefused({"serve", file_, "--write-ca", ""}, "--write-ca is empty, expected a path");
    expectRefused({"serve", file_, "--write-ca", letter},
                  "--write-ca '" + letter + "': expected a file that does not exist yet, or a certificate to replace");
    EXPECT_EQ(directory_.read("letter"), "Dear Sirs");
}

TEST_F(Serve, HelpShowsItsOptions) {
    const Ended ended = run({"serve", "--help"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("Usage: corvidctl [global options] serve FILE\n"));
    for (const char* const option : {"--address A", "--server-version V", "--write-ca FILE"}) {
        EXPECT_THAT(ended.out, HasSubstr(option));
    }
}

TEST_F(Serve, ChangesNothingInTheDirectories) {
    const auto before = files();
    ChildProcess server(command({"serve", file_, "--address", address_}));
    ASSERT_TRUE(server.waitForOutput(READY));
    interrupted(server);
    EXPECT_EQ(files(), before);
}
