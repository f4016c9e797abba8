#include "reading/FileState.h"

#include <chrono>

namespace corvidctl {

namespace {

/// Several ticks of the clock by which the kernel dates files.
constexpr std::chrono::milliseconds JUST_NOW{100};

bool areSame(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool wasJustWritten(const struct stat& status) {
    const auto written = std::chrono::seconds(status.st_mtim.tv_sec) + std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return written > std::chrono::system_clock::now().time_since_epoch() - JUST_NOW;
}

}  // namespace

FileState::FileState(const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) == 0) {
        status_ = status;
        isFresh_ = wasJustWritten(status);
    }
}

bool FileState::isStill(const FileState& now) const {
    if (!status_ || !now.status_ || isFresh_) {
        return false;
    }
    const struct stat& one = *status_;
    const struct stat& other = *now.status_;
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
           areSame(one.st_mtim, other.st_mtim) && areSame(one.st_ctim, other.st_ctim);
}

}  // namespace corvidctl
