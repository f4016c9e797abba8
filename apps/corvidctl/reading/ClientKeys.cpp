#include "reading/ClientKeys.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

namespace corvidctl {

bool isKeptByClient(const std::string& key) {
    return QuillCoreUtils::caseInsensitiveStringEquals(
        key, QuillCoreUtils::toString(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY));
}

bool isRuledByFipsMode(const std::wstring& key) {
    return QuillCoreUtils::caseInsensitiveStringEquals(key, L"telephony_p2p_enabled");
}

}  // namespace corvidctl
