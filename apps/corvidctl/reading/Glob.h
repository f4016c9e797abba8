#pragma once

#include <string>
#include <vector>

namespace corvidctl {

/// True if the whole text fits the pattern, without regard to case: "*" stands for any text, the empty one included,
/// "?" for one character.
bool globMatches(const std::wstring& pattern, const std::wstring& text);

/// True if the pattern is a plain name.
bool isPlainName(const std::wstring& pattern);

}  // namespace corvidctl
