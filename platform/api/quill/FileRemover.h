#pragma once

#include <memory>
#include <set>
#include <string>

namespace QuillCoreUtils {

class FolderCursor;

/// Removes files below one folder, in trees of any depth and under paths of any length. No link on the way from the
/// folder to a file is followed, also not one that has taken the place of a folder since the files were listed.
/// For one thread.
class FileRemover {
public:
    /// @param folder as it was given to FileUtils::getFilesFromDirectory(); may itself be a link.
    explicit FileRemover(std::string folder);
    ~FileRemover();

    FileRemover(const FileRemover&) = delete;
    FileRemover& operator=(const FileRemover&) = delete;

    /// Removes a file, or a link itself; never a folder. Quickest in the order in which files are listed.
    ///
    /// Logs nothing, so that it may be called under a lock; see FileUtils::logRemoval().
    /// @param file a full path as FileUtils::getFilesFromDirectory() has listed it.
    /// @return 0, else the system's error number (errno); EINVAL for a file that is not below the folder.
    int remove(const std::string& file);

    /// After the last removal: syncs each folder that has lost a file since the last call, so that no power cut brings
    /// one back. A folder that is gone, or that the file system cannot sync, is as durable as it gets.
    ///
    /// Waits for the disk, and logs nothing.
    /// @return 0, else the error number of the first folder that failed; the others are synced all the same.
    int syncFolders();

private:
    const std::string folder_;       ///< with a separator at its end
    std::set<std::string> changed_;  ///< folders below it that are yet to be synced; empty for itself
    const std::unique_ptr<FolderCursor> cursor_;
};

}  // namespace QuillCoreUtils
