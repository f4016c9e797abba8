#include "tessel/StringEncryptionFacility.h"

namespace tessel {

std::string StringEncryptionFacility::encryptEncodeString(const std::string& clearText) {
    return SecureString(clearText).serializeToBase64();
}

SecureString StringEncryptionFacility::decodeEncryptedString(const std::string& text) {
    return SecureString::createFromBase64(text);
}

}  // namespace tessel
