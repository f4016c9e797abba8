#pragma once

#include <string>

namespace docs {

/// The text of a page. @param path below the uppermost folder: "docs/files.md".
std::string readPage(const std::string& path);

/// The lines of a page's first block that begins with "```" and that language; empty if there is none.
std::string blockOf(const std::string& page, const std::string& language);

}  // namespace docs
