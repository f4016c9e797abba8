#include "stores/FileStamp.h"

#include <sys/stat.h>

FileStamp FileStamp::of(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return {};
    }
    // The time of the last change of the inode: a program can set the time of modification back, but not this one.
    return {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}
