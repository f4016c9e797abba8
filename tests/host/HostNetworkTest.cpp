#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include "HostOn.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "http/HttpDownloader.h"
#include "http/HttpTransport.h"
#include "http/NetUtilsFactory.h"
#include "quill/ThreadUtils.h"
#include "system/World.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using host::ReferenceHost;

namespace {

constexpr long MUCH_TOO_LONG = 3600;  // seconds

void answerNever(fakes::ScriptedConnection& client) { client.waitUntilClientLeaves(); }

/// The end of one transfer or request.
class End {
public:
    HttpDownloader::HttpDownloader::Completion completion() {
        return [promise = promise_](std::string&, HttpDownloadResult result) { promise->set_value(result); };
    }

    /// Asks on a thread of the pool, as the store does.
    void ask(const std::string& url) {
        const auto request = std::make_shared<tessel::http::Request>(url);
        request->getOptions()->requestTimeout = MUCH_TOO_LONG * 1000;
        const auto askAndTell = [promise = promise_, request] {
            tessel::http::Response response;
            promise->set_value(tessel::netutils::NetUtilsFactory().createBasicHttpClient()->send(request, response));
        };
        QuillCoreUtils::ThreadUtils::runInThreadPool(askAndTell, "asks");
    }

    HttpDownloadResult wait() const { return future_.get(); }

    /// @return nothing if it has not come yet.
    std::optional<HttpDownloadResult> look() const {
        const bool come = future_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        return come ? std::optional(future_.get()) : std::nullopt;
    }

private:
    std::shared_ptr<std::promise<HttpDownloadResult>> promise_ = std::make_shared<std::promise<HttpDownloadResult>>();
    std::shared_future<HttpDownloadResult> future_ = promise_->get_future().share();
};

}  // namespace

TEST(HostNetwork, EndsATransferThatRunsAtTheStop) {
    const fakes::TemporaryDirectory directory;
    fakes::ScriptedServer server(answerNever);
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    End end;
    HttpDownloader::HttpDownloader downloader;
    downloader.DownloadToString(server.url("/file.xml"), {}, end.completion(), MUCH_TOO_LONG);
    server.waitForRequests(1);
    host.stop();
    EXPECT_EQ(end.look(), Cancelled);
}

TEST(HostNetwork, EndsARequestThatHangsAtTheStop) {
    const fakes::TemporaryDirectory directory;
    fakes::ScriptedServer server(answerNever);
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    End end;
    end.ask(server.url("/hubm-uds/version"));
    server.waitForRequests(1);
    host.stop();
    EXPECT_EQ(end.look(), Cancelled);
}

TEST(HostNetwork, EndsARequestThatHangsInACompletionAtTheStop) {
    const fakes::TemporaryDirectory directory;
    fakes::ScriptedServer hanging(answerNever);
    fakes::ScriptedServer server([](fakes::ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    std::optional<HttpDownloadResult> end;
    const auto ask = [&](std::string&, HttpDownloadResult) {
        const auto request = std::make_shared<tessel::http::Request>(hanging.url());
        request->getOptions()->requestTimeout = MUCH_TOO_LONG * 1000;
        tessel::http::Response response;
        end = tessel::netutils::NetUtilsFactory().createBasicHttpClient()->send(request, response);
    };
    HttpDownloader::HttpDownloader().DownloadToString(server.url(), {}, ask, MUCH_TOO_LONG);
    hanging.waitForRequests(1);
    host.stop();
    EXPECT_EQ(end, Cancelled);
}

TEST(HostNetwork, InterruptsRequestsButNoTransfers) {
    const fakes::TemporaryDirectory directory;
    fakes::ScriptedServer hanging(answerNever);
    fakes::ScriptedServer server([](fakes::ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    End request;
    request.ask(hanging.url());
    hanging.waitForRequests(1);
    host.interruptRequests();
    EXPECT_EQ(request.wait(), Cancelled);
    End transfer;
    HttpDownloader::HttpDownloader().DownloadToString(server.url(), {}, transfer.completion(), MUCH_TOO_LONG);
    EXPECT_EQ(transfer.wait(), Success);
}

TEST(HostNetwork, InterruptsNothingUnlessItRuns) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    host.interruptRequests();
    ASSERT_TRUE(host.start());
    host.stop();
    host.interruptRequests();
    EXPECT_EQ(host.factory(), nullptr);
}

TEST(HostNetwork, TrustsTheAuthoritiesThatTheHostNames) {
    const fakes::TemporaryDirectory directory;
    const callcontrol::CertificateAuthority authority;
    const callcontrol::Credentials credentials = authority.issue({{"127.0.0.1"}});
    fakes::ScriptedServer::Options tls;
    tls.certificate = credentials.certificate;
    tls.privateKey = credentials.privateKey;
    fakes::ScriptedServer server([](fakes::ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }, tls);
    ReferenceHost::Options options = hostOptionsOn(directory);
    options.caFile = directory.write("ca.pem", authority.certificate());
    ReferenceHost host(options);
    ASSERT_TRUE(host.start());
    End transfer;
    HttpDownloader::HttpDownloader().DownloadToString(server.url(), {}, transfer.completion(), MUCH_TOO_LONG);
    EXPECT_EQ(transfer.wait(), Success);
    End request;
    request.ask(server.url());
    EXPECT_EQ(request.wait(), Success);
}

TEST(HostNetwork, IsGoneAfterTheStop) {
    const fakes::TemporaryDirectory directory;
    ReferenceHost host(hostOptionsOn(directory));
    ASSERT_TRUE(host.start());
    const std::weak_ptr<platform::HttpTransport> transport = platform::getWorld()->httpTransport;
    EXPECT_FALSE(transport.expired());
    host.stop();
    EXPECT_TRUE(transport.expired());
}
