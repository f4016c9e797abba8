#include "session/ProfileCopy.h"

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

namespace corvidctl {

namespace fs = std::filesystem;

namespace {

constexpr int DEEPEST = 3;  // a link may lead back to where it stands
constexpr int REMOVALS = 100;

/// The temporary folders of this program.
struct Existing {
    static Existing& instance() {
        static Existing existing;
        return existing;
    }

    std::mutex mutex;
    std::set<std::string> paths;  ///< under mutex
};

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

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "corvidctl-XXXXXX").string()) {
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path_);
    }
    existing.paths.insert(path_);
}

TemporaryFolder::~TemporaryFolder() {
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    std::error_code ignored;  // a temporary folder that stays behind does no harm
    fs::remove_all(path_, ignored);
    existing.paths.erase(path_);
}

void TemporaryFolder::removeAll() {
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    for (const std::string& path : existing.paths) {
        std::error_code error;
        // A file that comes while the others go makes a removal fail.
        for (int i = 0; i < REMOVALS && (fs::remove_all(path, error), error); ++i) {
        }
    }
}

ProfileCopy::ProfileCopy(const std::string& profile) {
    if (fs::exists(profile)) {
        copyTree(profile, path());
    }
}

}  // namespace corvidctl
