#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace bench {

// How hand-written tables hash and compare keys in ASCII without regard to case.

/// The fastest: eight letters at a time, and texts are compared as they are written before case is thought of.
class EightLetters {
public:
    static std::uint64_t hashOf(std::wstring_view key) {
        std::uint64_t hash = key.size();
        if (key.size() < LETTERS) {
            return finish(mix(hash, foldedFew(key)));
        }
        const wchar_t* const last = key.data() + key.size() - LETTERS;
        for (const wchar_t* at = key.data(); at < last; at += LETTERS) {
            hash = mix(hash, folded(at));
        }
        return finish(mix(hash, folded(last)));  // some letters twice, which costs less than asking how many are left
    }

    static bool equal(std::wstring_view a, std::wstring_view b) {
        if (a.size() != b.size()) {
            return false;
        }
        if (std::memcmp(a.data(), b.data(), a.size() * sizeof(wchar_t)) == 0) {
            return true;
        }
        for (std::size_t at = 0; at < a.size(); ++at) {
            if (lower(static_cast<std::uint64_t>(a[at])) != lower(static_cast<std::uint64_t>(b[at]))) {
                return false;
            }
        }
        return true;
    }

private:
    static_assert(sizeof(wchar_t) == 4);
    static constexpr std::size_t LETTERS = 8;  ///< that fit into a word, in a byte each

    static std::uint64_t mix(std::uint64_t hash, std::uint64_t letters) {
        hash = (hash ^ letters) * 0x9E3779B97F4A7C15ULL;
        return hash ^ hash >> 32U;
    }

    static std::uint64_t finish(std::uint64_t hash) { return hash | 1U; }

    /// Letters in a byte each, in lower case.
    static std::uint64_t lower(std::uint64_t letters) {
        const std::uint64_t fromA = letters + 0x3F3F3F3F'3F3F3F3FU;
        const std::uint64_t behindZ = letters + 0x25252525'25252525U;
        return letters | (fromA & ~behindZ & 0x80808080'80808080U) >> 2U;
    }

    static std::uint64_t folded(const wchar_t* eight) {
        std::array<std::uint64_t, LETTERS / 2> pairs{};
        std::memcpy(pairs.data(), eight, sizeof(pairs));
        return lower(pairs[0] | pairs[1] << 8U | pairs[2] << 16U | pairs[3] << 24U);
    }

    static std::uint64_t foldedFew(std::wstring_view key) {
        std::uint64_t letters = 0;
        for (const wchar_t unit : key) {
            letters = letters << 8U | static_cast<std::uint64_t>(unit);
        }
        return lower(letters);
    }
};

/// What one writes first: a letter after the other.
class LetterByLetter {
public:
    static std::uint64_t hashOf(std::wstring_view key) {
        std::uint64_t hash = 0;
        for (const wchar_t unit : key) {
            hash = (hash ^ lower(unit)) * 0x9E3779B97F4A7C15ULL;
            hash ^= hash >> 32U;
        }
        return hash | 1U;
    }

    static bool equal(std::wstring_view a, std::wstring_view b) {
        if (a.size() != b.size()) {
            return false;
        }
        for (std::size_t at = 0; at < a.size(); ++at) {
            if (lower(a[at]) != lower(b[at])) {
                return false;
            }
        }
        return true;
    }

private:
    static std::uint32_t lower(wchar_t unit) {
        const auto code = static_cast<std::uint32_t>(unit);
        return code - 'A' < 26U ? code + 32U : code;
    }
};

}  // namespace bench
