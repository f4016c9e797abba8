#pragma once

#include <cstdint>
#include <string>

#include "output/Format.h"

namespace corvidctl::answers {

/// Where the inspector is to be found: its link, with the token in it, and its port.
std::string link(const std::string& url, std::uint16_t port, Format format);

}  // namespace corvidctl::answers
