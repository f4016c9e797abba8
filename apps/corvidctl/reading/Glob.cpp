#include "reading/Glob.h"

#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

bool sameCharacter(wchar_t a, wchar_t b) {
    return QuillCoreUtils::caseInsensitiveStringEquals(std::wstring(1, a), std::wstring(1, b));
}

}  // namespace

bool globMatches(const std::wstring& pattern, const std::wstring& text) {
    // Only the last star ever needs to be tried again, so the time is bounded by the product of the lengths.
    std::size_t inPattern = 0;
    std::size_t inText = 0;
    std::size_t star = std::wstring::npos;
    std::size_t resume = 0;
    while (inText < text.size()) {
        if (inPattern < pattern.size() && pattern[inPattern] == L'*') {
            star = inPattern++;
            resume = inText;
        } else if (inPattern < pattern.size() &&
                   (pattern[inPattern] == L'?' || sameCharacter(pattern[inPattern], text[inText]))) {
            ++inPattern;
            ++inText;
        } else if (star != std::wstring::npos) {
            inPattern = star + 1;
            inText = ++resume;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', inPattern) == std::wstring::npos;
}

bool isPlainName(const std::wstring& pattern) { return pattern.find_first_of(L"*?") == std::wstring::npos; }

}  // namespace corvidctl
