#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ConfigStoreConstants.h"
#include "InjectConfigService.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedThreadPool.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedFeatureSet.h"
#include "fakes/ScriptedHttpTransport.h"
#include "fakes/TftpConfigStoreTestAccess.h"
#include "remote/TftpConfigStore.h"
#include "unified/UnifiedFactory.h"

/// A document as the server holds it.
inline std::string serverFile(const std::map<std::string, std::string>& values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<config>\n<Client>\n";
    for (const auto& [key, value] : values) {
        text += "<" + key + ">" + value + "</" + key + ">\n";
    }
    return text + "</Client>\n</config>\n";
}

/// Records the keys of each report.
class RecordingTftpObserver final : public TftpConfigStoreObserver {
public:
    void onTftpConfigDownloaded(std::vector<std::wstring> keys) override {
        reports.push_back(std::move(keys));
        if (during) {
            during();
        }
    }

    std::vector<std::vector<std::wstring>> reports;
    std::function<void()> during;
};

/// Leaves a text in the place of a value that it does not have.
class CarelessFeatureSet : public fakes::ScriptedFeatureSet {
public:
    using fakes::ScriptedFeatureSet::getConfig;
    bool getConfig(const std::wstring&, std::wstring& value, std::wstring&, bool&, bool) override {
        value = L"left";
        return false;
    }
};

/// A remote store over a scripted chain and a scripted network. The test's thread is the dispatcher thread; transfers,
/// pool and dispatcher are stepped by hand.
class RemoteFixture : public ::testing::Test {
protected:
    using State = TftpConfigStore::QueryState;
    using Journal = DownloadJournal;

    RemoteFixture() {
        world.change([this](platform::World& changed) {
            changed.threadPool = pool;
            changed.httpTransport = transport;
        });
        featureSet->answerTo("isKeySensitive", false);
        factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, featureSet);
    }
    ~RemoteFixture() override { factory->clear(); }

    static TftpServerDetails three() { return {L"one", L"two", L"three", L"file.xml"}; }

    std::shared_ptr<TftpConfigStore> make(const TftpServerDetails& details = three()) const {
        return makeOver(factory, details);
    }

    static std::shared_ptr<TftpConfigStore> makeOver(const std::shared_ptr<UnifiedFactory>& factory,
                                                     const TftpServerDetails& details = three()) {
        return std::make_shared<TftpConfigStore>(factory, "TFTPConfigStore", 40, details.server1, details.server2,
                                                 details.server3, details.file);
    }

    /// A factory whose feature set finds nothing and leaves "left" there; to be cleared.
    std::shared_ptr<UnifiedFactory> makeCareless() const {
        auto careless = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
        careless->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, std::make_shared<CarelessFeatureSet>());
        return careless;
    }

    /// A store of a server whose version is known, observed by the fixture's observer.
    std::shared_ptr<TftpConfigStore> makeObserved(const TftpServerDetails& details = three()) {
        holdVersion(L"10.5");
        const auto store = make(details);
        store->addObserver(&observer);
        log->clear();
        return store;
    }

    void holdVersion(const std::wstring& version) const {
        featureSet->holdValue(ConfigStoreConstants::HOME_UDS_VERSION, version);
    }

    void hold(const TftpServerDetails& details) const {
        featureSet->holdValue(L"TFTPPrimaryServer", details.server1);
        featureSet->holdValue(L"TFTPBackupServer1", details.server2);
        featureSet->holdValue(L"TFTPBackupServer2", details.server3);
        featureSet->holdValue(L"configurationfile", details.file);
    }

    /// A report of the chain that a key has a new value.
    static void report(TftpConfigStore& store, const std::wstring& key,
                       const std::wstring& storeName = L"LocalFileConfigStore",
                       const std::wstring& originalStoreName = L"", bool silent = false) {
        store.onConfigAddedOrUpdated(key, L"value", L"original", false, true, storeName, originalStoreName, silent);
    }

    /// The chain holds these details from here on, and says so.
    void announce(TftpConfigStore& store, const TftpServerDetails& details) const {
        hold(details);
        report(store, L"TFTPPrimaryServer");
    }

    static bool isReady(const std::shared_ptr<TftpConfigStore>& store) {
        return TftpConfigStoreTestAccess::isReady(*store);
    }

    static std::wstring valueOf(const std::shared_ptr<TftpConfigStore>& store, const std::wstring& key) {
        std::wstring value;
        return store->getValue(key, value) ? value : L"<none>";
    }

    static Journal::Snapshot journalOf(const std::shared_ptr<TftpConfigStore>& store) {
        return store->journal()->snapshot();
    }

    /// The store's own lines at a level: "function: text".
    std::vector<std::string> lines(int level, const std::string& logger = "TftpConfigStore") const {
        std::vector<std::string> texts;
        for (const auto& line : log->lines()) {
            if (line.logger == logger && line.level == level) {
                texts.push_back(line.function + ": " + line.text);
            }
        }
        return texts;
    }

    fakes::ScopedWorld world;
    fakes::ScopedRecordingLog log;
    RecordingTftpObserver observer;
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool = std::make_shared<fakes::HandSteppedThreadPool>();
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    const std::shared_ptr<fakes::ScriptedFeatureSet> featureSet = std::make_shared<fakes::ScriptedFeatureSet>();
    const std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
};

inline constexpr auto SUCCESS = HttpDownloader::HttpDownloadResultEnum::Success;
inline constexpr auto TIMED_OUT = HttpDownloader::HttpDownloadResultEnum::TimedOut;
inline constexpr auto WAS_CANCELLED = HttpDownloader::HttpDownloadResultEnum::Cancelled;
