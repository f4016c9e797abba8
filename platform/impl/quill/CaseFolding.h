#pragma once

#include <array>
#include <cstddef>

namespace QuillCoreUtils {

/// Unicode simple case folding beyond ASCII: always one code point for one code point, and stable when applied twice.
char32_t foldBeyondAscii(char32_t codePoint);

inline constexpr std::array<unsigned char, 128> asciiFolding = [] {
    std::array<unsigned char, 128> table{};
    for (std::size_t c = 0; c < table.size(); ++c) {
        table[c] = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    }
    return table;
}();

/// Unicode simple case folding; keys are ASCII nearly always, so that is one look into a table.
inline char32_t fold(char32_t codePoint) {
    return codePoint < asciiFolding.size() ? asciiFolding[codePoint] : foldBeyondAscii(codePoint);
}

}  // namespace QuillCoreUtils
