#include "session/Browser.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

#include "session/Interruption.h"

namespace corvidctl {

namespace {

constexpr const char* PROGRAM = "xdg-open";

/// How the program is started.
class SpawnSettings {
public:
    SpawnSettings() {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes_, &none);
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes_, &pipe);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnSettings() {
        posix_spawnattr_destroy(&attributes_);
        posix_spawn_file_actions_destroy(&actions_);
    }

    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    /// @return the process; -1 if it could not be started.
    pid_t start(const std::string& argument) const {
        std::string name = PROGRAM;
        std::string word = argument;
        const std::array<char*, 3> words = {name.data(), word.data(), nullptr};
        pid_t process = -1;
        return posix_spawnp(&process, PROGRAM, &actions_, &attributes_, words.data(), environ) == 0 ? process : -1;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// @return false if it has failed; true, too, if the interruption came first.
bool endsWell(pid_t process, const Interruption& interruption) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0));
    std::array<pollfd, 2> ends = {{{interruption.descriptor(), POLLIN, 0}, {descriptor, POLLIN, 0}}};
    poll(ends.data(), ends.size(), -1);
    if (descriptor >= 0) {
        close(descriptor);
    }
    int status = 0;
    const bool hasEnded = waitpid(process, &status, WNOHANG) == process;
    return !hasEnded || (WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

}  // namespace

Browser::Browser(const std::string& link, const Interruption& interruption,
                 std::function<void(const std::string&)> complain) {
    const pid_t process = SpawnSettings().start(link);
    waiter_ = std::thread([process, &interruption, complain = std::move(complain)] {
        if (process < 0 || !endsWell(process, interruption)) {
            complain(std::string(PROGRAM) + " could not show the page; open the link in a browser");
        }
    });
}

Browser::~Browser() { waiter_.join(); }

}  // namespace corvidctl
