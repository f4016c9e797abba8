#pragma once

#include <unistd.h>

#include <string>

namespace support {

/// Makes a link of somebody's who is neither this process's user nor root. @return false if this process may not: only
/// root can.
inline bool makeStrangersLink(const std::string& target, const std::string& path) {
    constexpr uid_t stranger = 65534;
    return ::symlink(target.c_str(), path.c_str()) == 0 && ::lchown(path.c_str(), stranger, stranger) == 0;
}

}  // namespace support
