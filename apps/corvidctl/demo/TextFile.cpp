#include "demo/TextFile.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace corvidctl {

std::string readTextFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error("the file cannot be read: " + path);
    }
    return text;
}

void writeTextFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("the file cannot be written: " + path);
    }
}

}  // namespace corvidctl
