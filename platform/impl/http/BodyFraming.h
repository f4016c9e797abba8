#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// What an answer's head says of its body (RFC 9112, 6.3).
struct BodyFraming {
    bool valid = true;                  ///< false: its fields contradict each other, or are none
    bool coded = false;                 ///< compressed, or changed in another way
    bool chunked = false;               ///< tells itself where it ends
    std::optional<std::size_t> length;  ///< in bytes, the largest number for all beyond; nothing if none is stated
};

/// @param lengths, transferCodings, contentCodings the values of all fields of that name, in order: "Content-Length",
/// "Transfer-Encoding", "Content-Encoding".
BodyFraming framingOf(const std::vector<std::string>& lengths, const std::vector<std::string>& transferCodings,
                      const std::vector<std::string>& contentCodings);

}  // namespace platform
