#include "impl/quill/FolderCursor.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace QuillCoreUtils {
namespace {

// A place to stand on takes no right to read the folder.
constexpr int placeFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

std::vector<std::string_view> partsOf(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find('/'));
        if (!part.empty()) {
            parts.push_back(part);
        }
        path.remove_prefix(std::min(part.size() + 1, path.size()));
    }
    return parts;
}

}  // namespace

FolderCursor::FolderCursor(const std::string& top)
    : top_(uninterrupted([&] { return ::open(top.c_str(), placeFlags); })), error_(top_.isOpen() ? 0 : errno) {}

int FolderCursor::moveTo(std::string_view folder) {
    if (error_ != 0) {
        return error_;
    }
    const std::vector<std::string_view> parts = partsOf(folder);
    std::size_t common = 0;
    while (common < parts.size() && common < steps_.size() && parts[common] == steps_[common].name) {
        ++common;
    }
    if (!goUpTo(common)) {
        goToTop();
    }
    for (std::size_t depth = steps_.size(); depth < parts.size(); ++depth) {
        if (const int error = goDown(parts[depth])) {
            return error;
        }
    }
    return 0;
}

bool FolderCursor::goUpTo(std::size_t depth) {
    while (steps_.size() > depth) {
        if (!goUp()) {
            return false;
        }
    }
    return true;
}

bool FolderCursor::goUp() {
    auto parent = std::make_unique<FileDescriptor>(
        uninterrupted([&] { return openat(descriptor(), "..", placeFlags | O_NOFOLLOW); }));
    struct stat status {};
    // A folder that has been moved away has another parent now.
    if (!parent->isOpen() || fstat(parent->get(), &status) != 0 || status.st_dev != steps_.back().device ||
        status.st_ino != steps_.back().number) {
        return false;
    }
    here_ = std::move(parent);
    steps_.pop_back();
    return true;
}

void FolderCursor::goToTop() {
    here_ = nullptr;
    steps_.clear();
}

int FolderCursor::goDown(std::string_view name) {
    Step step{std::string(name), 0, 0};
    struct stat status {};
    if (fstat(descriptor(), &status) != 0) {
        return errno;
    }
    auto child = std::make_unique<FileDescriptor>(
        uninterrupted([&] { return openat(descriptor(), step.name.c_str(), placeFlags | O_NOFOLLOW); }));
    if (!child->isOpen()) {
        return errno;
    }
    step.device = status.st_dev;
    step.number = status.st_ino;
    here_ = std::move(child);
    steps_.push_back(std::move(step));
    return 0;
}

}  // namespace QuillCoreUtils
