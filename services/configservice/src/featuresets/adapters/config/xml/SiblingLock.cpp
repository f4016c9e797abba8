#include "xml/SiblingLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "quill/FileUtils.h"

namespace {

/// A link of somebody else's leads to a folder whose lock they may hold for ever.
int lockDirectory(const std::string& path) {
    if (QuillCoreUtils::FileUtils::isStrangersLink(path)) {
        return -1;
    }
    const int directory = ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    while (directory >= 0 && ::flock(directory, LOCK_EX) != 0 && errno == EINTR) {
    }
    return directory;
}

}  // namespace

SiblingLock::SiblingLock(const std::string& directory)
    : directory_((XmlFileWriter::siblingMutex().lock(), lockDirectory(directory))) {}

SiblingLock::~SiblingLock() {
    if (directory_ >= 0) {
        ::close(directory_);
    }
    XmlFileWriter::siblingMutex().unlock();
}
