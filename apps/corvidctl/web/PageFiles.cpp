#include "web/PageFiles.h"

#include <algorithm>
#include <array>
#include <utility>

namespace corvidctl {

namespace {

using MediaType = std::pair<std::string_view, std::string_view>;
constexpr std::array<MediaType, 7> MEDIA_TYPES = {{
    {".css", "text/css; charset=utf-8"},
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".png", "image/png"},
    {".svg", "image/svg+xml"},
    {".txt", "text/plain; charset=utf-8"},
}};

}  // namespace

const PageFile* pageFileAt(std::string_view path) {
    const std::string_view name = path == "/" ? "index.html" : path.substr(std::min<std::size_t>(1, path.size()));
    const auto files = pageFiles();
    const auto found =
        std::find_if(files.begin(), files.end(), [name](const PageFile& file) { return file.name == name; });
    return found == files.end() ? nullptr : &*found;
}

std::string_view mediaTypeOf(std::string_view name) {
    for (const auto& [ending, type] : MEDIA_TYPES) {
        if (name.ends_with(ending)) {
            return type;
        }
    }
    return "application/octet-stream";
}

}  // namespace corvidctl
