#include "chain/DisableP2PCallOnFips.h"

#include <string_view>

#include "ConfigValueImpl.h"
#include "quill/StringUtils.h"
#include "tessel/FipsUtils.h"

namespace {

constexpr std::wstring_view TELEPHONY_P2P_ENABLED_CONFIG_KEY = L"telephony_p2p_enabled";

const std::wstring& offValue() {
    static const std::wstring value = L"false";
    return value;
}

bool isRuledOut(const std::wstring& text) {
    return QuillCoreUtils::caseInsensitiveStringEquals(text, TELEPHONY_P2P_ENABLED_CONFIG_KEY) &&
           tessel::common::FipsUtils::isFipsEnabled();
}

}  // namespace

void DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(const std::wstring& key, std::wstring& value) {
    if (isRuledOut(key)) {
        value = offValue();
    }
}

const std::wstring& DisableP2PCallOnFips::valueAsRead(const std::wstring& key, const std::wstring& value) {
    return isRuledOut(key) ? offValue() : value;
}

void DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(const std::shared_ptr<ConfigValueImpl>& object) {
    // The value is what is compared here, not the key.
    if (isRuledOut(object->currentValue())) {
        object->setValue(offValue());
    }
}
