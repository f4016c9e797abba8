#include "comparing/Operand.h"

#include <unistd.h>

#include <filesystem>

#include "comparing/StoreNames.h"
#include "reading/ReadableFile.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;
using Kind = Operand::Kind;

constexpr const char* STORE_PREFIX = "store:";
constexpr const char* FILE_PREFIX = "file:";
constexpr const char* DIRECTORY_PREFIX = "dir:";

/// What stands behind a prefix; empty if the word does not begin with it.
std::string behind(const std::string& prefix, const std::string& word) {
    return word.starts_with(prefix) ? word.substr(prefix.size()) : std::string();
}

Operand checkedFile(const std::string& word, const std::string& path) {
    return {Kind::File, path, isReadableFile(path) ? "" : "'" + word + "': expected a file that can be read"};
}

Operand checkedStore(const std::string& word, const std::string& name) {
    return {Kind::Store, name,
            isNameOfStore(name)
                ? ""
                : "'" + word + "': expected live, a path, or the name of a store, which corvidctl stores lists"};
}

Operand checkedDirectory(const std::string& word, const std::string& path) {
    std::error_code error;
    const bool isReadable = fs::is_directory(path, error) && access(path.c_str(), R_OK | X_OK) == 0;
    return {Kind::Directory, path,
            isReadable ? "" : "'" + word + "': expected a configuration directory that can be read"};
}

}  // namespace

Operand readOperand(const std::string& word) {
    if (word == "live") {
        return {Kind::Live, {}, {}};
    }
    if (const std::string name = behind(STORE_PREFIX, word); !name.empty()) {
        return checkedStore(word, name);
    }
    if (const std::string path = behind(FILE_PREFIX, word); !path.empty()) {
        return checkedFile(word, path);
    }
    if (const std::string path = behind(DIRECTORY_PREFIX, word); !path.empty()) {
        return checkedDirectory(word, path);
    }
    std::error_code error;
    if (fs::symlink_status(word, error).type() == fs::file_type::not_found) {
        return checkedStore(word, word);
    }
    const bool isDirectory = fs::is_directory(word, error);
    if (isNameOfStore(word)) {
        const std::string path = (isDirectory ? DIRECTORY_PREFIX : FILE_PREFIX) + word;
        return {Kind::Store, word,
                "'" + word + "' is a store and a path: expected " + STORE_PREFIX + word + " or " + path};
    }
    return isDirectory ? checkedDirectory(word, word) : checkedFile(word, word);
}

}  // namespace corvidctl
