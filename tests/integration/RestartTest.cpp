// What a client knows at its next start, before any server has answered.

#include "ConfigFeatureSet.h"
#include "Expectations.h"
#include "Servers.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class Restart : public testing::Test {
protected:
    Restart() {
        server_.serve({{"origin", "server"}, {"CtiServer1", "cti.example"}});
        client_.startAndFetch();
    }

    void restart() {
        client_.stop();
        client_.start();
    }

    const CertificateAuthority authority_;
    const Server server_{authority_};
    Client client_{{.servers = {server_.address()}, .version = "12", .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(Restart, IsPreparedByACacheFileAndAListEntry) {
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>server</origin>"));
    EXPECT_EQ(client_.value(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(Restart, AnswersFromTheCacheBeforeAnyServerIsAsked) {
    restart();
    EXPECT_EQ(client_.value(L"origin"), L"server");
    EXPECT_EQ(client_.storeOf(L"origin"), CACHED_STORE);
    EXPECT_THAT(server_.stopAndTell(), ElementsAre("6972 /corvid-config.xml 200"));
}

TEST_F(Restart, GoesOnAnsweringFromTheCacheWhenTheServerIsDead) {
    server_.stop();
    restart();
    EXPECT_EQ(client_.fetch().cycles.back().end, CycleEnd::Exhausted);
    EXPECT_EQ(client_.value(L"origin"), L"server");
    EXPECT_EQ(client_.storeOf(L"origin"), CACHED_STORE);
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>server</origin>"));
}

TEST_F(Restart, PutsTheServersNewAnswerInThePlaceOfTheCache) {
    server_.serve({{"origin", "changed"}});
    restart();
    client_.fetch();
    EXPECT_EQ(client_.value(L"origin"), L"changed");
    EXPECT_EQ(client_.storeOf(L"origin"), LIVE_STORE);
    EXPECT_EQ(client_.value(L"CtiServer1"), L"");
    EXPECT_FALSE(client_.hasStore("cachedTFTPConfigStore.xml"));
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>changed</origin>"));
    EXPECT_THAT(client_.cacheFile(), Not(HasSubstr("cti.example")));
}

TEST_F(Restart, LosesTheCacheWithTheStore) {
    client_.host().featureSet()->removeConfigStore("TFTPConfigStore");
    restart();
    EXPECT_EQ(client_.value(L"origin"), L"");
    EXPECT_EQ(client_.cacheFile(), "");
}
