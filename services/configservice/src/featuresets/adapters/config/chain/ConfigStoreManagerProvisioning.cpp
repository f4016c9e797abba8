#include "chain/ConfigStoreManager.h"

#include <algorithm>
#include <string_view>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "chain/WipedAtEnd.h"
#include "quill/StringUtils.h"
#include "stores/CacheConfigStore.h"
#include "tessel/SecureStringUtils.h"

namespace {

constexpr std::size_t LINK_LENGTH_LIMIT = 1000;

/// What follows the first question mark; empty if there is nothing to parse.
std::wstring_view queryOf(std::wstring_view url) {
    if (url.size() >= LINK_LENGTH_LIMIT) {
        return {};
    }
    const std::size_t mark = url.find(L'?');
    return mark != std::wstring_view::npos ? url.substr(mark + 1) : std::wstring_view();
}

ConfigMap parseParameters(std::wstring_view query) {
    ConfigMap parameters;
    std::vector<std::wstring> parts;
    const WipedAtEnd wipedParts(parts);
    QuillCoreUtils::split(query, parts, L"&");
    for (const std::wstring& part : parts) {
        std::vector<std::wstring> pieces;
        const WipedAtEnd wipedPieces(pieces);
        QuillCoreUtils::split(part, pieces, L"=");
        if (pieces.size() != 2) {
            continue;
        }
        const std::wstring key = QuillCoreUtils::trim(pieces[0]);
        if (!key.empty()) {
            std::wstring& value = parameters[key];
            tessel::SecureStringUtils::TesselZeroWstring(value);  // of an earlier parameter of that name
            value = QuillCoreUtils::trim(pieces[1]);
        }
    }
    return parameters;
}

bool isProvisioningKey(const std::wstring& key) {
    const auto& known = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
    return std::any_of(known.begin(), known.end(), [&](const std::wstring& name) {
        return QuillCoreUtils::caseInsensitiveStringEquals(key, name);
    });
}

}  // namespace

bool ConfigStoreManager::parseUrlProvisioningData(const std::wstring& url, ConfigMap& values) {
    ConfigMap parameters = parseParameters(queryOf(url));
    if (parameters.empty()) {
        return false;
    }
    for (auto& [key, value] : parameters) {
        const WipedAtEnd wiped(value);
        if (isProvisioningKey(key)) {
            values[key] = value;
        }
    }
    return !values.empty();
}

bool ConfigStoreManager::setUrlProvisioningData(const std::wstring& url) {
    ConfigMap values;
    if (!parseUrlProvisioningData(url, values)) {
        return false;
    }
    std::shared_ptr<ConfigStore> store;
    std::uint64_t number = 0;
    {
        const tessel::ScopedLock fileAndNumberInOneStep(linkFileMutex_);
        store = std::make_shared<CacheConfigStore>(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME,
                                                   CacheFiles::PROVISIONING_PRIORITY, CacheFiles::provisioningPath(),
                                                   values);
        number = ++lastLink_;
    }
    atomically([&] {
        // A later one is in the chain already, or about to come there; its values are those on the disk.
        if (number == lastLink_) {
            addStore(store);
        }
    });
    storeValue(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY, L"False");
    return true;
}

bool ConfigStoreManager::resetAllowUriProvisioningData() {
    return eraseKey(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY);
}
