#include "output/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace corvidctl {

bool understandsEscapes(int descriptor) {
    const char* const variable = std::getenv("TERM");
    const std::string_view kind = variable == nullptr ? "" : variable;
    return !kind.empty() && kind != "dumb" && isatty(descriptor) == 1;
}

std::size_t terminalColumns(int descriptor) {
    winsize size{};
    return isatty(descriptor) == 1 && ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace corvidctl
