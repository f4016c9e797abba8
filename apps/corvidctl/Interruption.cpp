#include "Interruption.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace corvidctl {

Interruption::Interruption() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signals_ = signalfd(-1, &signals, SFD_CLOEXEC);
    ended_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (signals_ < 0 || ended_ < 0) {
        throw std::system_error(errno, std::generic_category(), "waiting for signals");
    }
}

Interruption::~Interruption() {
    // The signals stay blocked: one that comes now is late, and must not kill the host half-way through its end.
    close(signals_);
    close(ended_);
}

void Interruption::wait() {
    std::array<pollfd, 2> descriptors = {{{signals_, POLLIN, 0}, {ended_, POLLIN, 0}}};
    while (poll(descriptors.data(), descriptors.size(), -1) < 0 && errno == EINTR) {
    }
}

void Interruption::end() {
    const std::uint64_t one = 1;
    // Fails only if it has been written to before, which ends the wait as well.
    [[maybe_unused]] const ssize_t written = write(ended_, &one, sizeof one);
}

}  // namespace corvidctl
