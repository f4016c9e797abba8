#pragma once

#include <cstddef>
#include <string>

namespace tessel {

/// Overwrites secrets in place, in a way that the compiler cannot drop. The length stays; every byte becomes zero.
class SecureStringUtils {
public:
    /// The whole text, of UTF-8 or of any other bytes.
    static void TesselZeroString(std::string& text);

    /// The same for wide text.
    static void TesselZeroWstring(std::wstring& text);

    /// @param memory may be null if length is 0. @param length in bytes.
    static void TesselZeroMemory(void* memory, std::size_t length);
};

}  // namespace tessel
