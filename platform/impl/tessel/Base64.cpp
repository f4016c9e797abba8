#include "impl/tessel/Base64.h"

#include <openssl/evp.h>

#include <cstdint>
#include <string_view>

namespace tessel {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::size_t paddingOf(const std::string& text) {
    if (text.ends_with("==")) {
        return 2;
    }
    return text.ends_with('=') ? 1 : 0;
}

}  // namespace

std::string encodeBase64(const std::string& bytes) {
    // The library writes a closing NUL: one byte more than the result, cut off again.
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), reinterpret_cast<const unsigned char*>(bytes.data()),
                    static_cast<int>(bytes.size()));
    text.pop_back();
    return text;
}

// The library's decoder forgives white space and stray bits; a form that must not be tampered with may not.
std::optional<std::string> decodeBase64(const std::string& text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (const char c : std::string_view(text).substr(0, text.size() - paddingOf(text))) {
        const std::size_t digit = alphabet.find(c);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        bits = (bits << 6U) | static_cast<std::uint32_t>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<char>(bits >> count));
            bits &= (1U << count) - 1U;
        }
    }
    return bits == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace tessel
