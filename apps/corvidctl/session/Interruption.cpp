#include "session/Interruption.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

namespace corvidctl {

namespace {

void raise(int event) {
    const std::uint64_t one = 1;
    // Fails only if it stands at its highest number already, which wakes whoever waits as well.
    [[maybe_unused]] const ssize_t written = write(event, &one, sizeof one);
}

void lower(int event) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t size = read(event, &count, sizeof count);  // fails if it was lowered already
}

bool watch(int watcher, int descriptor) {
    epoll_event event{};
    event.events = EPOLLIN;
    return epoll_ctl(watcher, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

}  // namespace

Interruption::Interruption() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    signals_ = signalfd(-1, &signals, SFD_CLOEXEC);
    ended_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    nudged_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    interrupted_ = epoll_create1(EPOLL_CLOEXEC);
    if (nudged_ < 0 || !watch(interrupted_, signals_) || !watch(interrupted_, ended_)) {
        throw std::system_error(errno, std::generic_category(), "waiting for signals");
    }
}

Interruption::~Interruption() {
    // The signals stay blocked: one that comes now is late, and must not kill the host half-way through its end.
    close(interrupted_);
    close(signals_);
    close(ended_);
    close(nudged_);
}

void Interruption::wait() {
    pollfd descriptor = {interrupted_, POLLIN, 0};
    while (poll(&descriptor, 1, -1) < 0 && errno == EINTR) {
    }
}

bool Interruption::waitForNews(std::chrono::milliseconds atMost) {
    std::array<pollfd, 2> descriptors = {{{interrupted_, POLLIN, 0}, {nudged_, POLLIN, 0}}};
    if (poll(descriptors.data(), descriptors.size(), static_cast<int>(atMost.count())) <= 0) {
        return false;
    }
    lower(nudged_);
    return descriptors[0].revents != 0;
}

void Interruption::end() { raise(ended_); }

void Interruption::nudge() { raise(nudged_); }

}  // namespace corvidctl
