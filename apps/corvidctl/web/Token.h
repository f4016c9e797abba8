#pragma once

#include <string>
#include <string_view>

namespace corvidctl {

/// 256 random bits, as 64 hexadecimal digits. @throws std::runtime_error if the system has no random numbers.
std::string makeToken();

/// Compares in a time that does not tell how much of the offered token is right.
bool isSameToken(std::string_view offered, std::string_view token);

}  // namespace corvidctl
