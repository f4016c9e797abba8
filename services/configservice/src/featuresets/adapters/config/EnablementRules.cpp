#include "EnablementRules.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

bool onlyDefaultSpeaks(const std::wstring& storeName) {
    return QuillCoreUtils::caseInsensitiveStringEquals(ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME,
                                                       QuillCoreUtils::toString(storeName));
}

bool anyServerConfigured(const std::wstring& first, const std::wstring& second) {
    return !first.empty() || !second.empty();
}

bool meetingsServerSettingOk(const std::wstring& address, const std::wstring& type) {
    if (address.empty()) {
        return false;
    }
    if (QuillCoreUtils::caseInsensitiveStringCompare(L"Lumex", type) == 0) {
        return true;
    }
    return type.empty();
}
