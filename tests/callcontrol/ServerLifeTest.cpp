#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "ServedFile.h"

using callcontrol::CallControlServer;
using callcontrol::ServedRequest;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// A TCP socket of the test's own.
class Socket {
public:
    Socket() : descriptor_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~Socket() { close(descriptor_); }

    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    bool listenOn(const std::string& address, std::uint16_t port) {
        const int yes = 1;
        setsockopt(descriptor_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        const sockaddr_in end = endOf(address, port);
        return bind(descriptor_, reinterpret_cast<const sockaddr*>(&end), sizeof end) == 0 &&
               listen(descriptor_, 1) == 0;
    }

    bool connectTo(const std::string& address, std::uint16_t port) {
        const sockaddr_in end = endOf(address, port);
        return connect(descriptor_, reinterpret_cast<const sockaddr*>(&end), sizeof end) == 0;
    }

    void send(const std::string& text) const { ::send(descriptor_, text.data(), text.size(), MSG_NOSIGNAL); }

    /// Waits for something to come. @return false if the other side has gone.
    bool receive() const {
        char byte = 0;
        return recv(descriptor_, &byte, 1, 0) == 1;
    }

    void sendNoMore() const { shutdown(descriptor_, SHUT_WR); }

    /// What comes until the other side has gone.
    std::string receiveAll() const {
        std::string text;
        std::array<char, 4096> buffer{};
        for (ssize_t count = 1; count > 0;) {
            count = recv(descriptor_, buffer.data(), buffer.size(), 0);
            text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        return text;
    }

private:
    static sockaddr_in endOf(const std::string& address, std::uint16_t port) {
        sockaddr_in end{};
        end.sin_family = AF_INET;
        end.sin_port = htons(port);
        inet_pton(AF_INET, address.c_str(), &end.sin_addr);
        return end;
    }

    const int descriptor_;
};

class ServerLife : public ServedFile {
protected:
    bool isListening(const std::string& address, std::uint16_t port) const { return Socket().connectTo(address, port); }

    bool anyIsListening(const std::string& address) const {
        return isListening(address, PLAIN) || isListening(address, SECURE) || isListening(address, VERSION);
    }

    /// What start() says; empty if it is content.
    static std::string complaint(CallControlServer& server) {
        try {
            server.start();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return {};
    }

    static std::size_t openDescriptors() {
        const std::filesystem::directory_iterator entries("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }
};

}  // namespace

TEST_F(ServerLife, ListensOnNothingBeforeItsStart) { EXPECT_FALSE(anyIsListening(address_)); }

TEST_F(ServerLife, TakesConnectionsWhenStartReturns) {
    server_.start();
    for (const std::uint16_t port : {PLAIN, SECURE, VERSION}) {
        EXPECT_TRUE(isListening(address_, port)) << port;
    }
}

TEST_F(ServerLife, ListensOnNothingAfterItsStop) {
    server_.start();
    server_.stop();
    EXPECT_FALSE(anyIsListening(address_));
}

TEST_F(ServerLife, StopsWithItsObject) {
    std::optional<CallControlServer> server(std::in_place, optionsFor(address_));
    server->start();
    server.reset();
    EXPECT_FALSE(anyIsListening(address_));
}

TEST_F(ServerLife, StopsWithoutAStartAndTwice) {
    server_.stop();
    server_.start();
    server_.stop();
    server_.stop();
    EXPECT_FALSE(anyIsListening(address_));
}

TEST_F(ServerLife, StartsTwiceAsOnce) {
    server_.start();
    server_.start();
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).status, 200);
}

TEST_F(ServerLife, StartsAndStopsAgainAndAgainAndLosesNothing) {
    const std::size_t before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        server_.start();
        server_.stop();  // before its threads have come far
    }
    EXPECT_EQ(openDescriptors(), before);
    server_.start();
    EXPECT_EQ(client_.get(url(SECURE, "/corvid-config.xml")).status, 200);
}

TEST_F(ServerLife, CutsOffClientsThatSayNothingOrNotEnough) {
    server_.start();
    Socket silent, halfWay, beforeTls;
    ASSERT_TRUE(silent.connectTo(address_, PLAIN));
    ASSERT_TRUE(halfWay.connectTo(address_, PLAIN));
    ASSERT_TRUE(beforeTls.connectTo(address_, SECURE));
    halfWay.send("GET /corvid-config.xml HT");
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).status, 200);  // they keep nobody waiting

    server_.stop();
    EXPECT_FALSE(silent.receive());
    EXPECT_FALSE(halfWay.receive());
    EXPECT_FALSE(beforeTls.receive());
    EXPECT_EQ(toldUntilStop().size(), 1u);
}

