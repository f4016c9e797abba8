#include "quill/FileRemover.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "impl/quill/FolderCursor.h"
#include "impl/quill/SiblingFile.h"

namespace QuillCoreUtils {

FileRemover::FileRemover(std::string folder)
    : folder_(folder.ends_with('/') ? folder : folder + "/"), cursor_(std::make_unique<FolderCursor>(folder)) {}

FileRemover::~FileRemover() = default;

int FileRemover::remove(const std::string& file) {
    if (!file.starts_with(folder_)) {
        return EINVAL;
    }
    const std::string_view below = std::string_view(file).substr(folder_.size());
    const std::size_t separator = below.rfind('/');
    const bool isInTop = separator == std::string_view::npos;
    const std::string_view folder = isInTop ? std::string_view() : below.substr(0, separator);
    if (const int error = cursor_->moveTo(folder)) {
        return error;
    }
    const std::string name(isInTop ? below : below.substr(separator + 1));
    const int error = errorOf(unlinkat(cursor_->descriptor(), name.c_str(), 0));
    if (error == 0) {
        changed_.emplace(folder);
    }
    return error;
}

int FileRemover::syncFolders() {
    int firstError = 0;
    for (const std::string& folder : changed_) {
        int error = cursor_->moveTo(folder);
        if (error == 0) {
            error = syncDirectory(
                uninterrupted([&] { return openat(cursor_->descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
        }
        if (firstError == 0 && error != ENOENT) {
            firstError = error;
        }
    }
    changed_.clear();
    return firstError;
}

}  // namespace QuillCoreUtils
