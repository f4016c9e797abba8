#include "support/ForkedChild.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace support {
namespace {

/// An exception ends the process: the test itself must not go on in it.
[[noreturn]] void run(const ForkedChild::Body& body, int channel, pid_t parent) noexcept {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A parent that ended before that sends no signal any more.
    _exit(getppid() == parent ? body(channel) : 1);
}

[[noreturn]] void refuse(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

}  // namespace

ForkedChild::ForkedChild(const Body& body) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        refuse("no pipe can be made");
    }
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
        close(pipe[0]);
        run(body, pipe[1], parent);
    }
    const int error = errno;
    close(pipe[1]);
    if (process_ < 0) {
        close(pipe[0]);
        errno = error;
        refuse("no process can be made");
    }
    channel_ = pipe[0];
}

ForkedChild::~ForkedChild() {
    end();
    close(channel_);
}

void ForkedChild::signal(int number) const { ::kill(process_, number); }

int ForkedChild::wait() {
    int status = 0;
    // A traced process is told of at each of its stops.
    while (waitpid(process_, &status, 0) == process_ && WIFSTOPPED(status)) {
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return status_;
}

int ForkedChild::end() {
    siginfo_t unused{};
    const bool isOurs = waitid(P_PID, static_cast<id_t>(process_), &unused, WEXITED | WNOHANG | WNOWAIT) == 0;
    if (isOurs) {
        signal(SIGKILL);
        wait();
    }
    return status_;
}

int runForked(const std::function<int()>& function) {
    return ForkedChild([&](int) { return function(); }).wait();
}

}  // namespace support
