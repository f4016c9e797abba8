#include "Oracle.h"

#include <libxml/xmlerror.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
    const std::string file = path_ + "/" + name;
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    return file;
}

}  // namespace fuzz
