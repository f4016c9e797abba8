#include "xml/SiblingLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <utility>

#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "tessel/Event.h"
#include "tessel/TesselLogger.h"

namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr unsigned long BETWEEN_LOOKS = 5;  // milliseconds

/// A directory, whatever it is called.
using Directory = std::pair<dev_t, ino_t>;

/// Those whose locks are ignored. For whoever holds the process's own half.
std::set<Directory>& ignored() {
    static std::set<Directory> directories;
    return directories;
}

Directory identify(int directory) {
    struct stat status {};
    ::fstat(directory, &status);
    return {status.st_dev, status.st_ino};
}

/// A link of somebody else's leads to a folder where nothing is written.
int openDirectory(const std::string& path) {
    if (QuillCoreUtils::FileUtils::isStrangersLink(path)) {
        return -1;
    }
    return ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

/// False as well on a file system without locks.
bool isHeldByAnother(int directory) { return ::flock(directory, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; }

/// Takes the lock. @return false if another process has held it all the time.
bool takeLock(int directory, Milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (isHeldByAnother(directory)) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        tessel::Event(false).timedWait(BETWEEN_LOOKS);
    }
    return true;
}

/// @return true if the lock is ignored from now on, and was not before.
bool startsToBeIgnored(int directory, Milliseconds patience) {
    if (directory < 0) {
        return false;
    }
    const Directory identity = identify(directory);
    if (takeLock(directory, ignored().contains(identity) ? Milliseconds(0) : patience)) {
        ignored().erase(identity);
        return false;
    }
    return ignored().insert(identity).second;
}

void logIgnored(const std::string& directory) {
    TesselLog(TesselLogger_getLogger("SiblingLock"), 3, __FILE__, __LINE__, "SiblingLock",
              "another process holds the lock of this folder and does not let it go; it is ignored from now on, and if "
              "that process writes the same files one may put what the other has half written in their place: [" +
                  QuillCoreUtils::inOneLine(directory) + "]");
}

}  // namespace

SiblingLock::SiblingLock(const std::string& directory, Milliseconds patience)
    : directory_((XmlFileWriter::siblingMutex().lock(), openDirectory(directory))) {
    if (startsToBeIgnored(directory_, patience)) {
        // A client's log may not come under the lock.
        XmlFileWriter::siblingMutex().unlock();
        logIgnored(directory);
        XmlFileWriter::siblingMutex().lock();
    }
}

SiblingLock::~SiblingLock() {
    if (directory_ >= 0) {
        ::close(directory_);
    }
    XmlFileWriter::siblingMutex().unlock();
}
