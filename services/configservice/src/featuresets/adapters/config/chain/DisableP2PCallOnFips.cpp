#include "chain/DisableP2PCallOnFips.h"

#include "ConfigValueImpl.h"
#include "chain/FoldedKey.h"
#include "tessel/FipsUtils.h"

const std::wstring& DisableP2PCallOnFips::offValue() {
    static const std::wstring value = L"false";
    return value;
}

bool DisableP2PCallOnFips::isRuledOutByLetters(std::wstring_view text) {
    return KeyUnits::equal(text, KEY) && tessel::common::FipsUtils::isFipsEnabled();
}

void DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(const std::shared_ptr<ConfigValueImpl>& object) {
    // The value is what is compared here, not the key.
    if (isRuledOut(object->currentValue())) {
        object->setValue(offValue());
    }
}
