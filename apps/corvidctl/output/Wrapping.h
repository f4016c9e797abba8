#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvidctl {

/// A text in lines that take no more than a number of columns on a terminal, parted at blanks: each line end takes the
/// place of one, and all others stay. A word that is longer stands on a line of its own.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

/// The same, each line behind blanks and with a line feed. @param columns of the whole line.
std::string indented(std::string_view text, std::size_t indent, std::size_t columns);

}  // namespace corvidctl
