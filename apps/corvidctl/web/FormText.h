#pragma once

#include <map>
#include <string>
#include <string_view>

namespace corvidctl {

/// Letters from A to Z as a to z, whatever the locale is.
std::string inLowerCase(std::string_view text);

/// Reads the query of a URL as browsers write it (application/x-www-form-urlencoded): NAME=VALUE joined by "&", with
/// "+" for a blank and "%XX" for a byte. What is no UTF-8 becomes U+FFFD.
/// @return false if a "%" has no two hexadecimal digits behind it, or a name stands twice.
bool readFormText(std::string_view text, std::map<std::string, std::string>& parameters);

}  // namespace corvidctl
