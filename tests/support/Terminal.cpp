#include "support/Terminal.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>

#include "support/Environment.h"

namespace support {

namespace {

constexpr unsigned short ROWS = 24;

/// The side of a new terminal that a user sits at.
int openTerminal(unsigned short columns) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    winsize size{};
    size.ws_row = ROWS;
    size.ws_col = columns;
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0 || ioctl(terminal, TIOCSWINSZ, &size) != 0) {
        throw std::runtime_error("no terminal can be opened");
    }
    return terminal;
}

std::string nameOf(int terminal) {
    std::array<char, 64> name{};
    return ptsname_r(terminal, name.data(), name.size()) == 0 ? name.data() : std::string();
}

/// What the child does before it becomes the program.
class Actions {
public:
    Actions() {
        posix_spawn_file_actions_init(&files);
        posix_spawnattr_init(&attributes);
    }
    ~Actions() {
        posix_spawn_file_actions_destroy(&files);
        posix_spawnattr_destroy(&attributes);
    }
    Actions(const Actions&) = delete;
    Actions& operator=(const Actions&) = delete;

    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
};

}  // namespace

Terminal::Terminal(const std::vector<std::string>& command, const Options& options)
    : terminal_(openTerminal(options.columns)) {
    const std::string name = nameOf(terminal_);
    Actions actions;
    // The first terminal that the leader of a session opens controls it: from there come its signals.
    posix_spawn_file_actions_addopen(&actions.files, STDIN_FILENO, name.c_str(), O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&actions.files, STDIN_FILENO, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions.files, STDIN_FILENO, STDERR_FILENO);
    if (!options.directory.empty()) {
        posix_spawn_file_actions_addchdir_np(&actions.files, options.directory.c_str());
    }
    // An earlier test may have blocked signals for its own process; they are to reach this one.
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&actions.attributes, &none);
    posix_spawnattr_setflags(&actions.attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID);

    std::vector<std::string> arguments = command;
    std::vector<std::string> environment = changedEnvironment(options.environment);
    if (posix_spawn(&process_, command.front().c_str(), &actions.files, &actions.attributes,
                    pointersTo(arguments).data(), pointersTo(environment).data()) != 0) {
        close(terminal_);
        throw std::runtime_error("cannot start " + command.front());
    }
}

Terminal::~Terminal() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        wait();
    }
    close(terminal_);
}

void Terminal::type(const std::string& keys) const {
    [[maybe_unused]] const ssize_t written = write(terminal_, keys.data(), keys.size());
}

bool Terminal::readSome() {
    std::array<char, 4096> buffer{};
    ssize_t count = 0;
    do {
        count = read(terminal_, buffer.data(), buffer.size());
    } while (count < 0 && errno == EINTR);
    if (count <= 0) {
        return false;  // a terminal whose last user has gone gives an error instead of an end
    }
    read_.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

bool Terminal::waitFor(const std::string& text) {
    std::size_t found = this->text().find(text, seen_);
    while (found == std::string::npos) {
        if (!readSome()) {
            return false;
        }
        found = this->text().find(text, seen_);
    }
    seen_ = found + text.size();
    return true;
}

int Terminal::wait() {
    while (readSome()) {
    }
    int status = 0;
    if (process_ > 0 && waitpid(process_, &status, 0) == process_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        process_ = -1;
    }
    return status_;
}

std::string Terminal::text() const {
    std::string result;
    for (std::size_t i = 0; i < read_.size(); ++i) {
        const bool isLineEnd = read_[i] == '\r' && i + 1 < read_.size() && read_[i + 1] == '\n';
        if (!isLineEnd) {
            result += read_[i];
        }
    }
    return result;
}

}  // namespace support
