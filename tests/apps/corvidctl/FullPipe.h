#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <vector>

/// A named pipe that is full and has a reader who takes nothing.
class FullPipe {
public:
    /// @param path where it is made.
    explicit FullPipe(std::string path) : path_(std::move(path)) {
        descriptor_ = mkfifo(path_.c_str(), 0600) == 0 ? open(path_.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC) : -1;
        while (descriptor_ >= 0 && write(descriptor_, "x", 1) == 1) {
        }
        if (descriptor_ < 0 || errno != EAGAIN) {
            throw std::runtime_error("cannot fill a pipe at " + path_);
        }
    }
    ~FullPipe() { close(descriptor_); }

    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    /// A command that gives another one this as its standard output.
    std::vector<std::string> asOutputOf(const std::vector<std::string>& words) const {
        std::vector<std::string> all = {"/bin/sh", "-c", "exec \"$@\" >\"$0\"", path_};
        all.insert(all.end(), words.begin(), words.end());
        return all;
    }

private:
    const std::string path_;
    int descriptor_ = -1;
};
