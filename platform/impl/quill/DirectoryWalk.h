#pragma once

#include <functional>
#include <string>
#include <vector>

namespace QuillCoreUtils {

/// What to do with a folder that cannot be read: gets its path and an errno. The walk goes on with the next.
using UnreadableFolder = std::function<void(const std::string& path, int error)>;

/// The full paths of all regular files and links below a folder, sorted by their bytes. Links are listed and never
/// entered, but the folder itself may be one. Any thread.
std::vector<std::string> filesBelow(const std::string& directory, const UnreadableFolder& onUnreadable);

}  // namespace QuillCoreUtils
