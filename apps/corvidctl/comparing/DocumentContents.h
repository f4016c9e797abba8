#pragma once

#include <string>

#include "cli/Invocation.h"
#include "comparing/Contents.h"

namespace corvidctl {

/// What a file says, as the module reads it: a properties file if its name ends in ".properties", else a local file or
/// a configuration document, by its name or by what stands in it. Keys come under their current names. What no store
/// answers from such a document is left out. No session may run meanwhile.
/// @param fips one rule of the module depends on this mode.
/// @throws std::runtime_error with one line if the module could not read the file.
Contents readDocument(const std::string& path, host::ReferenceHostOptions::Fips fips);

/// Why the module could not read the file as what it is meant to be, in one line; empty if it could. No session may run
/// meanwhile. @param isLocalFile "userConfig" entries, or else groups of entries.
std::string problemOfDocument(const std::string& path, bool isLocalFile);

}  // namespace corvidctl
