#pragma once

#include <string>

#include "cli/Invocation.h"

namespace corvidctl {

/// Checks what the comparing commands are told. @return empty if all is well, and for every other command; else one
/// line that names the argument and what was expected.
std::string checkComparing(const Invocation& invocation);

/// Whether a comparison starts the module more than once: it has two configurations to read, of which one may be the
/// live one, or a store of it.
bool comparesTwoConfigurations(const Invocation& invocation);

}  // namespace corvidctl
