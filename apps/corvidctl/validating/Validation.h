#pragma once

#include <string>

#include "validating/ValidationView.h"

namespace corvidctl {

/// Reads a file as the module would and tells what it means. The file is neither moved nor changed. Asks for the FIPS
/// mode of the process.
/// @param file path, UTF-8. By its name, else by its content, it is a document, a local file or one of properties.
/// @param reveal show sensitive values.
/// @throws WrongUse with one line if the file cannot be opened or read to its end.
ValidationView validateFile(const std::string& file, bool reveal);

}  // namespace corvidctl
