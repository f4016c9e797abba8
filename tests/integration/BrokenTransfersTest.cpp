// Servers that begin to answer and then go wrong on the wire.

#include <chrono>
#include <functional>

#include "Expectations.h"
#include "Servers.h"
#include "fakes/ScriptedServer.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;

namespace {

const std::string BEGINNING = "HTTP/1.1 200 OK\r\nContent-Type: application/xml\r\n";
const std::string FAULTY = document({{"origin", "faulty"}});

/// An answer that promises ten bytes more than the file has.
const std::string TOO_SHORT = BEGINNING + "Content-Length: " + std::to_string(FAULTY.size() + 10) + "\r\n\r\n" + FAULTY;

constexpr std::size_t MEBIBYTE = std::size_t{1024} * 1024;

/// So many bytes are never on their way to a client that does not read: when they have been sent, it has begun to.
constexpr std::size_t MORE_THAN_ALL_BUFFERS = 15 * MEBIBYTE;

/// The limit must have ended it: not sooner, and not several limits later, however slow the machine is.
void expectEndedByLimit(std::chrono::seconds limit, const std::function<void()>& action) {
    const auto began = std::chrono::steady_clock::now();
    action();
    const auto took = std::chrono::duration<double>(std::chrono::steady_clock::now() - began);
    EXPECT_GE(took, limit) << took.count();
    EXPECT_LT(took, 3 * limit) << took.count();
}

class BrokenTransfers : public testing::Test {
protected:
    BrokenTransfers() { healthy_.serve({{"origin", "healthy"}}); }

    void expectPassedOverHttp(const ScriptedServer::Script& script, Result result) const {
        const ScriptedServer server(script, {.address = address_, .port = 6970});
        Client client({.servers = {address_, healthy_.address()}, .version = "10"});
        client.start();
        expectPassedOver(client, address_, result, healthy_.address());
    }

    void expectPassedOverHttps(const ScriptedServer::Script& script, Result result) const {
        const callcontrol::Credentials credentials = authority_.issue({.names = {address_}});
        const ScriptedServer server(script, {.address = address_,
                                             .port = 6972,
                                             .certificate = credentials.certificate,
                                             .privateKey = credentials.privateKey});
        Client client(
            {.servers = {address_, healthy_.address()}, .version = "12", .trusted = authority_.certificate()});
        client.start();
        expectPassedOver(client, address_, result, healthy_.address());
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server healthy_{authority_};
};

}  // namespace

TEST_F(BrokenTransfers, ArePassedOverWhenTheBodyIsCutShort) {
    expectPassedOverHttp([](ScriptedConnection& connection) { connection.send(TOO_SHORT); }, BodyCut);
}

TEST_F(BrokenTransfers, ArePassedOverWhenTheLastChunkIsMissing) {
    expectPassedOverHttp(
        [](ScriptedConnection& connection) {
            connection.send(BEGINNING + "Transfer-Encoding: chunked\r\n\r\n8\r\n<config>\r\n");
        },
        BodyCut);
}

TEST_F(BrokenTransfers, ArePassedOverWhenTheConnectionIsResetInTheBody) {
    expectPassedOverHttp(
        [](ScriptedConnection& connection) {
            connection.send(BEGINNING + "Content-Length: " + std::to_string(16 * MEBIBYTE) + "\r\n\r\n");
            connection.send(std::string(MORE_THAN_ALL_BUFFERS, '.'));
            connection.reset();  // now that the answer has begun for the client: it overtakes what is not read yet
        },
        BodyCut);
}

TEST_F(BrokenTransfers, ArePassedOverWhenTheConnectionEndsBeforeAnAnswer) {
    expectPassedOverHttp([](ScriptedConnection& connection) { connection.close(); }, ConnectionFailed);
}

TEST_F(BrokenTransfers, ArePassedOverWhenTheBodyNeverEnds) {
    expectPassedOverHttp(
        [](ScriptedConnection& connection) {
            const std::string piece(std::size_t{64} * 1024, '.');
            connection.send(BEGINNING + "Connection: close\r\n\r\n");
            while (connection.send(piece)) {
            }
        },
        BodyTooLarge);
}

TEST_F(BrokenTransfers, ArePassedOverWhenNoAnswerComesInThreeSeconds) {
    expectEndedByLimit(std::chrono::seconds(3), [this] {
        expectPassedOverHttp([](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); }, TimedOut);
    });
}

TEST_F(BrokenTransfers, ArePassedOverWhenNoAnswerComesInTenSecondsOverHttps) {
    expectEndedByLimit(std::chrono::seconds(10), [this] {
        expectPassedOverHttps([](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); }, TimedOut);
    });
}

TEST_F(BrokenTransfers, ArePassedOverWhenTlsIsBrokenOffInTheBody) {
    expectPassedOverHttps(
        [](ScriptedConnection& connection) {
            connection.send(TOO_SHORT);
            connection.breakOff();
        },
        BodyCut);
}

TEST_F(BrokenTransfers, ArePassedOverWhenThePortSpeaksNoTls) {
    const ScriptedServer server([](ScriptedConnection& connection) { connection.respond(200, FAULTY); },
                                {.address = address_, .port = 6972, .onConnect = [](ScriptedConnection& connection) {
                                     connection.send("no TLS here\r\n\r\n");
                                     connection.close();
                                 }});
    Client client({.servers = {address_, healthy_.address()}, .version = "12", .trusted = authority_.certificate()});
    client.start();
    expectPassedOver(client, address_, TlsFailed, healthy_.address());
}
