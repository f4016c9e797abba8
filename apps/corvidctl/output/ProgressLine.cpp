#include "output/ProgressLine.h"

#include <ostream>
#include <utility>

#include "output/Terminal.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

constexpr const char* TO_THE_LINES_END_CLEARED = "\x1b[K";

// What the user types meanwhile the terminal shows at the cursor; each line covers that.
constexpr char TO_THE_LINES_BEGINNING = '\r';

constexpr std::size_t USUAL_COLUMNS = 80;

std::size_t columnsOf(int descriptor) {
    const std::size_t columns = terminalColumns(descriptor);
    return columns > 0 ? columns : USUAL_COLUMNS;
}

}  // namespace

ProgressLine::Terminal ProgressLine::terminalOf(int descriptor) {
    return {understandsEscapes(descriptor), [descriptor] { return columnsOf(descriptor); }};
}

ProgressLine::ProgressLine(std::ostream& out, Terminal terminal, std::function<Clock::time_point()> now)
    : out_(out), terminal_(std::move(terminal)), now_(std::move(now)), began_(now_()) {}

ProgressLine::~ProgressLine() { clear(); }

void ProgressLine::show(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const Clock::time_point now = now_();
    if (text != text_) {
        text_ = text;
        textBegan_ = now;
    }
    if (!terminal_.shown || now - began_ < PATIENCE) {
        return;
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - textBegan_).count();
    const std::string line = escaped(text_) + " " + std::to_string(seconds) + " s";
    // One column stays free: in the last one a terminal may go on to the next line.
    // In one piece: the log writes to the same terminal.
    out_ << TO_THE_LINES_BEGINNING + shortened(line, terminal_.columns() - 1) + TO_THE_LINES_END_CLEARED +
                TO_THE_LINES_BEGINNING
         << std::flush;
    visible_ = true;
}

void ProgressLine::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    wipe();
}

void ProgressLine::aside(const std::function<void()>& function) {
    const std::lock_guard<std::mutex> lock(mutex_);
    wipe();
    function();
}

void ProgressLine::wipe() {
    if (std::exchange(visible_, false)) {
        out_ << TO_THE_LINES_BEGINNING + std::string(TO_THE_LINES_END_CLEARED) << std::flush;
    }
}

}  // namespace corvidctl
