#include "Pages.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace docs {

std::string readPage(const std::string& path) {
    std::ifstream file(std::filesystem::path(CORVID_SOURCE_DIRECTORY) / path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string blockOf(const std::string& page, const std::string& language) {
    const std::string fence = "```" + language + "\n";
    const std::size_t place = page.find(fence);
    if (place == std::string::npos) {
        return "";
    }
    const std::size_t begin = place + fence.size();
    return page.substr(begin, page.find("```", begin) - begin);
}

}  // namespace docs
