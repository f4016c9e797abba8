#pragma once

#include <string>

namespace corvidctl {

/// Where the installed data files lie: "../share/corvid" beside the program's own folder, so that an installation can
/// be moved; in a build tree, which has no such folder, the sources' own. Absolute, no trailing separator.
std::string dataDirectory();

}  // namespace corvidctl
