#include "tessel/SecureString.h"

#include "impl/tessel/Base64.h"
#include "impl/tessel/Sealing.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/TesselLogger.h"

namespace tessel {
namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("SecureString");
    return instance;
}

}  // namespace

SecureString::SecureString(const std::string& clearText) {
    std::optional<std::string> sealed = seal(clearText);
    valid_ = sealed.has_value();
    if (valid_) {
        sealed_ = std::move(*sealed);
    } else {
        TesselLog(logger(), 2, __FILE__, __LINE__, "SecureString", std::string("a secret could not be enciphered"));
    }
}

std::string SecureString::serializeToBase64() const {
    if (!valid_) {
        return {};
    }
    // A secret made without a text has nothing enciphered yet.
    const std::optional<std::string> sealed = sealed_.empty() ? seal(std::string()) : sealed_;
    return sealed ? encodeBase64(*sealed) : std::string();
}

SecureString SecureString::createFromBase64(const std::string& text) {
    SecureString secret;
    std::optional<std::string> sealed = decodeBase64(text);
    std::optional<std::string> clearText = sealed ? unseal(*sealed) : std::nullopt;
    secret.valid_ = clearText.has_value();
    if (secret.valid_) {
        SecureStringUtils::TesselZeroString(*clearText);
        secret.sealed_ = std::move(*sealed);
    }
    return secret;
}

std::optional<std::string> SecureString::reveal() const {
    if (!valid_) {
        return std::nullopt;
    }
    return sealed_.empty() ? std::string() : unseal(sealed_);
}

}  // namespace tessel
