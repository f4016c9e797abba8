#pragma once

#include <functional>

namespace support {

/// Runs an action whenever this process is about to lock a file; what it gives is the error of the lock, or 0 if the
/// file is to be locked. A file system without locks gives ENOLCK, a lock that somebody else has EWOULDBLOCK.
///
/// Stands in for the C library's flock().
class AtLocks {
public:
    explicit AtLocks(std::function<int()> action);
    ~AtLocks();

    AtLocks(const AtLocks&) = delete;
    AtLocks& operator=(const AtLocks&) = delete;
};

}  // namespace support
