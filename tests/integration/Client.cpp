#include "Client.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "chain/ConfigStoreManager.h"
#include "tessel/LogSink.h"

namespace integration {

namespace {

constexpr std::array<const char*, 3> SERVER_KEYS = {"TFTPPrimaryServer", "TFTPBackupServer1", "TFTPBackupServer2"};

}  // namespace

Client::Client(ClientOptions options) : options_(std::move(options)) {
    writeBootstrapFile();
    if (!options_.trusted.empty()) {
        directory_.write("install/trusted.pem", options_.trusted);
    }
}

Client::~Client() { stop(); }

void Client::writeBootstrapFile() const {
    std::string text;
    for (std::size_t number = 0; number < options_.servers.size(); ++number) {
        text += std::string(SERVER_KEYS.at(number)) + ": " + options_.servers[number] + "\n";
    }
    if (!options_.version.empty()) {
        text += "HomeUdsVersion: " + options_.version + "\n";
    }
    for (const auto& [key, value] : options_.more) {
        text += key + ": " + value + "\n";
    }
    directory_.write("install/bootstrap.properties", text);
}

host::ReferenceHost::Options Client::hostOptions() const {
    host::ReferenceHost::Options options;
    options.configDirectory = directory_.path("config");
    options.installationDirectory = directory_.path("install");
    options.bootstrapFilePath = directory_.path("install/bootstrap.properties");
    options.fips = host::ReferenceHost::Options::Fips::Off;
    options.caFile = options_.trusted.empty() ? "" : directory_.path("install/trusted.pem");
    options.logFile = directory_.path("start.log");
    options.powerEvents = false;
    options.modulePath = options_.modulePath;
    return options;
}

void Client::start() {
    host_ = std::make_unique<host::ReferenceHost>(hostOptions());
    if (!host_->start()) {
        throw std::runtime_error(host_->failure());
    }
    tessel::LogControl::setLevel(5);
    tessel::LogControl::setSink(log_);
    if (host_->adapter() != nullptr) {
        journal_ = host_->adapter()->getDownloadJournal();
        watch_ = std::make_unique<DownloadWatch>(journal_);
    }
}

void Client::stop() {
    if (host_ != nullptr) {
        host_->stop();
    }
}

void Client::startAndFetch() {
    start();
    fetch();
}

DownloadJournal::Snapshot Client::fetch() {
    host_->featureSet()->startTftpConfigSource();
    return watch_->waitUntilSettled();
}

std::shared_ptr<TftpConfigStore> Client::store() const { return host_->adapter()->getTftpConfigStore(); }

std::wstring Client::value(const std::wstring& key) const {
    std::wstring value;
    return host_->featureSet()->getConfig(key, value, false) ? value : std::wstring();
}

std::wstring Client::storeOf(const std::wstring& key) const {
    std::wstring value;
    std::wstring storeName;
    bool usedOtherKeyName = false;
    host_->featureSet()->getConfig(key, value, storeName, usedOtherKeyName, false);
    return storeName;
}

bool Client::hasStore(const std::string& name) const {
    return host_->adapter()->getConfigStoreManager()->containsStore(name);
}

void Client::set(const std::wstring& key, const std::wstring& value) const {
    host_->runOnDispatcher([&] { host_->service()->setConfig(key, value); });
}

std::string Client::cacheFile() const { return directory_.read("config/Cache/cachedTFTPConfigStore.xml"); }

}  // namespace integration
