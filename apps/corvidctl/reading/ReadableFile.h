#pragma once

#include <string>

namespace corvidctl {

/// Whether a path leads to something that can be opened and read as a file: a regular one, a pipe, or a device such as
/// a terminal. A folder cannot, nor can a socket, and a disk is no document.
bool isReadableFile(const std::string& path);

}  // namespace corvidctl
