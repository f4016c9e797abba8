#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// The memory of another process, which must be at rest meanwhile.
class ProcessMemory {
public:
    explicit ProcessMemory(pid_t process) : process_(process) {}

    /// False if this system does not let it be looked at.
    bool isOpen() const;

    /// Where a text stands, as bytes or as wide characters: "NAME OF THE PART+OFFSET narrow" or "... wide".
    std::vector<std::string> placesOf(const std::string& text) const;

private:
    const pid_t process_;
};
