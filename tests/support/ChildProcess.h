#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace support {

/// What a program left behind.
struct Ended {
    int status = -1;  ///< the exit status, or 128 and the number of the signal that ended it
    std::string out;
    std::string error;
    bool hasLeftACore = false;
};

/// How a program is started.
struct ChildOptions {
    /// Added to the test's own environment; an empty text removes the variable.
    std::map<std::string, std::string> environment;

    /// Give the program a terminal for its standard output.
    bool terminal = false;

    /// Give it another one for its standard error.
    bool errorTerminal = false;
};

/// A program started by a test, which reads what it prints and may send it signals.
class ChildProcess {
public:
    using Options = ChildOptions;

    /// @param command the path of the program and its arguments. @throws std::runtime_error if it cannot be started.
    explicit ChildProcess(const std::vector<std::string>& command, const Options& options = {});

    /// Ends the program if it runs still.
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits until the text has appeared on standard error. @return false if the program ended without.
    bool waitForError(const std::string& text);

    /// The same for standard output.
    bool waitForOutput(const std::string& text);

    /// What it has printed on standard output, as far as it has been waited for.
    const std::string& output() const { return ended_.out; }

    pid_t id() const { return process_; }

    void signal(int number) const;

    /// Closes the reading end of the program's standard output.
    void stopReading();

    /// Reads everything to the end and waits for it.
    Ended wait();

private:
    bool readSome();
    bool waitFor(const std::string& text, const std::string& in);

    pid_t process_ = -1;
    int out_ = -1;
    int error_ = -1;
    Ended ended_;
};

/// Runs a program to its end.
Ended runProgram(const std::vector<std::string>& command, const ChildProcess::Options& options = {});

}  // namespace support
