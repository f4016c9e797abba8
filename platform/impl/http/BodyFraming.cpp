#include "impl/http/BodyFraming.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <system_error>

namespace platform {

namespace {

/// The members of lists that are separated by commas, in lower case and without the space around them.
std::vector<std::string> membersOf(const std::vector<std::string>& lists) {
    std::vector<std::string> members(1);
    for (const std::string& list : lists) {
        for (const char character : list + ",") {
            if (character == ',') {
                members.emplace_back();
            } else if (character != ' ' && character != '\t') {
                members.back() += character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
            }
        }
    }
    std::erase(members, "");
    return members;
}

/// @return nothing if the text is no number.
std::optional<std::size_t> lengthOf(std::string_view text) {
    std::size_t bytes = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), bytes);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return error == std::errc::result_out_of_range ? std::numeric_limits<std::size_t>::max() : bytes;
}

bool isCoding(const std::string& name) { return name != "identity"; }

}  // namespace

BodyFraming framingOf(const std::vector<std::string>& lengths, const std::vector<std::string>& transferCodings,
                      const std::vector<std::string>& contentCodings) {
    BodyFraming framing;
    std::vector<std::string> transfer = membersOf(transferCodings);
    framing.chunked = std::erase(transfer, "chunked") > 0;
    const std::vector<std::string> content = membersOf(contentCodings);
    framing.coded = std::any_of(transfer.begin(), transfer.end(), isCoding) ||
                    std::any_of(content.begin(), content.end(), isCoding);
    if (framing.chunked) {
        return framing;  // a length besides does not count
    }
    for (const std::string& stated : membersOf(lengths)) {
        const std::optional<std::size_t> length = lengthOf(stated);
        framing.valid = framing.valid && length && (!framing.length || framing.length == length);
        framing.length = length;
    }
    framing.valid = framing.valid && (lengths.empty() || framing.length);
    return framing;
}

}  // namespace platform
