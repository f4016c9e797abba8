#pragma once

#include <string>

namespace corvidctl {

/// The manual page in the man macros, made from the definitions of the command line.
std::string manualPage();

}  // namespace corvidctl
