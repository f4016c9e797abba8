#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace support {

/// The lines of a text, without their line feeds. One at the very end begins no further line.
inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace support
