#include "web/WholeNumber.h"

#include <charconv>
#include <system_error>

namespace corvidctl {

std::optional<std::uint64_t> wholeNumberIn(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

}  // namespace corvidctl
