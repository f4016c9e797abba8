#include "reading/Similar.h"

#include <algorithm>

#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

constexpr std::size_t MOST_SLIPS = 2;
constexpr std::size_t CHARACTERS_FOR_A_SLIP = 3;
constexpr std::size_t LONGEST_WORD = 256;  // the work grows with the square of the length

std::wstring folded(std::string_view text) {
    std::wstring result = QuillCoreUtils::toWideString(text);
    for (wchar_t& character : result) {
        if (character >= L'A' && character <= L'Z') {
            character += L'a' - L'A';
        }
    }
    return result;
}

/// Damerau and Levenshtein's distance, in which no part is edited twice.
std::size_t distance(const std::wstring& one, const std::wstring& other) {
    using Row = std::vector<std::size_t>;
    Row beforeLast(other.size() + 1);
    Row last(other.size() + 1);
    Row current(other.size() + 1);
    for (std::size_t j = 0; j < last.size(); ++j) {
        last[j] = j;
    }
    for (std::size_t i = 1; i <= one.size(); ++i) {
        current[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const bool differs = one[i - 1] != other[j - 1];
            current[j] = std::min({last[j] + 1, current[j - 1] + 1, last[j - 1] + (differs ? 1 : 0)});
            if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
                current[j] = std::min(current[j], beforeLast[j - 2] + 1);
            }
        }
        beforeLast.swap(last);
        last.swap(current);
    }
    return last.back();
}

std::size_t slipsAllowed(const std::wstring& one, const std::wstring& other) {
    return std::min(MOST_SLIPS, std::max(one.size(), other.size()) / CHARACTERS_FOR_A_SLIP);
}

std::size_t difference(std::size_t one, std::size_t other) { return one > other ? one - other : other - one; }

}  // namespace

std::size_t slipsBetween(std::string_view one, std::string_view other) { return distance(folded(one), folded(other)); }

std::optional<std::string> closest(std::string_view word, const std::vector<std::string>& candidates) {
    const std::wstring meant = folded(word);
    if (meant.size() > LONGEST_WORD) {
        return std::nullopt;
    }
    std::optional<std::string> best;
    std::size_t fewest = MOST_SLIPS + 1;
    for (const std::string& candidate : candidates) {
        const std::wstring name = folded(candidate);
        if (difference(meant.size(), name.size()) > MOST_SLIPS) {
            continue;  // spares the work for long words
        }
        const std::size_t slips = distance(meant, name);
        if (slips < fewest && slips <= slipsAllowed(meant, name)) {
            fewest = slips;
            best = candidate;
        }
    }
    return best;
}

}  // namespace corvidctl
