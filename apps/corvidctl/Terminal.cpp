#include "Terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace corvidctl {

bool understandsEscapes(int descriptor) {
    const char* const variable = std::getenv("TERM");
    const std::string_view kind = variable == nullptr ? "" : variable;
    return !kind.empty() && kind != "dumb" && isatty(descriptor) == 1;
}

}  // namespace corvidctl
