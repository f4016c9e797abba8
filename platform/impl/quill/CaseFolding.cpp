#include "impl/quill/CaseFolding.h"

#include <utf8proc.h>

namespace QuillCoreUtils {
namespace {

constexpr char32_t capitalIWithDot = 0x130;

}  // namespace

char32_t foldBeyondAscii(char32_t codePoint) {
    // utf8proc knows full folding only. Where that is one code point, simple folding is the same. Where it is several,
    // simple folding is the plain lower-case letter, with the one exception of capital I with dot, which simple folding
    // leaves alone though its lower-case letter is "i".
    const auto letter = static_cast<utf8proc_int32_t>(codePoint);
    utf8proc_int32_t folded[4] = {};
    int boundClass = 0;
    const utf8proc_ssize_t count = utf8proc_decompose_char(letter, folded, 4, UTF8PROC_CASEFOLD, &boundClass);
    if (count == 1) {
        return static_cast<char32_t>(folded[0]);
    }
    return codePoint == capitalIWithDot ? codePoint : static_cast<char32_t>(utf8proc_tolower(letter));
}

}  // namespace QuillCoreUtils
