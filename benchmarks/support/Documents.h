#pragma once

#include <cstddef>
#include <string>

namespace bench {

// Files of so many entries, written once and removed at the end of the process; one thread.
const std::string& xmlFile(std::size_t count);
const std::string& iniFile(std::size_t count);

/// Names of the rows in which subjects read and write such documents.
std::string loadRow(std::size_t count);
std::string saveRow(std::size_t count);

}  // namespace bench
