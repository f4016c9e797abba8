#include <gtest/gtest.h>

#include <random>
#include <string>

#include "ConfigStoreConstants.h"
#include "LinkOracle.h"
#include "quill/StringUtils.h"
#include "support/Seed.h"

namespace {

constexpr int LINKS = 5000;

/// Writes random links that come close to the rules from both sides.
class LinkWriter {
public:
    explicit LinkWriter(unsigned seed) : random_(seed) {}

    std::wstring link() {
        std::wstring text = isOneIn(8) ? L"" : L"x:?";
        for (int parts = upTo(6); parts > 0; --parts) {
            text += part();
            text += isOneIn(6) ? L"" : L"&";
        }
        return isOneIn(10) ? padded(text) : text;
    }

private:
    int upTo(int most) { return std::uniform_int_distribution<int>(0, most)(random_); }
    bool isOneIn(int number) { return upTo(number - 1) == 0; }

    std::wstring part() {
        std::wstring text = blanks() + (isOneIn(4) ? anyText() : knownKey()) + blanks();
        for (int signs = isOneIn(5) ? upTo(2) : 1; signs > 0; --signs) {
            text += L"=" + blanks() + anyText() + blanks();
        }
        return text;
    }

    std::wstring knownKey() {
        const auto& keys = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
        std::wstring key = keys[static_cast<std::size_t>(upTo(static_cast<int>(keys.size()) - 1))];
        for (wchar_t& character : key) {
            character = isOneIn(3) ? inOtherCase(character) : character;
        }
        return isOneIn(8) ? key + anyCharacter() : key;
    }

    wchar_t inOtherCase(wchar_t character) {
        if (isOneIn(4) && (character == L's' || character == L'S')) {
            return L'\u017F';
        }
        if (isOneIn(4) && (character == L'k' || character == L'K')) {
            return L'\u212A';
        }
        const bool isLetter = (character >= L'a' && character <= L'z') || (character >= L'A' && character <= L'Z');
        return isLetter ? static_cast<wchar_t>(character ^ 0x20) : character;
    }

    std::wstring anyText() {
        std::wstring text;
        for (int length = upTo(5); length > 0; --length) {
            text += anyCharacter();
        }
        return text;
    }

    wchar_t anyCharacter() {
        static const std::wstring telling = L"?&=% \t\v\u00A0\u0130\u0131\u00DF\u2028+;#";
        if (isOneIn(3)) {
            return telling[static_cast<std::size_t>(upTo(static_cast<int>(telling.size()) - 1))];
        }
        return static_cast<wchar_t>(isOneIn(2) ? L'a' + upTo(25) : 1 + upTo(0x10FFFE));
    }

    std::wstring blanks() { return isOneIn(5) ? std::wstring(1, L" \t\r\n\f\v"[upTo(5)]) : std::wstring(); }

    /// Of a length around the limit.
    std::wstring padded(const std::wstring& text) {
        const std::size_t length = 990 + static_cast<std::size_t>(upTo(20));
        return length > text.size() ? std::wstring(length - text.size(), L'x') + text : text;
    }

    std::mt19937 random_;
};

}  // namespace

TEST(ProvisioningLinks, AreReadAsByAPlainReadingOfTheRules) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    LinkWriter writer(seed);
    for (int number = 0; number < LINKS; ++number) {
        const std::wstring link = writer.link();
        ASSERT_EQ(link_oracle::disagreement(link), "") << QuillCoreUtils::toString(link);
    }
}
