#include "output/ShownPath.h"

#include <filesystem>

namespace corvidctl {

std::string shownPath(const std::string& path) {
    std::error_code error;
    const std::string here = std::filesystem::current_path(error).string() + "/";
    const bool isBelow = !error && here.size() > 2 && path.size() > here.size() && path.rfind(here, 0) == 0;
    return isBelow ? path.substr(here.size()) : path;
}

}  // namespace corvidctl
