#pragma once

#include <cstddef>

namespace corvidctl {

/// True if a file descriptor is a terminal that understands escape sequences: not one that only appends (TERM=dumb),
/// and not one whose kind nobody tells (no TERM).
bool understandsEscapes(int descriptor);

/// The columns of the terminal behind a file descriptor; 0 if it is none, or does not tell.
std::size_t terminalColumns(int descriptor);

}  // namespace corvidctl
