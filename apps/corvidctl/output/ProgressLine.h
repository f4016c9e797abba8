#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <mutex>
#include <string>

namespace corvidctl {

/// One line on a terminal that tells what is being waited for and since when, rewritten in place. It appears once the
/// wait has taken longer than a second, and leaves nothing behind.
///
/// Any thread. The cursor rests at the line's beginning, so that a line of somebody else's, from a log, covers it.
class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    /// How long a wait must have taken before the line appears, and how often show() is to be called.
    static constexpr std::chrono::milliseconds PATIENCE{1000};

    struct Terminal {
        bool shown = false;  ///< false: nothing is ever written
        std::function<std::size_t()>
            columns;  ///< asked for each line, of which the rest is cut; must be there if shown
    };

    /// The terminal behind a file descriptor; not shown if it is none, or one that only appends (TERM=dumb).
    static Terminal terminalOf(int descriptor);

    /// The wait begins now. @param out must outlive this.
    ProgressLine(std::ostream& out, Terminal terminal, std::function<Clock::time_point()> now = Clock::now);

    /// Clears.
    ~ProgressLine();

    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// False if nothing is ever written.
    bool isShown() const { return terminal_.shown; }

    /// Shows what is being waited for, with the seconds since that began: since the first call with this text.
    /// To be called again and again.
    void show(const std::string& text);

    /// Takes the line away; the next show() brings it back.
    void clear();

    /// Runs the function, which may print to the same terminal, while the line is away and stays away.
    void aside(const std::function<void()>& function);

private:
    void wipe();

    std::ostream& out_;
    const Terminal terminal_;
    const std::function<Clock::time_point()> now_;
    const Clock::time_point began_;
    std::mutex mutex_;  ///< guards all fields below
    std::string text_;
    Clock::time_point textBegan_;
    bool visible_ = false;
};

}  // namespace corvidctl
