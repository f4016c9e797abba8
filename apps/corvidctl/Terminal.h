#pragma once

namespace corvidctl {

/// True if a file descriptor is a terminal that understands escape sequences: not one that only appends (TERM=dumb),
/// and not one whose kind nobody tells (no TERM).
bool understandsEscapes(int descriptor);

}  // namespace corvidctl
