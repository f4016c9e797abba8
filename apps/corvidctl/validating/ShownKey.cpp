#include "validating/ShownKey.h"

#include <optional>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "validating/KnownKeys.h"

namespace corvidctl {

namespace {

/// Where what was meant as a secret value may begin.
std::optional<std::size_t> secretIn(const std::wstring& key) {
    constexpr const wchar_t* betweenWords = L"= \t<>\"'";
    for (std::size_t begin = 0; begin < key.size();) {
        const std::size_t end = key.find_first_of(betweenWords, begin);
        if (end == std::wstring::npos) {
            break;
        }
        if (KnownKeys::isAlwaysSensitive(key.substr(begin, end - begin))) {
            return end + 1;
        }
        begin = end + 1;
    }
    return std::nullopt;
}

}  // namespace

std::string shownKey(const std::wstring& key, bool reveal) {
    const std::optional<std::size_t> secret = reveal ? std::nullopt : secretIn(key);
    return QuillCoreUtils::toString(secret ? key.substr(0, *secret) + ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT
                                           : key);
}

bool holdsSecret(const std::wstring& key) { return secretIn(key).has_value(); }

}  // namespace corvidctl
