#pragma once

#include <optional>
#include <string>
#include <vector>

#include "exporting/ExportForm.h"
#include "exporting/ExportView.h"
#include "session/Session.h"

namespace corvidctl {

/// The values of the effective configuration, under the current names of the keys, secrets and
/// what the client keeps for itself included. Dispatcher thread.
std::vector<ExportedValue> effectiveValues(const ChainReader& reader);

/// The values that one store holds, under the names that it holds them under. Dispatcher thread.
/// @param name case does not count. @return nothing if there is no such store.
std::optional<std::vector<ExportedValue>> valuesOfStore(Session::Inside& inside, const std::string& name);

/// Writes values down. @param reveal sensitive values too. @return without store, format, file and failures.
ExportView exported(const std::vector<ExportedValue>& values, const ExportForm& form, bool reveal);

}  // namespace corvidctl
