#include "tessel/SecureStringUtils.h"

#include <openssl/crypto.h>

namespace tessel {

void SecureStringUtils::TesselZeroString(std::string& text) { TesselZeroMemory(text.data(), text.size()); }

void SecureStringUtils::TesselZeroWstring(std::wstring& text) {
    TesselZeroMemory(text.data(), text.size() * sizeof(wchar_t));
}

void SecureStringUtils::TesselZeroMemory(void* memory, std::size_t length) {
    if (length != 0) {
        OPENSSL_cleanse(memory, length);
    }
}

}  // namespace tessel
