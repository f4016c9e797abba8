#pragma once

#include <functional>
#include <string>
#include <vector>

namespace QuillCoreUtils {

/// What to do with a folder that cannot be read, or an entry that cannot be looked at: gets its path and an errno. The
/// walk goes on with the next.
using UnreadableFolder = std::function<void(const std::string& path, int error)>;

/// What a walk lists. Folders are walked and never listed, links are listed and never followed.
enum class Listed {
    FilesAndLinks,      ///< regular files and links
    EverythingElseToo,  ///< pipes, devices and the like as well
};

/// The full paths of what lies below a folder, sorted by their bytes. The folder itself may be a link. Trees may be of
/// any depth, and paths longer than the system takes in one piece. Any thread.
std::vector<std::string> filesBelow(const std::string& directory, Listed listed, const UnreadableFolder& onUnreadable);

}  // namespace QuillCoreUtils
