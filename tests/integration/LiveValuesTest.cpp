// What clients that hold live objects hear of a server's file.

#include "Expectations.h"
#include "LiveValue.h"
#include "Servers.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class LiveValues : public testing::Test {
protected:
    LiveValues() { client_.start(); }

    void fetchAgain() const {
        client_.store()->attemptDownloadFromCachedAddress();
        client_.watch().waitUntilSettled();
    }

    const CertificateAuthority authority_;
    const Server server_{authority_};
    Client client_{{.servers = {server_.address()}, .version = "12", .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(LiveValues, AreToldOfTheFirstFileOnTheDispatcherThread) {
    server_.serve({{"origin", "one"}});
    const LiveValue live(client_, L"Origin");
    client_.fetch();
    EXPECT_THAT(live.told(), ElementsAre(LiveValue::Told{L"one", LIVE_STORE, true}));
}

TEST_F(LiveValues, AreToldOfAFileThatHasChanged) {
    server_.serve({{"changed", "one"}, {"gone", "one"}, {"same", "one"}});
    client_.fetch();
    const LiveValue changed(client_, L"changed");
    const LiveValue gone(client_, L"gone");
    const LiveValue same(client_, L"same");
    const LiveValue fresh(client_, L"fresh");
    server_.serve({{"changed", "two"}, {"same", "one"}, {"fresh", "two"}});
    fetchAgain();
    EXPECT_THAT(changed.told(), ElementsAre(LiveValue::Told{L"two", LIVE_STORE, true}));
    EXPECT_THAT(gone.told(), ElementsAre(LiveValue::Told{L"", LIVE_STORE, true}));  // the store's name follows
    EXPECT_THAT(fresh.told(), ElementsAre(LiveValue::Told{L"two", LIVE_STORE, true}));
    EXPECT_THAT(same.told(), IsEmpty());
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<changed>two</changed>"));
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<fresh>two</fresh>"));
    EXPECT_THAT(client_.cacheFile(), Not(HasSubstr("gone")));
}

TEST_F(LiveValues, StayWithTheUsersOwnText) {
    server_.serve({{"origin", "one"}});
    client_.set(L"origin", L"user");
    const LiveValue live(client_, L"origin");
    client_.fetch();
    EXPECT_THAT(live.told(), IsEmpty());
    EXPECT_EQ(client_.value(L"origin"), L"user");
}

TEST_F(LiveValues, HearNothingOfABadFileUntilAGoodOneComes) {
    server_.serve({{"origin", "one"}});
    client_.fetch();
    const LiveValue live(client_, L"origin");
    server_.serveText("no document");
    fetchAgain();
    EXPECT_EQ(client_.journal()->snapshot().cycles.back().end, CycleEnd::Unreadable);
    EXPECT_EQ(client_.value(L"origin"), L"");
    EXPECT_THAT(client_.cacheFile(), Not(HasSubstr("origin")));
    EXPECT_THAT(live.told(), IsEmpty());
    server_.serve({{"origin", "two"}});
    fetchAgain();
    EXPECT_THAT(live.told(), ElementsAre(LiveValue::Told{L"two", LIVE_STORE, true}));
    EXPECT_THAT(client_.cacheFile(), HasSubstr("<origin>two</origin>"));
}

TEST_F(LiveValues, AreToldWhatServicesTheServersFileEnables) {
    client_.directory().write("install/corvid-config-defaults.xml",
                              "<Corvid><userConfig name=\"Telephony_Enabled\" value=\"false\"/></Corvid>");
    client_.stop();
    client_.start();
    server_.serve({{"CtiServer1", "cti.example"}});
    const LiveValue live(client_, L"Telephony_Enabled");
    client_.fetch();
    EXPECT_THAT(live.values(), ElementsAre(L"true"));
    EXPECT_EQ(client_.log().count(4, "Setting telephonyEnabled flag: 1"), 1U);
}
