#pragma once

#include <string>

class TesselLogger;

namespace platform {

/// Writes at level 2 what escaped from a task. Only inside a catch block.
/// @param name what the task calls.
void logEscapedException(TesselLogger* logger, const std::string& name);

/// Runs one piece of work of a queue: what it throws is logged with its name at level 2 and goes no further, since the
/// thread of a queue has no caller that could handle it.
template <typename Function>
void runGuarded(TesselLogger* logger, const std::string& name, const Function& function) {
    try {
        function();
    } catch (...) {
        logEscapedException(logger, name);
    }
}

}  // namespace platform
