#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "chain/KeyFilter.h"
#include "quill/StringUtils.h"

/// Two units of a key side by side, which is how keys are walked: they are ASCII nearly always, and two letters fold
/// and compare as fast as one.
namespace KeyUnits {

static_assert(sizeof(wchar_t) == 4);

inline constexpr std::uint64_t BEYOND_ASCII = 0xFFFFFF80'FFFFFF80U;

inline std::uint64_t pairOf(const wchar_t* units) {
    std::uint64_t pair = 0;
    std::memcpy(&pair, units, sizeof(pair));
    return pair;
}

/// The two units at that place; the second is 0 behind the end.
inline std::uint64_t pairAt(std::wstring_view text, std::size_t place) {
    return text.size() - place == 1 ? static_cast<std::uint32_t>(text[place]) : pairOf(text.data() + place);
}

/// ASCII letters in lower case. @param letters up to eight, in a byte each.
constexpr std::uint64_t fold(std::uint64_t letters) {
    // The eighth bit of each byte tells whether the letter is at or behind "A", and whether it is behind "Z".
    const std::uint64_t fromA = letters + 0x3F3F3F3F'3F3F3F3FU;
    const std::uint64_t behindZ = letters + 0x25252525'25252525U;
    return letters | ((fromA & ~behindZ & 0x80808080'80808080U) >> 2U);
}

/// Up to eight units in one word; where all are ASCII each has a byte of its own.
struct Word {
    std::uint64_t letters = 0;
    std::uint64_t beyondAscii = 0;  ///< not 0 if a unit is beyond ASCII

    static constexpr std::size_t UNITS = 8;

    /// @param text as many units as a word takes, or fewer.
    explicit Word(std::wstring_view text) {
        // A pair at a time: an array in between would go through memory.
        for (std::size_t place = 0; place < text.size(); place += 2) {
            add(pairAt(text, place), 4 * place);
        }
    }

    /// @param units eight of them.
    explicit Word(const wchar_t* units) {
        add(pairOf(units), 0);
        add(pairOf(units + 2), 8);
        add(pairOf(units + 4), 16);
        add(pairOf(units + 6), 24);
    }

private:
    void add(std::uint64_t pair, std::size_t shift) {
        letters ^= pair << shift;
        beyondAscii |= pair & BEYOND_ASCII;
    }
};

/// QuillCoreUtils::caseInsensitiveStringCompare with a short way for ASCII.
inline std::int32_t compare(std::wstring_view a, std::wstring_view b) {
    const std::size_t length = a.size() < b.size() ? a.size() : b.size();
    std::size_t place = 0;
    while (place + 2 <= length && pairAt(a, place) == pairAt(b, place)) {
        place += 2;
    }
    for (; place < length; ++place) {
        const auto fromA = static_cast<std::uint32_t>(a[place]);
        const auto fromB = static_cast<std::uint32_t>(b[place]);
        if (fromA == fromB) {
            continue;
        }
        if ((fromA | fromB) >= 0x80) {
            return QuillCoreUtils::caseInsensitiveStringCompare(a.substr(place), b.substr(place));
        }
        const std::uint64_t lowerA = fold(fromA);
        const std::uint64_t lowerB = fold(fromB);
        if (lowerA != lowerB) {
            return lowerA < lowerB ? -1 : 1;
        }
    }
    return static_cast<std::int32_t>(a.size() > length) - static_cast<std::int32_t>(b.size() > length);
}

/// QuillCoreUtils::caseInsensitiveStringEquals with a short way for ASCII.
inline bool equal(std::wstring_view a, std::wstring_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    if (a == b) {
        return true;  // most keys are asked for as they were written
    }
    for (std::size_t place = 0; place < a.size(); place += 2) {
        const std::uint64_t fromA = pairAt(a, place);
        const std::uint64_t fromB = pairAt(b, place);
        if (fromA == fromB) {
            continue;
        }
        if (((fromA | fromB) & BEYOND_ASCII) != 0) {
            return QuillCoreUtils::caseInsensitiveStringEquals(a.substr(place), b.substr(place));
        }
        if (fold(fromA) != fold(fromB)) {
            return false;
        }
    }
    return true;
}

}  // namespace KeyUnits

/// A key as lookups take it: folded and hashed once, however many stores are asked. Refers to the text, which must
/// outlive it.
class FoldedKey {
public:
    explicit FoldedKey(const std::wstring& text) : text_(text), mark_(hashOf(text)) {}
    explicit FoldedKey(std::wstring&&) = delete;

    /// As it was asked for.
    const std::wstring& text() const { return text_; }

    /// Equal for keys that differ only in case.
    std::uint64_t hash() const { return mark_.hash; }

    /// The same for filters.
    const KeyMark& mark() const { return mark_; }

    bool equals(std::wstring_view key) const { return KeyUnits::equal(text_, key); }

private:
    static std::uint64_t hashOf(std::wstring_view text) {
        std::uint64_t beyond = 0;
        const std::uint64_t hash = sumOf(text, [&](const KeyUnits::Word& word) {
            beyond |= word.beyondAscii;
            return KeyUnits::fold(word.letters);
        });
        return beyond == 0 ? finish(hash) : hashBeyondAscii(text);
    }

    /// The same sum over the folded text: a letter beyond ASCII may stand for one of ASCII.
    static std::uint64_t hashBeyondAscii(std::wstring_view text) {
        return finish(
            sumOf(QuillCoreUtils::toLowercase(text), [](const KeyUnits::Word& word) { return word.letters; }));
    }

    /// Word by word; the last one begins so far ahead that it is full, if the text is long enough.
    template <typename LettersOf>
    static std::uint64_t sumOf(std::wstring_view text, const LettersOf& lettersOf) {
        using KeyUnits::Word;
        std::uint64_t hash = text.size();
        if (text.size() < Word::UNITS) {
            return mix(hash, lettersOf(Word(text)));
        }
        const wchar_t* const last = text.data() + (text.size() - Word::UNITS);
        for (const wchar_t* units = text.data(); units < last; units += Word::UNITS) {
            hash = mix(hash, lettersOf(Word(units)));
        }
        return mix(hash, lettersOf(Word(last)));
    }

    static constexpr std::uint64_t mix(std::uint64_t hash, std::uint64_t word) {
        hash = (hash ^ word) * 0x9E3779B97F4A7C15U;
        return hash ^ (hash >> 32U);
    }

    /// Every bit of the sum has its say in the lowest bits too, which choose the places in tables.
    static constexpr std::uint64_t finish(std::uint64_t hash) {
        hash *= 0xD6E8FEB86659FD93U;
        return hash ^ (hash >> 32U);
    }

    const std::wstring& text_;
    const KeyMark mark_;
};
