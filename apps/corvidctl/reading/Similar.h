#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvidctl {

/// The fewest slips that turn one word into another: a character too many, missing, wrong, or two neighbours in the
/// wrong order. Upper and lower case of ASCII letters are the same, and no character takes part in two slips.
/// @param one, other UTF-8.
std::size_t slipsBetween(std::string_view one, std::string_view other);

/// The candidate that was probably meant by a word that is none of them: at most one slip away for each three
/// characters of the longer one, and never more than two. Of several that are as close, the first.
/// @param word, candidates UTF-8.
/// @return nothing if no candidate is close enough, or the word has more than 256 characters.
std::optional<std::string> closest(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace corvidctl
