#pragma once

#include <sys/types.h>

#include <functional>

namespace support {

/// A process of a test's own, which goes on from where the test is and runs one function. It is killed at the latest
/// with this object, or with the thread that made it.
class ForkedChild {
public:
    /// What the process does. @param channel a descriptor it may write to. @return its exit status.
    using Body = std::function<int(int channel)>;

    /// @throws std::system_error if no process can be made.
    explicit ForkedChild(const Body& body);

    /// Kills the process if it runs still, and waits for it.
    ~ForkedChild();

    ForkedChild(const ForkedChild&) = delete;
    ForkedChild& operator=(const ForkedChild&) = delete;

    pid_t id() const { return process_; }

    /// What the process writes into its channel can be read here; there is an end to it once the process has ended.
    int channel() const { return channel_; }

    /// Before end() and wait() only: the number may be another process's afterwards.
    void signal(int number) const;

    /// Waits for the process. @return its exit status, or 128 and the number of the signal that ended it.
    int wait();

    /// Kills the process and waits for it, unless it has been waited for already. @return what wait() gives: another
    /// end than by the kill is one that the process came to before.
    int end();

private:
    pid_t process_ = -1;
    int channel_ = -1;
    int status_ = -1;  ///< once it has been waited for
};

/// Runs a function in a process of its own to its end. @return what ForkedChild::wait() gives.
int runForked(const std::function<int()>& function);

}  // namespace support
