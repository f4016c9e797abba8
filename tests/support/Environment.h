#pragma once

#include <map>
#include <string>
#include <vector>

namespace support {

/// The environment of this process with some changes, as a new program takes it. @param changes an empty text removes
/// the variable.
std::vector<std::string> changedEnvironment(const std::map<std::string, std::string>& changes);

/// The texts as a new program takes them, with a null pointer at the end. Valid as long as the texts are.
std::vector<char*> pointersTo(std::vector<std::string>& texts);

}  // namespace support
