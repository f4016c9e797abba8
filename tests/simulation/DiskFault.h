#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstddef>

namespace simulation {

/// Makes the system refuse this process something about files, until it is lifted or this object ends. One at a time.
class DiskFault {
public:
    /// Files that are written cannot grow beyond this byte; a write that reaches it is cut short there.
    void fill(std::size_t fromByte) { limit(RLIMIT_FSIZE, fromByte); }

    /// No descriptor can be had.
    void exhaustDescriptors() { limit(RLIMIT_NOFILE, 0); }

    void lift() {
        if (limited_) {
            setrlimit(resource_, &former_);
            std::signal(SIGXFSZ, formerHandler_);
            limited_ = false;
        }
    }

    bool isThere() const { return limited_; }

    DiskFault() = default;
    ~DiskFault() { lift(); }

    DiskFault(const DiskFault&) = delete;
    DiskFault& operator=(const DiskFault&) = delete;

private:
    using Resource = decltype(RLIMIT_FSIZE);

    void limit(Resource resource, std::size_t most) {
        lift();
        resource_ = resource;
        getrlimit(resource, &former_);
        rlimit limited = former_;
        limited.rlim_cur = most;
        // The write is to fail, not the process.
        formerHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        limited_ = setrlimit(resource, &limited) == 0;
    }

    Resource resource_ = RLIMIT_FSIZE;
    rlimit former_{};
    void (*formerHandler_)(int) = SIG_DFL;
    bool limited_ = false;
};

}  // namespace simulation
