#pragma once

#include <gtest/gtest.h>
#include <linux/limits.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <string>

namespace support {

/// Counts how often the files of a folder are opened, by whomever, from its construction on.
class OpenedFiles {
public:
    explicit OpenedFiles(const std::string& directory) : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(events_, directory.c_str(), IN_OPEN), 0) << directory;
    }
    ~OpenedFiles() { ::close(events_); }

    OpenedFiles(const OpenedFiles&) = delete;
    OpenedFiles& operator=(const OpenedFiles&) = delete;

    /// By name, since the last call.
    std::map<std::string, int> take() {
        std::map<std::string, int> counts;
        std::array<char, 64 * (sizeof(inotify_event) + NAME_MAX + 1)> bytes{};
        for (ssize_t size = 0; (size = ::read(events_, bytes.data(), bytes.size())) > 0;) {
            for (std::size_t place = 0; place < static_cast<std::size_t>(size);) {
                inotify_event event{};
                std::memcpy(&event, bytes.data() + place, sizeof(event));
                const std::size_t name = place + sizeof(event);
                if (event.len > 0 && (event.mask & IN_ISDIR) == 0) {
                    ++counts[bytes.data() + name];
                }
                place = name + event.len;
            }
        }
        return counts;
    }

private:
    const int events_;
};

}  // namespace support
