#include "ProfileCopy.h"

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace corvidctl {

namespace fs = std::filesystem;

ProfileCopy::ProfileCopy(const std::string& profile) {
    std::string path = (fs::temp_directory_path() / "corvid-demo-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), path);
    }
    path_ = path;
    if (fs::exists(profile)) {
        fs::copy(profile, path_, fs::copy_options::recursive);
    }
}

ProfileCopy::~ProfileCopy() {
    std::error_code ignored;  // a temporary folder that stays behind does no harm
    fs::remove_all(path_, ignored);
}

}  // namespace corvidctl
