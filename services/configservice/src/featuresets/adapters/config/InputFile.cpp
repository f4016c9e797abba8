#include "InputFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>

namespace {

/// The opening of a pipe does not wait for its other end. @param error receives an errno, or 0.
int openUnlessEndless(const std::string& path, InputFile::Pipes pipes, int& error) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        error = errno;
        return -1;
    }
    const bool isPipeToRead = S_ISFIFO(status.st_mode) && pipes == InputFile::Pipes::Read;
    if (!isPipeToRead && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        error = EINVAL;
        return -1;
    }
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    error = descriptor < 0 ? errno : 0;
    return descriptor;
}

void waitForBytes(int descriptor) {
    pollfd waited{descriptor, POLLIN, 0};
    ::poll(&waited, 1, -1);
}

}  // namespace

InputFile::InputFile(const std::string& path, Pipes pipes) : descriptor_(openUnlessEndless(path, pipes, error_)) {}

InputFile::~InputFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool InputFile::mayBeThere(const std::string& path) {
    std::error_code unseen;
    return std::filesystem::status(path, unseen).type() != std::filesystem::file_type::not_found;
}

bool InputFile::isKnownAsOther(const std::string& path) {
    std::error_code unseen;
    const std::filesystem::file_status status = std::filesystem::status(path, unseen);
    return is_directory(status) || is_other(status);
}

int InputFile::read(char* bytes, int most) {
    if (descriptor_ < 0) {
        return -1;
    }
    ssize_t count = ::read(descriptor_, bytes, static_cast<std::size_t>(most));
    while (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        waitForBytes(descriptor_);
        count = ::read(descriptor_, bytes, static_cast<std::size_t>(most));
    }
    if (count < 0) {
        error_ = errno;
    }
    return static_cast<int>(count);
}
