#include "comparing/FileDelivery.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/ConfigStoreManager.h"
#include "demo/DetourStore.h"
#include "demo/TextFile.h"
#include "fetching/FetchReport.h"
#include "fetching/RemoteSource.h"
#include "http/HttpTransport.h"
#include "quill/StringUtils.h"
#include "system/World.h"
#include "uds/UdsVersionQuery.h"

namespace corvidctl {

namespace {

using HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

/// RFC 2606 keeps this name from ever being a real one.
constexpr const wchar_t* MADE_UP_SERVER = L"server.invalid";
constexpr const wchar_t* MADE_UP_VERSION = L"12.5";

/// Answers every transfer with one text, whatever the URL. Any thread.
class OneFileTransport : public platform::HttpTransport {
public:
    /// @param pool runs the completions.
    OneFileTransport(std::shared_ptr<platform::ThreadPool> pool, std::string text)
        : pool_(std::move(pool)), text_(std::move(text)) {}

    bool start(Transfer transfer) override {
        const auto complete = [completion = std::move(transfer.completion), text = text_]() mutable {
            completion(text, HttpDownloader::HttpDownloadResultEnum::Success);
        };
        return pool_->run(complete, "OneFileTransport::start");
    }

    /// A transfer has ended by itself as soon as it has begun.
    void cancel(std::uint64_t) override {}

    /// There is nobody to ask.
    HttpDownloadResult send(const tessel::http::Request&, tessel::http::Response&) override {
        return HttpDownloader::HttpDownloadResultEnum::ConnectionFailed;
    }

private:
    const std::shared_ptr<platform::ThreadPool> pool_;
    const std::string text_;
};

/// Lets every transfer of the host that runs end with this text.
void replaceNetwork(std::string text) {
    auto world = std::make_shared<platform::World>(*platform::getWorld());
    world->httpTransport = std::make_shared<OneFileTransport>(world->threadPool, std::move(text));
    platform::setWorld(std::move(world));
}

std::wstring read(ConfigFeatureSet& featureSet, const std::wstring& key) {
    std::wstring value;
    return featureSet.getConfig(key, value, false) ? value : std::wstring();
}

bool knowsServer(ConfigFeatureSet& featureSet) {
    using namespace ConfigStoreConstants;
    return !read(featureSet, TFTP_SERVER_1_KEY).empty() || !read(featureSet, TFTP_SERVER_2_KEY).empty() ||
           !read(featureSet, TFTP_SERVER_3_KEY).empty();
}

bool knowsVersion(ConfigFeatureSet& featureSet) {
    const std::string version = QuillCoreUtils::toString(read(featureSet, ConfigStoreConstants::HOME_UDS_VERSION));
    return UdsVersionQuery::isValidUdsVersion(version) && UdsVersionQuery::udsVersionStringToInt(version) != 0;
}

/// Makes up what a download needs and the chain does not know. @return whether a server was known.
bool prepareChain(Session& session) {
    bool serverWasKnown = false;
    session.work([&serverWasKnown](Session::Inside& inside) {
        ConfigMap madeUp;
        serverWasKnown = knowsServer(inside.featureSet);
        if (!serverWasKnown) {
            madeUp[ConfigStoreConstants::TFTP_SERVER_1_KEY] = MADE_UP_SERVER;
        }
        if (!knowsVersion(inside.featureSet)) {
            madeUp[ConfigStoreConstants::HOME_UDS_VERSION] = MADE_UP_VERSION;
        }
        inside.chain.addStore(std::make_shared<DetourStore>(std::move(madeUp)));
    });
    return serverWasKnown;
}

}  // namespace

DeliveryView deliver(Session& session, Rehearsal& rehearsal, const std::string& file) {
    DeliveryView view;
    view.serverWasKnown = prepareChain(session);
    replaceNetwork(readTextFile(file));
    RemoteSource remote(session, rehearsal.interruption());
    remote.start();
    if (!remote.waitUntilSettled(rehearsal.progress())) {
        throw Interrupted();
    }
    const FetchView fetched = summarise(remote.downloads(), {}, false);
    view.failure = fetched.ok ? std::string() : fetched.reason;
    remote.stop();
    session.work([](Session::Inside& inside) { inside.chain.removeStoreWithSameName(DetourStore::NAME); });
    return view;
}

}  // namespace corvidctl
