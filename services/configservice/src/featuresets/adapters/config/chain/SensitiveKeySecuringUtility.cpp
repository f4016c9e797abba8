#include "chain/SensitiveKeySecuringUtility.h"

#include "quill/StringUtils.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/StringEncryptionFacility.h"

const std::wstring SensitiveKeySecuringUtility::EDI_PSW_KEY = L"ConnectionPassword";
const std::wstring SensitiveKeySecuringUtility::BDI_PSW_KEY = L"BDIConnectionPassword";
const std::array<std::wstring, 2> SensitiveKeySecuringUtility::WELL_KNOWN_SENSITIVE_KEYS = {EDI_PSW_KEY, BDI_PSW_KEY};

void SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(ConfigMap& map) {
    for (const std::wstring& key : WELL_KNOWN_SENSITIVE_KEYS) {
        const auto entry = map.find(key);
        if (entry != map.end()) {
            secureKey(*entry);
        }
    }
}

void SensitiveKeySecuringUtility::secureKey(ConfigMap::value_type& entry) {
    // Each clear text is wiped as soon as the next form of it exists.
    std::string clearText = QuillCoreUtils::toString(entry.second);
    tessel::SecureStringUtils::TesselZeroWstring(entry.second);
    const std::string enciphered = tessel::StringEncryptionFacility::encryptEncodeString(clearText);
    tessel::SecureStringUtils::TesselZeroString(clearText);
    entry.second = QuillCoreUtils::toWideString(enciphered);
}
