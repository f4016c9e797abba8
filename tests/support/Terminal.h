#pragma once

#include <sys/types.h>

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace support {

/// A program on a terminal of its own, as if a user had started it in one: what it prints is read, keys are pressed.
class Terminal {
public:
    struct Options {
        unsigned short columns = 80;
        std::string directory;  ///< where the program starts; empty: where the test runs

        /// Added to the test's own environment; an empty text removes the variable.
        std::map<std::string, std::string> environment = {};
    };

    /// @param command the path of the program and its arguments. @throws std::runtime_error if it cannot be started.
    Terminal(const std::vector<std::string>& command, const Options& options);

    /// Ends the program if it runs still.
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Presses keys: "\t", "\r", CTRL_C.
    void type(const std::string& keys) const;

    /// Waits until the text has appeared behind what was waited for before. @return false if the program ended without.
    bool waitFor(const std::string& text);

    /// Reads everything to the end. @return the exit status, or 128 and the number of the signal that ended it.
    int wait();

    /// Everything that was printed so far on both streams; a line ends with "\n" alone.
    std::string text() const;

    static constexpr const char* CTRL_C = "\x03";

private:
    bool readSome();

    pid_t process_ = -1;
    int terminal_ = -1;
    std::string read_;
    std::size_t seen_ = 0;  ///< what was waited for ends here in the text
    int status_ = -1;
};

}  // namespace support
