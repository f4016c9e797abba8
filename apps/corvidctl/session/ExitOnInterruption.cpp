#include "session/ExitOnInterruption.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "session/Interruption.h"
#include "session/TemporaryFolder.h"
#include "tessel/LogSink.h"

namespace corvidctl {

ExitOnInterruption::ExitOnInterruption(const Interruption& interruption, int status, std::function<void()> lastWords)
    : interruption_(interruption.descriptor()),
      status_(status),
      lastWords_(std::move(lastWords)),
      over_(eventfd(0, EFD_CLOEXEC)) {
    if (!over_.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "waiting for signals");
    }
    thread_ = std::thread([this] { run(); });
}

ExitOnInterruption::~ExitOnInterruption() {
    eventfd_write(over_.get(), 1);
    thread_.join();
}

void ExitOnInterruption::run() {
    std::array<pollfd, 2> descriptors = {{{interruption_, POLLIN, 0}, {over_.get(), POLLIN, 0}}};
    QuillCoreUtils::uninterrupted([&descriptors] { return poll(descriptors.data(), descriptors.size(), -1); });
    if (descriptors[0].revents != 0) {
        leave();
    }
}

void ExitOnInterruption::leave() {
    tessel::LogControl::flush();
    TemporaryFolder::removeAll();
    if (lastWords_) {
        lastWords_();
    }
    // Without a word of the thread sanitizer, which looks for threads that nobody has joined: they are left on purpose.
    syscall(SYS_exit_group, status_);
    _exit(status_);
}

}  // namespace corvidctl
