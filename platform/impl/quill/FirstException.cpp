#include "quill/FirstException.h"

#include <string>

#include "tessel/TesselLogger.h"

namespace QuillCoreUtils {

void FirstException::keep(const char* text) {
    if (first_ == nullptr) {
        first_ = std::current_exception();
        return;
    }
    std::string what = "an exception of an unknown type";
    try {
        throw;
    } catch (const std::exception& exception) {
        what = exception.what();
    } catch (...) {
        // The type tells nothing that could be written.
    }
    TesselLog(TesselLogger_getLogger(logger_), 2, __FILE__, __LINE__, "keep", std::string(text) + ": " + what);
}

}  // namespace QuillCoreUtils
