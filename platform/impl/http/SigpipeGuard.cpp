#include "impl/http/SigpipeGuard.h"

#include <cerrno>
#include <ctime>

namespace {

sigset_t sigpipe() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

bool sigpipeWaits() {
    sigset_t waiting;
    sigemptyset(&waiting);
    sigpending(&waiting);
    return sigismember(&waiting, SIGPIPE) == 1;
}

void takeSigpipe() {
    const sigset_t signals = sigpipe();
    const timespec atOnce{0, 0};
    while (sigtimedwait(&signals, nullptr, &atOnce) == -1 && errno == EINTR) {
    }
}

}  // namespace

void platform::blockSigpipe() {
    const sigset_t signals = sigpipe();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

namespace platform {

SigpipeGuard::SigpipeGuard() : waitedBefore_(sigpipeWaits()), before_() {
    const sigset_t signals = sigpipe();
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SigpipeGuard::~SigpipeGuard() {
    // One that waited already is somebody else's, and is left to them.
    if (!waitedBefore_ && sigpipeWaits()) {
        takeSigpipe();
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

}  // namespace platform
