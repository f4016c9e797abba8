#pragma once

#include "Client.h"
#include "Trial.h"

namespace torture {

constexpr const char* tracingIsNotAllowed = "skipped: this system does not let processes be traced";

/// Whether this system lets processes be traced; if it does not, the trial's row says so.
bool tracingIsAllowed(Trial& trial);

/// For a traced process: starts a client and has it do it, with its calls counted from the start's end. @return 0.
int startAndPerform(const Scene& scene, Deed deed, int state);

}  // namespace torture
