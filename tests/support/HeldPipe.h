#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace support {

/// A pipe in the place of a file: whoever reads it waits until the test ends it. One thread.
class HeldPipe {
public:
    /// @param path made if nothing is there. @throws std::runtime_error if that cannot be.
    explicit HeldPipe(const std::string& path) {
        mkfifo(path.c_str(), 0600);
        descriptor_ = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (descriptor_ < 0) {
            throw std::runtime_error("no pipe can be made: " + path);
        }
    }

    ~HeldPipe() { end(); }

    HeldPipe(const HeldPipe&) = delete;
    HeldPipe& operator=(const HeldPipe&) = delete;

    void write(const std::string& text) const {
        if (::write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("the pipe is full");
        }
    }

    /// Returns when everything that was written has been read.
    void waitForReader() const {
        for (int unread = 1; ioctl(descriptor_, FIONREAD, &unread) == 0 && unread > 0;) {
            sched_yield();
        }
    }

    /// From here on a reader finds the end.
    void end() {
        if (descriptor_ >= 0) {
            close(std::exchange(descriptor_, -1));
        }
    }

private:
    int descriptor_ = -1;
};

}  // namespace support
