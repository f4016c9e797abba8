#pragma once

#include <string>

/// Where the server's configuration file is to be had.
struct TftpServerDetails {
    std::wstring server1;
    std::wstring server2;
    std::wstring server3;
    std::wstring file;

    bool operator==(const TftpServerDetails&) const = default;
};
