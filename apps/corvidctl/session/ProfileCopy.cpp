#include "session/ProfileCopy.h"

#include <filesystem>
#include <system_error>

namespace corvidctl {

namespace fs = std::filesystem;

namespace {

constexpr int DEEPEST = 3;  // a link may lead back to where it stands

void copyTree(const fs::path& from, const fs::path& to) {
    constexpr auto links = fs::directory_options::follow_directory_symlink;
    for (auto entry = fs::recursive_directory_iterator(from, links); entry != fs::end(entry); ++entry) {
        std::error_code broken;  // a link that leads nowhere is no file
        const fs::file_type type = fs::status(entry->path(), broken).type();
        const fs::path target = to / entry->path().lexically_relative(from);
        if (type == fs::file_type::regular) {
            fs::copy_file(entry->path(), target);
        } else if (type == fs::file_type::directory && !fs::equivalent(entry->path(), to) && entry.depth() < DEEPEST) {
            fs::create_directory(target);
        } else if (type == fs::file_type::directory) {
            entry.disable_recursion_pending();
        }
    }
}

}  // namespace

ProfileCopy::ProfileCopy(const std::string& profile) {
    if (fs::exists(profile)) {
        copyTree(profile, path());
    }
}

}  // namespace corvidctl
