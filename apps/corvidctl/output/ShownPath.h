#pragma once

#include <string>

namespace corvidctl {

/// A path as people read it: from the working directory if it leads below that, else as it is.
/// @param path absolute, in UTF-8.
std::string shownPath(const std::string& path);

}  // namespace corvidctl
