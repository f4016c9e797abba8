#pragma once

#include <string>

/// Which of the user's files a data reset spares. Any thread.
class DataReset {
public:
    /// True for the files of the installation, in any case: the cache of provisioning links, the device's data, the
    /// administrator's override and the installation's identifier.
    /// @param fileName without its folder.
    static bool keeps(const std::string& fileName);
};
