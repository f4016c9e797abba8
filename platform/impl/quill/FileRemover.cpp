#include "quill/FileRemover.h"

#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "impl/quill/FolderCursor.h"

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
    if (const int error = cursor_->moveTo(isInTop ? std::string_view() : below.substr(0, separator))) {
        return error;
    }
    const std::string name(isInTop ? below : below.substr(separator + 1));
    return errorOf(unlinkat(cursor_->descriptor(), name.c_str(), 0));
}

}  // namespace QuillCoreUtils
