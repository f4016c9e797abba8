#pragma once

#include <string>

namespace platform {

constexpr int MAX_REDIRECTS = 3;

/// Whether an answer of this status names another place of the document.
bool isRedirect(long status);

/// Whether a redirect may be followed: to the same scheme, host (whatever its case) and port only.
/// @param from, to absolute URLs. @return false also if one of them is none.
bool mayFollow(const std::string& from, const std::string& to);

}  // namespace platform
