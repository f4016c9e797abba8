#include "validating/FileContents.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <system_error>

#include "cli/WrongUse.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::FileDescriptor;
using QuillCoreUtils::uninterrupted;

/// Four times what a server's file may have.
constexpr std::size_t LARGEST_IRREGULAR = 64 * 1024 * 1024;

/// Reads a file to its end and hands over each piece of it.
template <class Take>
void readPieces(const std::string& path, const Take& take) {
    const auto refuse = [&path](const char* expected) -> WrongUse {
        return WrongUse("validate: FILE '" + path + "': expected " + expected);
    };
    const FileDescriptor file(uninterrupted([&path] { return open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC); }));
    struct stat status {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0) {
        throw refuse("a file that can be read");
    }
    std::size_t size = 0;
    std::array<char, 65536> piece{};
    ssize_t count = 0;
    while ((count = uninterrupted([&] { return read(file.get(), piece.data(), piece.size()); })) > 0) {
        size += static_cast<std::size_t>(count);
        take(std::string_view(piece.data(), static_cast<std::size_t>(count)));
        if (!S_ISREG(status.st_mode) && size > LARGEST_IRREGULAR) {
            throw refuse("a pipe or a device that ends within 64 MiB");
        }
    }
    if (count < 0) {
        throw refuse("a file that can be read");
    }
}

}  // namespace

std::string readToEnd(const std::string& path) {
    std::string contents;
    readPieces(path, [&contents](std::string_view piece) { contents += piece; });
    return contents;
}

void readThrough(const std::string& path) {
    readPieces(path, [](std::string_view) {});
}

FileInMemory::FileInMemory(const std::string& contents) : file_(memfd_create("document", MFD_CLOEXEC)) {
    std::size_t written = 0;
    while (file_.isOpen() && written < contents.size()) {
        const ssize_t count =
            uninterrupted([&] { return write(file_.get(), contents.data() + written, contents.size() - written); });
        if (count < 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    if (!file_.isOpen() || written < contents.size()) {
        throw std::system_error(errno, std::generic_category(), "a file in memory");
    }
}

}  // namespace corvidctl
