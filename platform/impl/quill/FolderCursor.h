#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "impl/quill/FileDescriptor.h"

namespace QuillCoreUtils {

/// Stands on one folder of a tree and moves to others, one level at a time and through no link: neither the depth of
/// the tree nor the length of its paths has a limit, and a folder that another process exchanges for a link meanwhile
/// leads nowhere. No more than three descriptors are open, whatever the depth. For one thread.
class FolderCursor {
public:
    /// Stands on the top of the tree, if it can be opened. @param top may itself be a link, or be reached by links.
    explicit FolderCursor(const std::string& top);

    FolderCursor(const FolderCursor&) = delete;
    FolderCursor& operator=(const FolderCursor&) = delete;

    /// Moves to a folder. The way there leads over the nearest folder that the old and the new place have in common;
    /// where that has been moved away meanwhile, over the top.
    /// @param folder below the top, without a leading separator; empty for the top itself.
    /// @return 0, or why the folder cannot be reached; the cursor then stands somewhere on the way to it.
    int moveTo(std::string_view folder);

    /// Where the cursor stands: for fstatat(), unlinkat() and the like; it cannot be read itself.
    int descriptor() const { return here_ != nullptr ? here_->get() : top_.get(); }

private:
    /// A step down from a folder, and which folder that was.
    struct Step {
        std::string name;
        dev_t device;
        ino_t number;
    };

    bool goUpTo(std::size_t depth);
    bool goUp();
    void goToTop();
    int goDown(std::string_view name);

    const FileDescriptor top_;
    const int error_;                       ///< why the top cannot be opened
    std::unique_ptr<FileDescriptor> here_;  ///< null on the top
    std::vector<Step> steps_;
};

}  // namespace QuillCoreUtils
