#pragma once

#include <csignal>

namespace platform {

/// Keeps the signal of a broken pipe from this thread, for good.
void blockSigpipe();

/// Keeps the signal of a broken pipe, which TLS writes raise, from a thread that is not ours for the length of a scope:
/// one that came meanwhile is taken off, and the thread's mask is as before.
class SigpipeGuard {
public:
    SigpipeGuard();
    ~SigpipeGuard();

    SigpipeGuard(const SigpipeGuard&) = delete;
    SigpipeGuard& operator=(const SigpipeGuard&) = delete;

private:
    bool waitedBefore_;
    sigset_t before_;
};

}  // namespace platform
