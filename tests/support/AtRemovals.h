#pragma once

#include <functional>

namespace support {

/// Does something before each removal of a file by this process, on the thread that removes it: what another program
/// does at that moment.
///
/// Stands in for the C library's unlink().
class AtRemovals {
public:
    explicit AtRemovals(std::function<void()> action);
    ~AtRemovals();

    AtRemovals(const AtRemovals&) = delete;
    AtRemovals& operator=(const AtRemovals&) = delete;
};

}  // namespace support
