// Several servers that serve the same client, and go away one after the other.

#include "Expectations.h"
#include "LiveValue.h"
#include "Servers.h"
#include "quill/StringUtils.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using QuillCoreUtils::toWideString;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class ThreeServers : public testing::Test {
protected:
    ThreeServers() {
        first_.serve({{"origin", "first"}});
        second_.serve({{"origin", "second"}});
        third_.serve({{"origin", "third"}});
        client_.start();
    }

    Cycle fetchAgain() const {
        client_.store()->attemptDownloadFromCachedAddress();
        return client_.watch().waitUntilSettled().cycles.back();
    }

    void stopAll() const {
        first_.stop();
        second_.stop();
        third_.stop();
    }

    const CertificateAuthority authority_;
    const Server first_{authority_};
    const Server second_{authority_};
    const Server third_{authority_};
    Client client_{
        {.servers = {first_.address(), second_.address(), third_.address()}, .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(ThreeServers, LeaveTheSecondAndThirdAloneWhileTheFirstAnswers) {
    EXPECT_THAT(client_.fetch().cycles.back().attempts, ElementsAre(delivered(first_.address())));
    EXPECT_EQ(client_.value(L"origin"), L"first");
    EXPECT_THAT(first_.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200"));
    EXPECT_THAT(second_.stopAndTell(), IsEmpty());
    EXPECT_THAT(third_.stopAndTell(), IsEmpty());
}

TEST_F(ThreeServers, TakeOverOneAfterTheOther) {
    client_.fetch();
    first_.stop();
    EXPECT_THAT(fetchAgain().attempts,
                ElementsAre(failed(first_.address(), ConnectionFailed), delivered(second_.address())));
    EXPECT_EQ(client_.value(L"origin"), L"second");
    EXPECT_EQ(client_.store()->lastSuccessfulServer(), toWideString(second_.address()));
    second_.stop();
    EXPECT_THAT(fetchAgain().attempts,
                ElementsAre(failed(first_.address(), ConnectionFailed), failed(second_.address(), ConnectionFailed),
                            delivered(third_.address())));
    EXPECT_EQ(client_.value(L"origin"), L"third");
    EXPECT_EQ(client_.store()->lastSuccessfulServer(), toWideString(third_.address()));
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>third</origin>"));
}

TEST_F(ThreeServers, LeaveTheStoreEmptyWhenTheyAreAllGone) {
    client_.fetch();
    const LiveValue live(client_, L"origin");
    stopAll();
    const Cycle cycle = fetchAgain();
    EXPECT_EQ(cycle.end, CycleEnd::Exhausted);
    EXPECT_THAT(cycle.attempts,
                ElementsAre(failed(first_.address(), ConnectionFailed), failed(second_.address(), ConnectionFailed),
                            failed(third_.address(), ConnectionFailed)));
    EXPECT_EQ(client_.log().count(3, QUEUE_EMPTY_LINE), 1U);
    EXPECT_THAT(client_.store()->getKeys(), IsEmpty());
    EXPECT_EQ(client_.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_TRUE(isReleased(*client_.store()));
    // The store is in the chain still, says nothing of its loss, and leaves its copy for the next start.
    EXPECT_EQ(client_.value(L"origin"), L"");
    EXPECT_TRUE(client_.hasStore("TFTPConfigStore"));
    EXPECT_THAT(live.told(), IsEmpty());
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>first</origin>"));
    EXPECT_EQ(client_.store()->lastSuccessfulServer(), toWideString(first_.address()));
}

TEST(OneServer, IsAskedOnceUnderThreeKeys) {
    const std::string dead = CallControlServer::freeLoopbackAddress();
    Client client({.servers = {dead, dead, dead}, .version = "12"});
    client.start();
    EXPECT_THAT(client.fetch().cycles.back().attempts, ElementsAre(failed(dead, ConnectionFailed)));
}

TEST(ThreeDeadServers, AreEachAskedOnceAtAFirstStart) {
    const std::string first = CallControlServer::freeLoopbackAddress();
    const std::string second = CallControlServer::freeLoopbackAddress();
    const std::string third = CallControlServer::freeLoopbackAddress();
    Client client({.servers = {first, second, third}, .version = "12"});
    client.start();
    const DownloadJournal::Snapshot snapshot = client.fetch();
    EXPECT_EQ(snapshot.cyclesEver, 1U);
    const Cycle& cycle = snapshot.cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Exhausted);
    EXPECT_THAT(cycle.versionQueries, IsEmpty());
    EXPECT_THAT(cycle.attempts, ElementsAre(failed(first, ConnectionFailed), failed(second, ConnectionFailed),
                                            failed(third, ConnectionFailed)));
    EXPECT_EQ(client.log().count(3, QUEUE_EMPTY_LINE), 1U);
    EXPECT_EQ(client.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_EQ(client.store()->lastSuccessfulServer(), L"");
    EXPECT_TRUE(isReleased(*client.store()));
    EXPECT_FALSE(client.hasStore("TFTPConfigStore"));
    EXPECT_EQ(client.cacheFile(), "");
}