TEST_F(ServerLife, GivesItsAnswerToAClientThatSendsMoreThanIsRead) {
    server_.start();
    Socket client;
    ASSERT_TRUE(client.connectTo(address_, PLAIN));
    client.send("POST /corvid-config.xml HTTP/1.1\r\nContent-Length: 9000\r\n\r\n" + std::string(9000, 'x'));
    client.sendNoMore();
    EXPECT_THAT(client.receiveAll(), StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

TEST_F(ServerLife, AnswersOneRequestForEachConnection) {
    server_.start();
    Socket client;
    ASSERT_TRUE(client.connectTo(address_, PLAIN));
    const std::string request = "GET /corvid-config.xml HTTP/1.1\r\nHost: x\r\nConnection: keep-alive\r\n\r\n";
    client.send(request + request);
    const std::string answers = client.receiveAll();
    EXPECT_THAT(answers, StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(answers.find("HTTP/1.1 "), answers.rfind("HTTP/1.1 "));
    EXPECT_EQ(toldUntilStop().size(), 1u);
}

TEST_F(ServerLife, NamesTheAddressAndThePortThatIsTaken) {
    for (const std::uint16_t port : {PLAIN, SECURE, VERSION}) {
        const std::string address = CallControlServer::freeLoopbackAddress();
        Socket other;
        ASSERT_TRUE(other.listenOn(address, port));
        CallControlServer server(optionsFor(address));
        EXPECT_EQ(complaint(server),
                  "cannot listen on " + address + ":" + std::to_string(port) + ": Address already in use");
    }
}

TEST_F(ServerLife, ListensOnNothingWhereOnePortIsTaken) {
    const std::size_t before = openDescriptors();
    {
        Socket other;
        ASSERT_TRUE(other.listenOn(address_, VERSION));
        EXPECT_NE(complaint(server_), "");
        EXPECT_FALSE(isListening(address_, PLAIN));
        EXPECT_FALSE(isListening(address_, SECURE));
    }
    EXPECT_EQ(openDescriptors(), before);
    server_.start();  // the port is free now
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).status, 200);
}

TEST_F(ServerLife, SharesNoPortWithAnotherServer) {
    server_.start();
    CallControlServer second(optionsFor(address_));
    EXPECT_EQ(complaint(second), "cannot listen on " + address_ + ":6970: Address already in use");
    EXPECT_EQ(client_.get(url(PLAIN, "/corvid-config.xml")).status, 200);
}

TEST_F(ServerLife, RefusesWhatIsNoIpv4Address) {
    for (const std::string address : {"", "localhost", "::1", "127.0.0", "127.0.0.1.1"}) {
        CallControlServer::Options options = optionsFor("127.0.0.1");
        options.address = address;
        CallControlServer refused(options);
        EXPECT_EQ(complaint(refused), "cannot listen on " + address + ":6970: not an IPv4 address");
    }
}

TEST_F(ServerLife, RefusesAnAddressOfAnotherMachine) {
    CallControlServer server(optionsFor("192.0.2.1"));
    EXPECT_EQ(complaint(server), "cannot listen on 192.0.2.1:6970: Cannot assign requested address");
}

TEST_F(ServerLife, RefusesCredentialsThatCannotBeUsed) {
    const auto complaintAbout = [this](const callcontrol::Credentials& credentials) {
        CallControlServer::Options options = optionsFor(address_);
        options.credentials = credentials;
        CallControlServer server(options);
        const std::string line = complaint(server);
        EXPECT_FALSE(anyIsListening(address_)) << line;
        return line;
    };
    const callcontrol::Credentials good = authority_.issue({{address_}});
    const callcontrol::Credentials other = authority_.issue({{address_}});
    EXPECT_THAT(complaintAbout({}), StartsWith("the certificate cannot be read: "));
    EXPECT_THAT(complaintAbout({good.certificate, "x"}), StartsWith("the private key cannot be read: "));
    EXPECT_THAT(complaintAbout({good.certificate, other.privateKey}),
                StartsWith("the private key does not belong to the certificate: "));
}

TEST_F(ServerLife, StandsBesideOthersOnOtherAddresses) {
    const std::string second = CallControlServer::freeLoopbackAddress();
    const std::string third = CallControlServer::freeLoopbackAddress();
    CallControlServer::Options options = optionsFor(second);
    options.serverVersion = "2.0";
    CallControlServer secondServer(options);
    options = optionsFor(third);
    options.serverVersion = "3.0";
    CallControlServer thirdServer(options);
    server_.start();
    secondServer.start();
    thirdServer.start();

    const auto versionAt = [this](const std::string& address) {
        return client_.get("https://" + address + ":8443" + VERSION_PATH).body;
    };
    EXPECT_THAT(versionAt(address_), HasSubstr("<version>12.5<"));
    EXPECT_THAT(versionAt(second), HasSubstr("<version>2.0<"));
    EXPECT_THAT(versionAt(third), HasSubstr("<version>3.0<"));
    secondServer.stop();
    EXPECT_FALSE(anyIsListening(second));
    EXPECT_THAT(versionAt(third), HasSubstr("<version>3.0<"));
}

TEST_F(ServerLife, TellsOneRequestAtATime) {
    std::vector<std::uint16_t> ports;  // no lock: a second teller would be a race
    CallControlServer server(optionsFor(address_),
                             [&ports](const ServedRequest& request) { ports.push_back(request.port); });
    server.start();
    constexpr int EACH = 5;
    std::vector<std::thread> clients;
    for (const std::string& target :
         {url(PLAIN, "/corvid-config.xml"), url(SECURE, "/corvid-config.xml"), url(VERSION, VERSION_PATH)}) {
        clients.emplace_back([this, target] {
            for (int i = 0; i < EACH; ++i) {
                EXPECT_EQ(client_.get(target).status, 200);
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    server.stop();
    EXPECT_EQ(ports.size(), 3u * EACH);
}

TEST_F(ServerLife, StopsWhileClientsAreAsking) {
    server_.start();
    std::vector<std::thread> clients;
    for (const std::uint16_t port : {PLAIN, SECURE}) {
        clients.emplace_back([this, port] {
            while (client_.get(url(port, "/corvid-config.xml")).arrived) {
            }
        });
    }
    EXPECT_TRUE(client_.get(url(VERSION, VERSION_PATH)).arrived);
    server_.stop();
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_FALSE(anyIsListening(address_));
}

TEST(LoopbackAddress, IsADifferentOneForEachCall) {
    std::set<std::string> addresses;
    for (int i = 0; i < 600; ++i) {
        EXPECT_TRUE(addresses.insert(CallControlServer::freeLoopbackAddress()).second);
    }
}

TEST(LoopbackAddress, LiesInTheLoopbackNetworkAndIsNobodyElses) {
    for (int i = 0; i < 300; ++i) {
        const std::string address = CallControlServer::freeLoopbackAddress();
        in_addr parsed{};
        ASSERT_EQ(inet_pton(AF_INET, address.c_str(), &parsed), 1) << address;
        const std::uint32_t number = ntohl(parsed.s_addr);
        EXPECT_EQ(number >> 24, 127u) << address;
        for (const int shift : {16, 8, 0}) {
            const std::uint32_t byte = (number >> shift) & 255;
            EXPECT_TRUE(byte != 0 && byte != 255) << address;
        }
    }
}

TEST(LoopbackAddress, HasAllThreePortsFree) {
    const CallControlServer::Options usual;
    for (const std::uint16_t port : {usual.filePort, usual.secureFilePort, usual.versionPort}) {
        EXPECT_TRUE(Socket().listenOn(CallControlServer::freeLoopbackAddress(), port)) << port;
    }
}
