#include "DownloadingHost.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "tessel/Event.h"

namespace torture {

DownloadingHost::DownloadingHost(const Options& options) : host_(hostOptions(options)) {
    if (!options.filesAtHand.empty()) {
        std::filesystem::copy(options.filesAtHand + "/config", home_.path("config"),
                              std::filesystem::copy_options::recursive);
    }
    if (!host_.start()) {
        throw std::runtime_error(host_.failure());
    }
}

DownloadingHost::~DownloadingHost() { stop(); }

host::ReferenceHost::Options DownloadingHost::hostOptions(const Options& options) const {
    host::ReferenceHost::Options ofHost;
    ofHost.configDirectory = home_.path("config");
    ofHost.installationDirectory = home_.path("install");
    std::string bootstrap = "TFTPPrimaryServer: " + options.server + "\n";
    if (!options.version.empty()) {
        bootstrap.append("HomeUdsVersion: ").append(options.version).append("\n");
    }
    ofHost.bootstrapFilePath = home_.write("install/bootstrap.properties", bootstrap);
    ofHost.fips = host::ReferenceHost::Options::Fips::Off;
    ofHost.caFile = options.caFile;
    ofHost.logFile = home_.path("host.log");
    ofHost.powerEvents = false;
    return ofHost;
}

void DownloadingHost::beginFetching() {
    fetching_ = std::thread([featureSet = host_.featureSet()] { featureSet->startTftpConfigSource(); });
}

void DownloadingHost::waitUntilFetching() {
    if (fetching_.joinable()) {
        fetching_.join();
    }
}

void DownloadingHost::waitUntilSettled() const {
    const std::shared_ptr<DownloadJournal> journal = host_.adapter()->getDownloadJournal();
    // A call of the listener's may still be under way when it has been taken away.
    const auto changed = std::make_shared<tessel::Event>(false);
    journal->setListener([changed] { changed->set(); });
    for (changed->reset(); !journal->snapshot().settled; changed->reset()) {
        constexpr unsigned long anHour = 3600 * 1000;
        changed->timedWait(anHour);
    }
    journal->setListener({});
}

void DownloadingHost::changeServer(const std::wstring& name) {
    host_.runOnDispatcher([&] { host_.service()->setConfig(L"TFTPPrimaryServer", name); });
}

void DownloadingHost::endSource() {
    host_.interruptRequests();
    host_.featureSet()->stopTftpConfigSource();
    waitUntilFetching();
}

void DownloadingHost::stop() {
    host_.stop();
    waitUntilFetching();
}

}  // namespace torture
