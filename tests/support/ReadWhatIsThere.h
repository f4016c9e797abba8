#pragma once

#include <unistd.h>

#include <cstddef>
#include <string>

namespace support {

/// What a descriptor that was opened with O_NONBLOCK gives at once.
inline std::string readWhatIsThere(int descriptor) {
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = read(descriptor, buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(size));
    }
    return text;
}

}  // namespace support
