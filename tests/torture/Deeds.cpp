#include "Deeds.h"

#include <map>
#include <memory>
#include <utility>

#include "InjectConfigService.h"
#include "fakes/ScriptedStore.h"
#include "remote/TftpConfigStore.h"

namespace torture {

namespace {

constexpr int CONNECTED = 1;

const std::vector<std::string> STORES = {"Alpha", "Beta", "Gamma", "Delta"};

/// This thread tells that the profile has changed, and is at nothing else from inside a notification. Never true of the
/// dispatcher thread: it may do a part of what another thread waits for meanwhile.
thread_local bool isChangingProfile = false;

class Within {
public:
    explicit Within(bool isProfile) : former_(std::exchange(isChangingProfile, isProfile)) {}
    ~Within() { isChangingProfile = former_; }

    Within(const Within&) = delete;
    Within& operator=(const Within&) = delete;

private:
    const bool former_;
};

}  // namespace

void ProfileRemovals::onConfigAddedOrUpdated(std::wstring /*key*/, std::wstring /*value*/,
                                             std::wstring /*originalValue*/, bool /*isOverridden*/, bool /*isDefined*/,
                                             std::wstring /*valueStoreName*/, std::wstring /*originalValueStoreName*/,
                                             bool silent) {
    if (silent && std::exchange(isChangingProfile, false)) {
        ++count_;
    }
}

const std::vector<std::wstring>& Deeds::keys() {
    static const std::vector<std::wstring> keys = {L"Theme", L"Language", L"Served", L"contactsearchtoken",
                                                   L"telephony_p2p_enabled",
                                                   // One setting under its present name and its former one.
                                                   L"VoicemailPrimaryServer", L"VVM_Mailstore_Server_0"};
    return keys;
}

const Deeds::Shares& Deeds::shares() {
    static const Shares shares = {{
        {30, &Deeds::readValue, "readValue"},
        {4, &Deeds::readStores, "readStores"},
        {16, &Deeds::writeUserValue, "writeUserValue"},
        {3, &Deeds::writeUserValues, "writeUserValues"},
        {6, &Deeds::writeInMemory, "writeInMemory"},
        {4, &Deeds::resetValue, "resetValue"},
        {2, &Deeds::markSensitive, "markSensitive"},
        {8, &Deeds::addStore, "addStore"},
        {5, &Deeds::removeStore, "removeStore"},
        {1, &Deeds::removeCachedStores, "removeCachedStores"},
        {3, &Deeds::startOrStop, "startOrStop"},
        {3, &Deeds::startOrStopDownloads, "startOrStopDownloads"},
        {4, &Deeds::changeServer, "changeServer"},
        {3, &Deeds::forceDownload, "forceDownload"},
        {2, &Deeds::refresh, "refresh"},
        {2, &Deeds::provision, "provision"},
        {2, &Deeds::changeTelephony, "changeTelephony"},
        {6, &Deeds::changeProfile, "changeProfile"},
        {1, &Deeds::resetData, "resetData"},
        {1, &Deeds::powerDown, "powerDown"},
    }};
    return shares;
}

void Deeds::doOne() {
    std::uint64_t all = 0;
    for (const Share& share : shares()) {
        all += share.of;
    }
    std::uint64_t choice = below(all);
    for (const Share& share : shares()) {
        if (choice < share.of) {
            share.done.fetch_add(1, std::memory_order_relaxed);
            const Within deed(false);
            (this->*share.deed)();
            return;
        }
        choice -= share.of;
    }
}

std::uint64_t Deeds::done(const std::string& name) {
    for (const Share& share : shares()) {
        if (share.name == name) {
            return share.done;
        }
    }
    return 0;
}

const std::wstring& Deeds::key() { return keys()[below(keys().size())]; }

void Deeds::readValue() {
    std::wstring text;
    std::wstring storeName;
    bool usedOtherName = false;
    module_.featureSet().getConfig(key(), text, storeName, usedOtherName, below(2) == 0);
    module_.featureSet().isKeySensitive(key());
}

void Deeds::readStores() {
    for (const auto& store : module_.adapter().getConfigStoreManager()->getStores()) {
        store->getKeys();
    }
    module_.adapter().IsFeatureSetStarted(CONFIG_SERVICE_ID);
    module_.adapter().getDownloadJournal()->snapshot();
}

void Deeds::writeUserValue() { module_.featureSet().setConfig(key(), value()); }

void Deeds::writeUserValues() {
    module_.featureSet().setConfig(std::map<std::wstring, std::wstring>{{key(), value()}, {key(), value()}});
}

void Deeds::writeInMemory() { module_.featureSet().setInMemoryConfig(key(), value()); }

void Deeds::resetValue() { module_.featureSet().resetConfig(key()); }

void Deeds::markSensitive() { module_.featureSet().setKeySensitive(key()); }

void Deeds::addStore() {
    const auto store =
        std::make_shared<fakes::ScriptedStore>(STORES[below(STORES.size())], static_cast<std::int32_t>(below(700)));
    store->with(key(), value()).with(key(), value());
    if (below(2) == 0) {
        store->readOnly().remote();
    }
    if (below(3) == 0) {
        store->cached();
    }
    module_.featureSet().addConfigStore(store);
}

void Deeds::removeStore() { module_.featureSet().removeConfigStore(STORES[below(STORES.size())]); }

void Deeds::removeCachedStores() { module_.featureSet().removeAllCachedConfigStores(); }

void Deeds::startOrStop() { below(4) == 0 ? module_.stop() : module_.start(); }

void Deeds::startOrStopDownloads() {
    below(3) == 0 ? module_.featureSet().stopTftpConfigSource() : module_.featureSet().startTftpConfigSource();
}

void Deeds::changeServer() {
    const std::wstring server = L"server" + value() + L".example";
    module_.featureSet().setConfig(below(2) == 0 ? L"TFTPPrimaryServer" : L"TFTPBackupServer1", server);
}

void Deeds::forceDownload() {
    if (const auto store = module_.adapter().getTftpConfigStore()) {
        store->attemptDownloadFromCachedAddress();
    }
}

void Deeds::refresh() { module_.featureSet().refreshConfigFeatureSet(); }

void Deeds::provision() {
    module_.featureSet().resetAllowUriProvisioningData();
    module_.featureSet().setUrlProvisioningData(L"corvid://provision?ServicesDomain=" + value() + L".example");
}

void Deeds::changeTelephony() {
    switch (below(4)) {
    case 0:
        module_.system().addServerHealthInformation(module_.telephony());
        break;
    case 1:
        module_.system().removeServerHealthInformation(module_.telephony());
        break;
    default:
        module_.telephony()->setConnectionStatus(below(2) == 0 ? CONNECTED : 0);
        break;
    }
}

void Deeds::changeProfile() {
    module_.featureSet().setConfig(L"LastLoadedUserProfile", value());
    const Within notification(!module_.isOnDispatcher());
    module_.system().userProfileChanged();
}

void Deeds::resetData() { module_.resetData(); }

void Deeds::powerDown() { module_.powerDown(); }

}  // namespace torture
