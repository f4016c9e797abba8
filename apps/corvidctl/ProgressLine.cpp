#include "ProgressLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>
#include <string_view>
#include <utility>

#include "Text.h"

namespace corvidctl {

namespace {

constexpr const char* TO_THE_LINES_END_CLEARED = "\x1b[K";

bool understandsEscapes() {
    const char* const kind = std::getenv("TERM");
    return kind != nullptr && std::string_view(kind) != "dumb";
}

}  // namespace

ProgressLine::Terminal ProgressLine::terminalOf(int descriptor) {
    Terminal terminal;
    terminal.shown = isatty(descriptor) == 1 && understandsEscapes();
    winsize size{};
    if (terminal.shown && ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        terminal.columns = size.ws_col;
    }
    return terminal;
}

ProgressLine::ProgressLine(std::ostream& out, Terminal terminal, std::function<Clock::time_point()> now)
    : out_(out), terminal_(terminal), now_(std::move(now)), began_(now_()) {}

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
    out_ << shortened(line, terminal_.columns - 1) << TO_THE_LINES_END_CLEARED << '\r' << std::flush;
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
        out_ << TO_THE_LINES_END_CLEARED << std::flush;
    }
}

}  // namespace corvidctl
