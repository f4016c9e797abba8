#include "fetching/KeptCopy.h"

#include <filesystem>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager.h"
#include "reading/TransferNote.h"
#include "session/Session.h"
#include "stores/CacheConfigStore.h"

namespace corvidctl {

namespace {

ConfigMap valuesWithoutSecrets(ConfigStore& store, ConfigFeatureSet& featureSet) {
    ConfigMap values;
    for (const std::wstring& key : store.getKeys()) {
        std::wstring value;
        if (!featureSet.isKeySensitive(key) && store.getValue(key, value)) {
            values[key] = value;
        }
    }
    return values;
}

/// The path of a copy that does not say what the chain does; empty if there is none.
std::string copyThatIsNotKept(Session& session) {
    std::string path;
    session.work([&path](Session::Inside& inside) {
        for (const std::shared_ptr<ConfigStore>& store : inside.chain.getStores()) {
            if (!store->shouldCacheConfigStore()) {
                continue;
            }
            const std::string name = CacheFiles::nameFor(store->getName());
            CacheConfigStore copy(name, store->getPriority(), CacheFiles::path(name));
            if (valuesWithoutSecrets(copy, inside.featureSet) != valuesWithoutSecrets(*store, inside.featureSet)) {
                path = CacheFiles::path(name);
            }
        }
    });
    return path;
}

}  // namespace

ValueView storedVersion(Session& session) {
    ValueView version;
    session.work([&version](Session::Inside& inside) {
        version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
    });
    return version;
}

std::string noteDelivery(Session& session, const std::string& configDirectory,
                         const DownloadJournal::Snapshot& downloads, const FetchView& fetched) {
    if (!fetched.ok || downloads.cycles.empty()) {
        return {};
    }
    using namespace ConfigStoreConstants;
    const std::string copy =
        configDirectory + "/" + CACHE_STORE_DIRECTORY_STRING + "/" + CacheFiles::nameFor(TFTP_CONFIG_STORE_NAME);
    if (CacheFiles::areStrangers()) {
        return copy;
    }
    std::string lost = copyThatIsNotKept(session);
    if (lost.empty()) {
        leaveNote(copy, {fetched.url, fetched.server, fetched.version, downloads.cycles.back().ended});
    }
    return lost;
}

bool holdsFormerCopy(const std::string& configDirectory) {
    std::error_code error;
    return std::filesystem::exists(configDirectory + "/" + ConfigStoreConstants::LEGACY_TFTP_CACHE_FILE_NAME, error);
}

std::string nameOfFormerCopy() {
    return ConfigStoreConstants::LEGACY_TFTP_CACHE_FILE_NAME + ", a copy of a former version";
}

std::string sentenceOnLostCopy(const std::string& path) {
    return "the copy for the next start could not be written: " + path;
}

}  // namespace corvidctl
