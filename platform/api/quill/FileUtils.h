#pragma once

#include <string>
#include <vector>

namespace QuillCoreUtils {

/// File helpers. Paths are UTF-8 bytes as the file system has them. Nothing throws; failures are told by the result and
/// logged once at level 3 by the logger "FileUtils", with the path and the system's reason. Any thread.
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

    /// Creates a folder with its parents, mode 0700. True if it is there afterwards.
    static bool createDirectory(const std::string& path);

    /// Removes a file, or a link itself; never a folder. True if it was there and is gone.
    static bool removeFile(const std::string& path);

    /// Replaces the destination durably and atomically: copies into a fresh sibling of it (permissions of an existing
    /// destination kept, 0600 for a new one), syncs that, renames it over the destination and syncs the folder. After a
    /// crash at any instant the destination is the old file or the new one, whole. Stale siblings of earlier crashes
    /// are removed on the way.
    /// @param failIfExists true: the call fails if the destination exists; false: it is replaced.
    /// @return true if the destination holds the new contents and the disk has them.
    static bool copyFile(const std::string& from, const std::string& to, bool failIfExists);

    /// Renames a file (across file systems: copies and removes).
    /// @param failIfExists as in copyFile.
    /// @return 0 on success, else the system's error number (errno).
    static int moveFile(const std::string& from, const std::string& to, bool failIfExists);

    /// Writes a whole file with the promise of copyFile.
    static bool writeFileAtomically(const std::string& path, const std::string& contents);

    /// Renames a finished sibling over its destination with the promise of copyFile: syncs it, renames it, syncs the
    /// folder. On failure the sibling is removed and the destination stays as it was.
    static bool replaceFileDurably(const std::string& finishedSibling, const std::string& destination);

    /// Reads a whole file as bytes. False if it cannot be read; contents is empty then.
    static bool readFile(const std::string& path, std::string& contents);

    /// All regular files and links below a folder, sub-folders included, sorted by path; links are never followed.
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
