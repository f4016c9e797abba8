// Server details that change, while a transfer runs and while none does.

#include "ConfigFeatureSet.h"
#include "Expectations.h"
#include "HoldingServer.h"
#include "Servers.h"
#include "quill/StringUtils.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using QuillCoreUtils::toWideString;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// All attempts of the client's life, in order.
std::vector<Attempt> attemptsOf(const Client& client) {
    std::vector<Attempt> attempts;
    for (const Cycle& cycle : client.watch().waitUntilSettled().cycles) {
        attempts.insert(attempts.end(), cycle.attempts.begin(), cycle.attempts.end());
    }
    return attempts;
}

class NewServerDetails : public testing::Test {
protected:
    NewServerDetails() { other_.serve({{"origin", "other"}}); }

    /// Returns when the server that holds has been asked for the file.
    void startFetching() {
        client_.start();
        client_.host().featureSet()->startTftpConfigSource();
        server_.waitForRequests(1);
    }

    /// The file of the server that can hold is there when this returns.
    void fetchOnce() {
        server_.release();
        client_.startAndFetch();
        ASSERT_EQ(client_.value(L"origin"), L"first");
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server other_{authority_};
    HoldingServer server_{address_, document({{"origin", "first"}})};
    Client client_{{.servers = {address_}, .version = "10"}};
};

}  // namespace

TEST_F(NewServerDetails, EndTheTransferThatRuns) {
    startFetching();
    client_.set(L"TFTPPrimaryServer", toWideString(other_.address()));
    EXPECT_THAT(attemptsOf(client_), ElementsAre(failed(address_, Cancelled), delivered(other_.address())));
    EXPECT_EQ(client_.log().count(4, "Allowing download. Reason: There has not already been a successful tftp file "
                                     "download."),
              1U);
    EXPECT_EQ(client_.log().count(3, failureLine(address_)), 1U);
    EXPECT_EQ(client_.value(L"origin"), L"other");
    EXPECT_EQ(client_.store()->lastSuccessfulServer(), toWideString(other_.address()));
    EXPECT_EQ(client_.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_TRUE(isReleased(*client_.store()));
}

TEST_F(NewServerDetails, ReplaceTheServersThatWereStillToBeTried) {
    const std::string dead = CallControlServer::freeLoopbackAddress();
    startFetching();
    client_.set(L"TFTPBackupServer1", toWideString(other_.address()));
    server_.waitForRequests(2);
    client_.set(L"TFTPPrimaryServer", toWideString(dead));
    EXPECT_THAT(attemptsOf(client_), ElementsAre(failed(address_, Cancelled), failed(address_, Cancelled),
                                                 failed(dead, ConnectionFailed), delivered(other_.address())));
    EXPECT_EQ(client_.value(L"origin"), L"other");
}

TEST_F(NewServerDetails, AreFetchedFromWhenNothingRuns) {
    fetchOnce();
    client_.set(L"TFTPPrimaryServer", toWideString(other_.address()));
    EXPECT_THAT(attemptsOf(client_), ElementsAre(delivered(address_), delivered(other_.address())));
    EXPECT_EQ(client_.value(L"origin"), L"other");
}

TEST_F(NewServerDetails, BehindTheSuccessfulServerChangeNothing) {
    fetchOnce();
    client_.set(L"TFTPBackupServer1", toWideString(other_.address()));
    EXPECT_THAT(attemptsOf(client_), ElementsAre(delivered(address_)));
    EXPECT_EQ(client_.log().count(4, "Disallowing download. Reason: This tftp server 1 (" + address_ +
                                         ") address has already been used for a successful download."),
              1U);
    EXPECT_EQ(client_.store()->lastServerDetails().server2, toWideString(other_.address()));
    EXPECT_THAT(other_.stopAndTell(), IsEmpty());
    EXPECT_TRUE(isReleased(*client_.store()));
}

TEST_F(NewServerDetails, ThatAreRefusedLeaveARunningTransferAlone) {
    fetchOnce();
    server_.hold();
    client_.store()->attemptDownloadFromCachedAddress();
    server_.waitForRequests(2);
    client_.set(L"TFTPBackupServer1", toWideString(other_.address()));
    server_.release();
    EXPECT_THAT(attemptsOf(client_), ElementsAre(delivered(address_), delivered(address_)));
    EXPECT_THAT(other_.stopAndTell(), IsEmpty());
}

TEST_F(NewServerDetails, OfTheFileAloneFetchFromTheSameServer) {
    fetchOnce();
    client_.set(L"configurationfile", L"second.xml");
    const std::vector<Attempt> attempts = attemptsOf(client_);
    ASSERT_THAT(attempts, ElementsAre(delivered(address_), delivered(address_)));
    EXPECT_EQ(attempts.back().url, "http://" + address_ + ":6970/second.xml");
    EXPECT_EQ(client_.log().count(4, "Allowing download. Reason: The server file (second.xml)  to download is "
                                     "different to last server (corvid-config.xml) file already downloaded."),
              1U);
}

TEST(FirstServerDetails, AreFetchedFromAsSoonAsTheyAreKnown) {
    const CertificateAuthority authority;
    const Server server(authority);
    server.serve({{"origin", "server"}});
    Client client({.version = "10"});
    client.startAndFetch();
    EXPECT_THAT(client.journal()->snapshot().cycles, IsEmpty());
    client.set(L"TFTPPrimaryServer", toWideString(server.address()));
    EXPECT_THAT(attemptsOf(client), ElementsAre(delivered(server.address())));
    EXPECT_EQ(client.value(L"origin"), L"server");
}
