#include "support/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <utility>

#include "support/Environment.h"

namespace support {

namespace {

struct Ends {
    int read = -1;
    int write = -1;
};

Ends makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe2 failed");
    }
    return {ends[0], ends[1]};
}

Ends makeTerminal() {
    Ends ends;
    if (openpty(&ends.read, &ends.write, nullptr, nullptr, nullptr) != 0) {
        throw std::runtime_error("openpty failed");
    }
    fcntl(ends.read, F_SETFD, FD_CLOEXEC);
    fcntl(ends.write, F_SETFD, FD_CLOEXEC);
    return ends;
}

void closeOnce(int& descriptor) {
    if (descriptor >= 0) {
        close(std::exchange(descriptor, -1));
    }
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Options& options) {
    const Ends out = options.terminal ? makeTerminal() : makePipe();
    const Ends error = options.errorTerminal ? makeTerminal() : makePipe();

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out.write, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error.write, STDERR_FILENO);

    // An earlier test may have blocked signals for its own process; they are to reach this one.
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);

    std::vector<std::string> arguments = command;
    std::vector<std::string> environment = changedEnvironment(options.environment);
    const int failed = posix_spawn(&process_, command.front().c_str(), &actions, &attributes,
                                   pointersTo(arguments).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(out.write);
    close(error.write);
    out_ = out.read;
    error_ = error.read;
    if (failed != 0) {
        closeOnce(out_);
        closeOnce(error_);
        throw std::runtime_error("cannot start " + command.front());
    }
}

ChildProcess::~ChildProcess() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        wait();
    }
}

bool ChildProcess::readSome() {
    std::array<pollfd, 2> descriptors = {{{out_, POLLIN, 0}, {error_, POLLIN, 0}}};
    if (out_ < 0 && error_ < 0) {
        return false;
    }
    if (poll(descriptors.data(), descriptors.size(), -1) < 0) {
        return errno == EINTR;
    }
    const auto read = [](const pollfd& ready, int& descriptor, std::string& text) {
        if (ready.revents == 0) {
            return;
        }
        std::array<char, 4096> buffer{};
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else {
            closeOnce(descriptor);  // a terminal whose last user has gone gives an error instead of an end
        }
    };
    read(descriptors[0], out_, ended_.out);
    read(descriptors[1], error_, ended_.error);
    return true;
}

bool ChildProcess::waitFor(const std::string& text, const std::string& in) {
    while (in.find(text) == std::string::npos) {
        if (!readSome()) {
            return false;
        }
    }
    return true;
}

bool ChildProcess::waitForError(const std::string& text) { return waitFor(text, ended_.error); }

bool ChildProcess::waitForOutput(const std::string& text) { return waitFor(text, ended_.out); }

void ChildProcess::signal(int number) const { kill(process_, number); }

void ChildProcess::stopReading() { closeOnce(out_); }

Ended ChildProcess::wait() {
    while (readSome()) {
    }
    int status = 0;
    if (process_ > 0 && waitpid(process_, &status, 0) == process_) {
        ended_.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        ended_.hasLeftACore = WIFSIGNALED(status) && WCOREDUMP(status);
        process_ = -1;
    }
    return ended_;
}

Ended runProgram(const std::vector<std::string>& command, const ChildProcess::Options& options) {
    return ChildProcess(command, options).wait();
}

}  // namespace support
