// A refresh, a stop and an end of the host while a transfer or a version query is under way.

#include <functional>
#include <latch>
#include <thread>

#include "ConfigAdapter.h"
#include "Expectations.h"
#include "HoldingServer.h"
#include "InjectConfigService.h"
#include "LiveValue.h"
#include "Servers.h"
#include "fakes/ScriptedStore.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A client whose transfer is under way.
class DuringATransfer : public testing::Test {
protected:
    DuringATransfer() {
        next_.serve({{"origin", "next"}});
        client_->start();
        client_->host().featureSet()->startTftpConfigSource();
        server_.waitForRequests(1);
    }

    /// Lets the transfer end, and returns when it has.
    Cycle release() {
        server_.release();
        return client_->watch().waitUntilSettled().cycles.back();
    }

    void expectNothingJoined() const {
        EXPECT_EQ(client_->log().count(4, successLine(address_)), 1U);
        EXPECT_FALSE(client_->hasStore("TFTPConfigStore"));
        EXPECT_EQ(client_->value(L"origin"), L"");
        EXPECT_EQ(client_->cacheFile(), "");
    }

    void expectCancelledEverywhere(const Cycle& cycle) const {
        EXPECT_EQ(cycle.end, CycleEnd::Exhausted);
        EXPECT_THAT(cycle.attempts, ElementsAre(failed(address_, Cancelled), failed(next_.address(), Cancelled)));
        EXPECT_THAT(next_.stopAndTell(), IsEmpty());
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server next_{authority_};
    HoldingServer server_{address_, document({{"origin", "server"}})};
    std::unique_ptr<Client> client_ =
        std::make_unique<Client>(ClientOptions{.servers = {address_, next_.address()}, .version = "10"});
};

}  // namespace

TEST_F(DuringATransfer, ARefreshDropsWhatArrivesLater) {
    const std::weak_ptr<TftpConfigStore> store = client_->store();
    client_->host().featureSet()->refreshConfigFeatureSet();
    EXPECT_EQ(client_->store(), nullptr);
    EXPECT_FALSE(store.expired());
    EXPECT_THAT(release().attempts, ElementsAre(delivered(address_)));
    expectNothingJoined();
    client_->stop();
    EXPECT_TRUE(store.expired());
}

TEST_F(DuringATransfer, ARefreshAllowsAFetchAnew) {
    client_->host().featureSet()->refreshConfigFeatureSet();
    release();
    client_->fetch();
    EXPECT_EQ(client_->value(L"origin"), L"server");
    EXPECT_EQ(client_->storeOf(L"origin"), LIVE_STORE);
}

TEST_F(DuringATransfer, AnEndOfTheRemoteSourceDropsWhatArrivesLater) {
    const std::weak_ptr<TftpConfigStore> store = client_->store();
    client_->host().featureSet()->stopTftpConfigSource();
    EXPECT_EQ(client_->store(), nullptr);
    EXPECT_THAT(release().attempts, ElementsAre(delivered(address_)));
    expectNothingJoined();
    client_->stop();
    EXPECT_TRUE(store.expired());
}

TEST_F(DuringATransfer, AStopOfTheFeatureSetDropsWhatArrivesLater) {
    client_->host().adapter()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    EXPECT_THAT(release().attempts, ElementsAre(delivered(address_)));
    expectNothingJoined();
}

TEST_F(DuringATransfer, ADestroyedFeatureSetTakesNoStoreAnyMore) {
    client_->host().adapter()->Destroy();
    EXPECT_THAT(release().attempts, ElementsAre(delivered(address_)));
    EXPECT_EQ(client_->log().count(
                  2, "Config FeatureSet Not Started, failed to add ConfigStore with name: [TFTPConfigStore]"),
              1U);
    expectNothingJoined();
}

TEST_F(DuringATransfer, AStopOfTheHostCancelsIt) {
    const std::weak_ptr<TftpConfigStore> store = client_->store();
    client_->stop();
    const DownloadJournal::Snapshot snapshot = client_->journal()->snapshot();
    EXPECT_TRUE(snapshot.settled);
    expectCancelledEverywhere(snapshot.cycles.back());
    EXPECT_EQ(client_->log().count(3, failureLine(address_)), 1U);
    EXPECT_TRUE(store.expired());
    EXPECT_EQ(client_->cacheFile(), "");
}

