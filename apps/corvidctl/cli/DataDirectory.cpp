#include "cli/DataDirectory.h"

#include <filesystem>

namespace corvidctl {

std::string dataDirectory() {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        const fs::path beside = (program.parent_path() / "../share/corvid").lexically_normal();
        if (fs::is_directory(beside, error)) {
            return beside.string();
        }
    }
    return CORVID_DATA_DIRECTORY;
}

}  // namespace corvidctl
