#include "impl/tessel/Sealing.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <memory>
#include <string_view>

#include "tessel/SecureStringUtils.h"

namespace tessel {
namespace {

constexpr std::size_t nonceLength = 12;
constexpr std::size_t tagLength = 16;
constexpr std::size_t longestText = std::size_t{1} << 29U;

class ProcessKey {
public:
    ProcessKey() : made_(RAND_priv_bytes(bytes_.data(), static_cast<int>(bytes_.size())) == 1) {}

    /// Null if the machine had no randomness to give.
    const unsigned char* bytes() const { return made_ ? bytes_.data() : nullptr; }

private:
    std::array<unsigned char, 32> bytes_{};
    bool made_;
};

/// Never destroyed: secrets may be asked for while a process ends.
const ProcessKey& processKey() {
    static const auto* const key = new ProcessKey;
    return *key;
}

using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)>;

CipherContext newContext() { return {EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free}; }

unsigned char* writable(std::string& text, std::size_t at) {
    return reinterpret_cast<unsigned char*>(text.data() + at);
}

const unsigned char* readable(const std::string& text, std::size_t at) {
    return reinterpret_cast<const unsigned char*>(text.data() + at);
}

}  // namespace

std::optional<std::string> seal(const std::string& clearText) {
    const CipherContext context = newContext();
    const unsigned char* const key = processKey().bytes();
    if (context == nullptr || key == nullptr || clearText.size() > longestText) {
        return std::nullopt;
    }
    const auto length = static_cast<int>(clearText.size());
    std::string sealed(nonceLength + clearText.size() + tagLength, '\0');
    int written = 0;
    const bool done =
        RAND_bytes(writable(sealed, 0), static_cast<int>(nonceLength)) == 1 &&
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key, readable(sealed, 0)) == 1 &&
        EVP_EncryptUpdate(context.get(), writable(sealed, nonceLength), &written, readable(clearText, 0), length) ==
            1 &&
        EVP_EncryptFinal_ex(context.get(), writable(sealed, nonceLength + clearText.size()), &written) == 1 &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_GET_TAG, static_cast<int>(tagLength),
                            writable(sealed, nonceLength + clearText.size())) == 1;
    return done ? std::optional(std::move(sealed)) : std::nullopt;
}

std::optional<std::string> unseal(const std::string& sealed) {
    const CipherContext context = newContext();
    const unsigned char* const key = processKey().bytes();
    if (context == nullptr || key == nullptr || sealed.size() < nonceLength + tagLength) {
        return std::nullopt;
    }
    const std::size_t length = sealed.size() - nonceLength - tagLength;
    if (length > longestText) {
        return std::nullopt;
    }
    std::array<unsigned char, tagLength> tag{};
    sealed.copy(reinterpret_cast<char*>(tag.data()), tagLength, nonceLength + length);
    std::string clearText(length, '\0');
    int written = 0;
    const bool genuine =
        EVP_DecryptInit_ex(context.get(), EVP_aes_256_gcm(), nullptr, key, readable(sealed, 0)) == 1 &&
        EVP_DecryptUpdate(context.get(), writable(clearText, 0), &written, readable(sealed, nonceLength),
                          static_cast<int>(length)) == 1 &&
        EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_AEAD_SET_TAG, static_cast<int>(tagLength), tag.data()) == 1 &&
        EVP_DecryptFinal_ex(context.get(), writable(clearText, length), &written) == 1;
    if (!genuine) {
        // What was deciphered before the tag was found wrong is nobody's to see.
        SecureStringUtils::TesselZeroString(clearText);
        return std::nullopt;
    }
    return clearText;
}

}  // namespace tessel
