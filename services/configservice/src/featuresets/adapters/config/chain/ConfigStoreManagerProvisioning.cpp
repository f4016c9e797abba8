#include "chain/ConfigStoreManager.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/StringUtils.h"
#include "stores/CacheConfigStore.h"

namespace {

constexpr std::size_t LINK_LENGTH_LIMIT = 1000;

/// What follows the first question mark; empty if there is nothing to parse.
std::wstring queryOf(const std::wstring& url) {
    if (url.size() >= LINK_LENGTH_LIMIT) {
        return {};
    }
    const std::size_t mark = url.find(L'?');
    return mark != std::wstring::npos ? url.substr(mark + 1) : std::wstring();
}

ConfigMap parseParameters(const std::wstring& query) {
    ConfigMap parameters;
    std::vector<std::wstring> parts;
    QuillCoreUtils::split(query, parts, L"&");
    for (const std::wstring& part : parts) {
        std::vector<std::wstring> pieces;
        QuillCoreUtils::split(part, pieces, L"=");
        if (pieces.size() != 2) {
            continue;
        }
        const std::wstring key = QuillCoreUtils::trim(pieces[0]);
        if (!key.empty()) {
            parameters[key] = QuillCoreUtils::trim(pieces[1]);
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
    const ConfigMap parameters = parseParameters(queryOf(url));
    if (parameters.empty()) {
        return false;
    }
    for (const auto& [key, value] : parameters) {
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
    addStore(std::make_shared<CacheConfigStore>(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME,
                                                CacheFiles::PROVISIONING_PRIORITY, CacheFiles::provisioningPath(),
                                                values));
    storeValue(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY, L"False");
    return true;
}

bool ConfigStoreManager::resetAllowUriProvisioningData() {
    return eraseKey(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY);
}
