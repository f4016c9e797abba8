#include "fakes/TemporaryDirectory.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fakes {

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "corvid-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make a temporary directory at " + pattern);
    }
    path_ = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, const std::string& contents) const {
    const std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << contents;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
    return file.string();
}

std::string TemporaryDirectory::read(const std::string& name) const {
    std::ifstream stream(path_ / name, std::ios::binary);
    std::ostringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

bool TemporaryDirectory::exists(const std::string& name) const { return std::filesystem::exists(path_ / name); }

}  // namespace fakes
