#include "stores/FileStamp.h"

#include <sys/stat.h>

#include <chrono>

namespace {

// The time of the last change of the inode: a program can set the time of modification back, but not this one.
FileStamp stampOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}

/// How long ago it was; negative for what is still to come.
std::chrono::nanoseconds ageOf(const timespec& time) {
    const auto sinceEpoch = std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    return std::chrono::system_clock::now().time_since_epoch() - sinceEpoch;
}

// The times of files go by a clock that ticks every 10 ms, or more often. Some file systems keep no more than seconds,
// or every other one.
constexpr std::chrono::milliseconds twoTicks(20);
constexpr std::chrono::seconds longestTick(2);

bool isOld(const timespec& time) {
    return ageOf(time) >= (time.tv_nsec == 0 ? std::chrono::nanoseconds(longestTick) : twoTicks);
}

}  // namespace

FileStamp FileStamp::beforeReading(const std::string& path) {
    struct stat status {};
    const bool isFile = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    return isFile && isOld(status.st_ctim) ? stampOf(status) : FileStamp();
}

FileStamp FileStamp::of(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return {};
    }
    return stampOf(status);
}
