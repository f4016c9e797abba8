#pragma once

#include <string>

/// The name under which a class logs. Made once for each name and never destroyed, so a static reference is safe.
class TesselLogger;

/// The logger of that name, the same one for every call with the same name. Never null. Any thread.
TesselLogger* TesselLogger_getLogger(const std::string& name);

/// Writes one record. Any thread, and under any lock: the host's sink must not wait and must not call back.
///
/// @param level 2 failure of an operation, 3 warning or failed step, 4 information, 5 debug. Records above the
///              threshold of the host are dropped.
/// @param file, line, function where the record was made; the pointers must outlive the process (literals).
/// @param text UTF-8; the wide form is converted, ill-formed units become U+FFFD.
void TesselLog(TesselLogger* logger, int level, const char* file, int line, const char* function,
               const std::string& text);
/// The same for wide text.
void TesselLog(TesselLogger* logger, int level, const char* file, int line, const char* function,
               const std::wstring& text);

/// True if level 5 records are written: build their text only then.
bool TesselLog_isDebugEnabled(TesselLogger* logger);
