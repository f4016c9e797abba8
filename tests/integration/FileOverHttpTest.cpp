// Servers that answer a request for the file wrongly, or not at all; the file travels over HTTP.

#include "Expectations.h"
#include "Nginx.h"
#include "Servers.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t LARGEST_BODY = std::size_t{16} * 1024 * 1024;

/// A document of exactly this length, most of it comments.
std::string documentOfSize(std::size_t size) {
    const std::string entries = "<config><group><origin>large</origin></group>";
    const std::string end = "</config>";
    const std::string comment = "<!--" + std::string(65529, '.') + "-->";
    std::string text = entries;
    while (text.size() + comment.size() + end.size() <= size) {
        text += comment;
    }
    return text + std::string(size - text.size() - end.size(), ' ') + end;
}

/// A server that is about to misbehave, with another behind it that does not.
class FileOverHttp : public testing::Test {
protected:
    FileOverHttp() { healthy_.serve({{"origin", "healthy"}}); }

    ClientOptions bothServers() const { return {.servers = {address_, healthy_.address()}, .version = "10"}; }

    std::unique_ptr<Nginx> nginxWith(const std::string& rules) const {
        return std::make_unique<Nginx>(address_, std::vector<NginxPort>{{6970, rules}});
    }

    void expectThatAnswerIsPassedOver(const std::string& rules, Result result) const {
        const std::unique_ptr<Nginx> server = nginxWith(rules);
        server->serve("corvid-config.xml", document({{"origin", "faulty"}}));
        Client client(bothServers());
        client.start();
        expectPassedOver(client, address_, result, healthy_.address());
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server healthy_{authority_};
};

}  // namespace

TEST_F(FileOverHttp, IsTakenFromTheFirstServerIfThatDelivers) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    server->serve("corvid-config.xml", document({{"origin", "first"}}));
    Client client(bothServers());
    client.start();
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Delivered);
    EXPECT_THAT(cycle.attempts, ElementsAre(delivered(address_)));
    EXPECT_EQ(client.value(L"origin"), L"first");
    EXPECT_EQ(client.log().count(4, fetchingLine("http://" + address_ + ":6970/corvid-config.xml", "3")), 1U);
    EXPECT_EQ(client.log().count(4, UPDATED_LINE), 1U);
    EXPECT_THAT(healthy_.stopAndTell(), IsEmpty());
}

TEST_F(FileOverHttp, IsSoughtUnderTheConfiguredName) {
    Nginx server(address_, {{6970}});
    server.serve("other.xml", document({{"origin", "other"}}));
    Client client({.servers = {address_}, .version = "10", .more = {{"configurationfile", "other.xml"}}});
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"other");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /other.xml 200"));
}

TEST_F(FileOverHttp, PassesOverAServerThatRefusesTheConnection) {
    Client client(bothServers());
    client.start();
    expectPassedOver(client, address_, ConnectionFailed, healthy_.address());
}

TEST_F(FileOverHttp, IsNotThereIfTheOnlyServerRefusesTheConnection) {
    Client client({.servers = {address_}, .version = "10"});
    client.start();
    expectNothingFetched(client, address_, ConnectionFailed);
}

TEST_F(FileOverHttp, PassesOverANameThatDoesNotResolve) {
    const std::string name =
        std::string(64, 'a').append(".example");  // no label may be that long: nobody needs to be asked
    Client client({.servers = {name, healthy_.address()}, .version = "10"});
    client.start();
    expectPassedOver(client, name, NameNotResolved, healthy_.address());
}

TEST_F(FileOverHttp, PassesOverAServerWithoutTheFile) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    Client client(bothServers());
    client.start();
    expectPassedOver(client, address_, StatusRefused, healthy_.address());
}

TEST_F(FileOverHttp, PassesOverAServerInTrouble) {
    expectThatAnswerIsPassedOver("location / { return 500 '<config/>'; }", StatusRefused);
}

TEST_F(FileOverHttp, IsNotThereIfTheOnlyServerIsInTrouble) {
    const std::unique_ptr<Nginx> server = nginxWith("location / { return 500 '<config/>'; }");
    Client client({.servers = {address_}, .version = "10"});
    client.start();
    expectNothingFetched(client, address_, StatusRefused);
}

TEST_F(FileOverHttp, PassesOverAServerThatSendsAByteASecond) {
    expectThatAnswerIsPassedOver("location / { limit_rate 1; }", TimedOut);
}

TEST_F(FileOverHttp, PassesOverAServerWhoseFileIsTooLarge) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    server->serve("corvid-config.xml", documentOfSize(LARGEST_BODY + 1));
    Client client(bothServers());
    client.start();
    expectPassedOver(client, address_, BodyTooLarge, healthy_.address());
}

TEST_F(FileOverHttp, TakesTheLargestFileThatIsAllowed) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    server->serve("corvid-config.xml", documentOfSize(LARGEST_BODY));
    Client client(bothServers());
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"large");
}

TEST_F(FileOverHttp, PassesOverAServerWhoseFileIsEmpty) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    server->serve("corvid-config.xml", "");
    Client client(bothServers());
    client.start();
    expectPassedOver(client, address_, BodyEmpty, healthy_.address());
}

TEST_F(FileOverHttp, TakesAFileThatIsNoXmlForASuccessWithoutValues) {
    const std::unique_ptr<Nginx> server = nginxWith("");
    server->serve("corvid-config.xml", "origin = faulty\n");
    Client client(bothServers());
    client.start();
    expectUnreadable(client, address_);
    EXPECT_EQ(client.log().count(2, INVALID_XML_LINE), 1U);
    EXPECT_THAT(healthy_.stopAndTell(), IsEmpty());
}
