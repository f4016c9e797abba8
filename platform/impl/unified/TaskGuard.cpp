#include "impl/unified/TaskGuard.h"

#include <exception>

#include "tessel/TesselLogger.h"

namespace platform {

void logEscapedException(TesselLogger* logger, const std::string& name) {
    std::string text = "an exception of an unknown type";
    try {
        throw;
    } catch (const std::exception& exception) {
        text = exception.what();
    } catch (...) {
        // The type tells nothing that could be written; the task's name still does.
    }
    TesselLog(logger, 2, __FILE__, __LINE__, __func__, "Task [" + name + "] threw: " + text);
}

}  // namespace platform
