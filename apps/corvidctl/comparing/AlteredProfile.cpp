#include "comparing/AlteredProfile.h"

#include <filesystem>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "comparing/Rehearsal.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

constexpr const char* BOOTSTRAP_FILE_NAME = "bootstrap.properties";

}  // namespace

AlteredProfile::AlteredProfile(const Invocation& invocation)
    : profile_(invocation.host.configDirectory), invocation_(Rehearsal::onCopy(invocation, profile_.path())) {}

void AlteredProfile::apply(const SimulationPlan::Replacement& replacement) {
    using namespace ConfigStoreConstants;
    const std::string cache = profile_.path() + "/" + CACHE_STORE_DIRECTORY_STRING + "/";
    switch (replacement.place) {
    case StorePlace::Override:
        return put(replacement, profile_.path() + "/" + TFTP_OVERRIDE_FILE_NAME);
    case StorePlace::LocalFile:
        return put(replacement, profile_.path() + "/" + LOCAL_FILE_CONFIG_STORE_FILE_NAME);
    case StorePlace::CachedCopy:
        return put(replacement, cache + replacement.store);
    case StorePlace::Provisioning:
        return put(replacement, cache + CacheFiles::nameFor(URL_PROVISIONING_CONFIG_STORE_NAME));
    case StorePlace::Bootstrap:
        invocation_.host.bootstrapFilePath = installation_.path() + "/" + BOOTSTRAP_FILE_NAME;
        return put(replacement, invocation_.host.bootstrapFilePath);
    case StorePlace::Defaults:
        invocation_.host.installationDirectory = installation_.path();
        return put(replacement, installation_.path() + "/" + DEFAULT_CONFIG_STORE_FILE_NAME);
    case StorePlace::Server:
        break;
    }
}

void AlteredProfile::put(const SimulationPlan::Replacement& replacement, const std::string& path) const {
    fs::remove(path);
    if (replacement.file) {
        fs::create_directories(fs::path(path).parent_path());
        fs::copy_file(*replacement.file, path);
        fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    }
}

}  // namespace corvidctl
