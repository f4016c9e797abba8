#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace support {

/// Makes a folder in a folder and so on, all of one name, with a file in the last: one whose path may be too long for
/// the system to take in one piece.
/// @param top exists. @return the path of the file, from the top on.
inline std::string makeDeepFile(const std::string& top, int levels, const std::string& folder,
                                const std::string& file) {
    std::string path;
    int here = open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    for (int level = 0; level < levels; ++level) {
        EXPECT_EQ(mkdirat(here, folder.c_str(), 0700), 0);
        const int below = openat(here, folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        close(here);
        here = below;
        path += folder + "/";
    }
    const int made = openat(here, file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    EXPECT_GE(made, 0);
    close(made);
    close(here);
    return path + file;
}

}  // namespace support
