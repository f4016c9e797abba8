#pragma once

#include <string>

namespace corvidctl {

/// The contents of a file. @throws std::runtime_error with one line if it cannot be read.
std::string readTextFile(const std::string& path);

/// Writes a file in place of one that is there. @throws std::runtime_error with one line if that fails.
void writeTextFile(const std::string& path, const std::string& text);

}  // namespace corvidctl
