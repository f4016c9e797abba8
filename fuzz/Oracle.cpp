#include "Oracle.h"

#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fuzz {

void demand(bool condition, const char* wrong) {
    if (!condition) {
        std::fprintf(stderr, "found: %s\n", wrong);
        std::abort();
    }
}

void keepXmlQuiet() {
    xmlSetStructuredErrorFunc(nullptr, [](void*, xmlError*) {});
}

Folder::Folder() {
    const bool hasMemory = std::filesystem::is_directory("/dev/shm");
    path_ =
        (hasMemory ? std::filesystem::path("/dev/shm") : std::filesystem::temp_directory_path()) / "corvid-fuzz-XXXXXX";
    demand(mkdtemp(path_.data()) != nullptr, "no folder for the inputs");
}

Folder::~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string Folder::write(const std::string& name, const std::uint8_t* data, std::size_t size) const {
    const std::string path = path_ + "/" + name;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    demand(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size) && ::close(file) == 0,
           "no room for an input");
    return path;
}

}  // namespace fuzz
