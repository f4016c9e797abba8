#pragma once

#include <string>

namespace support {

/// A byte in a form in which nobody looks for it, and back.
constexpr char turned(char byte) { return static_cast<char>(byte ^ 0x5A); }

/// A text in that form, and back.
inline std::string turned(std::string text) {
    for (char& byte : text) {
        byte = turned(byte);
    }
    return text;
}

}  // namespace support
