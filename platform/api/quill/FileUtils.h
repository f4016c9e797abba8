#pragma once

#include <string>
#include <vector>

namespace QuillCoreUtils {

/// File operations. Paths are UTF-8 bytes as the file system has them. Nothing throws; failures are told by the result
/// and logged once at level 3 by the logger "FileUtils", with the path and the system's reason. What is merely absent
/// is no failure of fileExists() and getFilesFromDirectory(). All of them use the disk: hold no lock that others wait
/// for. Any thread.
class FileUtils {
public:
    /// The user's configuration directory, without a trailing separator, as the host's World says.
    static std::string getConfigDirectory();

    /// The directory of the installed data files, without a trailing separator, as the host's World says.
    static std::string getInstallationDirectory();

    /// The bootstrap properties file, as the host's World says.
    static std::string getBootstrapFilePath();

    /// "/"
    static std::string FileSeparator();

    /// True if something (a file, a folder, a link with an existing target) is there.
    static bool fileExists(const std::string& path);

    /// Creates a folder with its parents, mode 0700. True if it is there afterwards. The disk has it when this returns,
    /// if it can sync folders; that it could not is logged.
    static bool createDirectory(const std::string& path);

    /// Removes a file, or a link itself; never a folder. True if it was there and is gone; false, and logged, if there
    /// was none.
    static bool removeFile(const std::string& path);

    /// Makes it last that files have come to the folder of a file or have gone from it: waits until the disk has that.
    /// True as well on a file system that cannot sync folders; false, and logged, if the disk failed.
    static bool syncFolderOf(const std::string& path);

    /// Logs the failure of a removal that was made in silence, as removeFile() would have. A file that was not there
    /// any more is none. @param error what FileRemover::remove() gave.
    static void logRemoval(const std::string& path, int error);

    /// Replaces the destination durably and atomically: copies into a fresh sibling of it (permissions of an existing
    /// destination kept, 0600 for a new one), syncs that, renames it over the destination and syncs the folder. After a
    /// crash at any instant the destination is the old file or the new one, whole. Stale siblings of earlier crashes
    /// are removed on the way. On failure the destination is as it was and no sibling remains.
    ///
    /// A destination that is a link stays one: what it leads to is replaced, or made if it is missing; unless it is a
    /// link of somebody else's, who is neither this user nor root nor the folder's owner. The owner is
    /// kept along with the permissions; where the process may not give files away, the permissions are cut down to the
    /// owner's. Source and destination must be regular files: folders, devices and pipes are refused.
    /// @param failIfExists true: the call fails if the destination exists; false: it is replaced.
    /// @return true if the destination holds the new contents and the disk has them. False after the renaming only if
    ///         the folder could not be synced: the destination is the new one then, and whole.
    static bool copyFile(const std::string& from, const std::string& to, bool failIfExists);

    /// Renames a file, or a link itself; never a folder (EISDIR). Its permissions stay. The disk has its new name when
    /// this returns, if it can sync folders. Across file systems it is
    /// copied as copyFile says, a link as the file that it leads to, and removed.
    /// @param failIfExists as in copyFile.
    /// @return 0 on success, else the system's error number (errno).
    static int moveFile(const std::string& from, const std::string& to, bool failIfExists);

    /// Writes a whole file with the promise of copyFile.
    static bool writeFileAtomically(const std::string& path, const std::string& contents);

    /// Renames a finished sibling over its destination with the promise of copyFile: syncs it, renames it, syncs the
    /// folder. On failure the sibling is removed and the destination stays as it was.
    /// @param finishedSibling a regular file, closed by its writer, on the destination's file system (on another one it
    ///        is copied). It gets the permissions of an existing destination, 0600 for a new one.
    static bool replaceFileDurably(const std::string& finishedSibling, const std::string& destination);

    /// Removes the siblings of a destination that processes left which died in the midst of one of these operations.
    /// The next operation on the destination would do so too. A failure is not told.
    static void removeStaleSiblings(const std::string& destination);

    /// True if a path is a link that copyFile() would not write through, or a chain of links with such a one in it: for
    /// whoever is about to write or remove something in the folder that it leads to. What is no link, or not there, is
    /// none; separators at its end do not count. A failure to look is not told and gives false: the next step meets it.
    static bool isStrangersLink(const std::string& path);

    /// Reads a whole regular file as bytes. False if it cannot be read or is no regular file; contents is empty then.
    static bool readFile(const std::string& path, std::string& contents);

    /// All regular files and links below a folder, sub-folders included, sorted by the bytes of the path; links are
    /// listed and never followed, but the folder itself may be one. A sub-folder that cannot be read is logged and left
    /// out. Paths may be longer than the system takes in one piece: FileRemover takes them.
    /// @param extension with or without its dot, case ignored; empty for all files.
    /// @param files is emptied first; receives full paths. A missing folder gives none.
    static void getFilesFromDirectory(const std::string& directory, const std::string& extension,
                                      std::vector<std::string>& files);

    /// What follows the last separator.
    static std::string getFileName(const std::string& path);

    /// What precedes the last separator; empty if there is none, "/" for an entry of the root.
    static std::string getParentDirectory(const std::string& path);
};

}  // namespace QuillCoreUtils
