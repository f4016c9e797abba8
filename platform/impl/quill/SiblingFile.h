#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>

#include "impl/quill/FileDescriptor.h"

namespace QuillCoreUtils {

/// A file in the making, beside the destination that it shall become: ".<name>.<process>.<number>.new", mode 0600.
///
/// It becomes the destination in one step, or disappears with this object. While it is being made it is locked, so that
/// the siblings which a dead process left can be told from those that are at work, whatever number a later process has.
/// All operations give 0 or an errno. For one thread.
class SiblingFile {
public:
    explicit SiblingFile(std::string destination);
    ~SiblingFile();

    SiblingFile(const SiblingFile&) = delete;
    SiblingFile& operator=(const SiblingFile&) = delete;

    /// Removes what dead processes left beside the destination, and makes the file.
    int create();

    /// The first half of create().
    void removeStaleSiblings() const;

    int append(std::string_view bytes);

    /// Appends all that can be read from an open file.
    int appendAllOf(int source);

    /// Makes the file durable, puts it in the destination's place and makes that durable too.
    /// @param keepExisting gives EEXIST if the destination is there, in the same step.
    int becomeDestination(bool keepExisting);

    int get() const { return file_->get(); }

private:
    int createUnder(const std::string& path);

    const std::string destination_;
    const std::string directory_;
    const std::string prefix_;
    std::string path_;  ///< empty while there is no file
    std::unique_ptr<FileDescriptor> file_;
};

/// Gives an open file the owner and the mode of another. Where the owner may not be given, the mode is cut down to the
/// owner's part: the group's part was meant for another group. @return 0 or an errno.
int adoptPermissions(int file, const struct stat& model);

/// Renames, giving EEXIST instead of replacing if keepExisting is set. @return 0 or an errno.
int renameFile(const std::string& from, const std::string& to, bool keepExisting);

/// Makes the entries of the folder around a file durable. @return 0 or an errno.
int syncDirectoryOf(const std::string& path);

/// The same for an open folder, which is closed. @param descriptor what open() gave; -1 gives errno.
int syncDirectory(int descriptor);

}  // namespace QuillCoreUtils
