#pragma once

#include <map>
#include <optional>
#include <string>

namespace simulation {

/// Entries of a file: the folded key and the text.
using FileEntries = std::map<std::string, std::string>;

/// What the user's file holds; none if there is none. Understands the files that the module writes for plain ASCII
/// texts, and nothing else: it shares no code with the module. Text that it does not understand is an entry of its own.
std::optional<FileEntries> readUserFile(const std::string& configDirectory);

/// What the folder of the copies holds, by file name.
std::map<std::string, FileEntries> readCopies(const std::string& configDirectory);

/// A file of the configuration directory that has no business there; empty if there is none.
std::string strangeFile(const std::string& configDirectory);

}  // namespace simulation
