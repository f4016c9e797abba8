#pragma once

#include <string>

#include "cli/Invocation.h"

namespace corvidctl {

/// Checks everything that an invocation names, before the module is put in, and fills in the defaults: Invocation::host
/// and Invocation::colours. Leaves everything as it was.
/// @return empty if all is well; else one line that names the argument and what was expected.
std::string checkInvocation(Invocation& invocation);

}  // namespace corvidctl