TEST_F(DuringATransfer, TheEndOfTheHostCancelsIt) {
    const std::weak_ptr<TftpConfigStore> store = client_->store();
    const std::shared_ptr<DownloadJournal> journal = client_->journal();
    client_.reset();
    expectCancelledEverywhere(journal->snapshot().cycles.back());
    EXPECT_TRUE(store.expired());
}

TEST_F(DuringATransfer, APresenceStoreWaitsForItsEnd) {
    const LiveValue presence(*client_, L"presence");
    std::wstring originAfterwards;
    std::thread adding([&] {
        const auto store = std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 300);
        store->readOnly().with(L"presence", L"there");
        client_->host().featureSet()->addConfigStore(store);
        originAfterwards = client_->value(L"origin");
    });
    presence.waitFor(L"there");
    server_.release();
    adding.join();
    EXPECT_EQ(originAfterwards, L"server");
}

namespace {

/// A client that has been asking a server for its version, which holds its answer back.
class DuringAVersionQuery : public testing::Test {
protected:
    DuringAVersionQuery() {
        server_.serve({{"origin", "server"}});
        client_.start();
        fetching_ = std::thread([this] { client_.host().featureSet()->startTftpConfigSource(); });
        lister_.waitForRequests(1);
    }

    ~DuringAVersionQuery() override { fetching_.join(); }

    /// Has something done on another thread while the answer is held back, lets that come, and returns when all is
    /// over.
    void whileHeldBack(const std::function<void(ConfigFeatureSet&)>& action) {
        std::latch begun(1);
        std::thread acting([&] {
            const auto featureSet = client_.host().featureSet();
            begun.count_down();
            action(*featureSet);
        });
        begun.wait();
        EXPECT_THAT(client_.journal()->snapshot().cycles.back().attempts, IsEmpty());
        lister_.release();
        acting.join();
        client_.watch().waitUntilSettled();
    }

    void expectOffAndReadyForAnother() {
        EXPECT_EQ(client_.store(), nullptr);
        EXPECT_FALSE(client_.hasStore("TFTPConfigStore"));
        EXPECT_EQ(client_.fetch().cycles.back().end, CycleEnd::Delivered);
        EXPECT_EQ(client_.value(L"origin"), L"server");
        EXPECT_EQ(client_.storeOf(L"origin"), LIVE_STORE);
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const callcontrol::Credentials credentials_ = authority_.issue({.names = {address_}});
    const Server server_{authority_};
    HoldingServer lister_{"<v><version>12.0</version></v>",
                          {.address = address_,
                           .port = 8443,
                           .certificate = credentials_.certificate,
                           .privateKey = credentials_.privateKey}};
    Client client_{
        {.servers = {server_.address()}, .more = {{"HubcipServer1", address_}}, .trusted = authority_.certificate()}};
    std::thread fetching_;
};

}  // namespace

TEST_F(DuringAVersionQuery, ARefreshTakesPlaceWhenItHasEnded) {
    whileHeldBack([](ConfigFeatureSet& featureSet) { featureSet.refreshConfigFeatureSet(); });
    expectOffAndReadyForAnother();
}

TEST_F(DuringAVersionQuery, AnEndOfTheRemoteSourceTakesPlaceWhenItHasEnded) {
    whileHeldBack([](ConfigFeatureSet& featureSet) { featureSet.stopTftpConfigSource(); });
    expectOffAndReadyForAnother();
}

TEST(DuringATlsHandshake, AStopOfTheHostDoesNotWaitForTheServer) {
    const CertificateAuthority authority;
    const std::string address = CallControlServer::freeLoopbackAddress();
    const Server next(authority);
    ScriptedServer server([](ScriptedConnection&) {},
                          {.address = address, .port = 8443, .onConnect = [](ScriptedConnection& connection) {
                               connection.waitUntilClientLeaves();
                               connection.close();
                           }});
    Client client({.servers = {address, next.address()}, .trusted = authority.certificate()});
    client.start();
    std::thread fetching([featureSet = client.host().featureSet()] { featureSet->startTftpConfigSource(); });
    server.waitForConnections(1);
    client.stop();
    fetching.join();
    EXPECT_THAT(next.stopAndTell(), IsEmpty());
    EXPECT_EQ(client.log().count(3, NO_URL_LINE), 1U);
}
