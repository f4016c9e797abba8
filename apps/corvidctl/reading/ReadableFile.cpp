#include "reading/ReadableFile.h"

#include <unistd.h>

#include <filesystem>

namespace corvidctl {

bool isReadableFile(const std::string& path) {
    using Type = std::filesystem::file_type;
    std::error_code error;
    const Type type = std::filesystem::status(path, error).type();
    const bool isFile = type == Type::regular || type == Type::fifo || type == Type::character;
    return isFile && access(path.c_str(), R_OK) == 0;
}

}  // namespace corvidctl
