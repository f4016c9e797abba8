#include "web/Token.h"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace corvidctl {

std::string makeToken() {
    std::array<unsigned char, 32> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("no random numbers are to be had for the link's token");
    }
    constexpr std::string_view DIGITS = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token += DIGITS[byte / 16U];
        token += DIGITS[byte % 16U];
    }
    return token;
}

bool isSameToken(std::string_view offered, std::string_view token) {
    return offered.size() == token.size() && CRYPTO_memcmp(offered.data(), token.data(), token.size()) == 0;
}

}  // namespace corvidctl
