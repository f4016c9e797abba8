#include "quill/FileUtils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <system_error>

#include "impl/quill/DirectoryWalk.h"
#include "impl/quill/FileDescriptor.h"
#include "impl/quill/FileReplacement.h"
#include "impl/quill/SiblingFile.h"
#include "quill/StringUtils.h"
#include "system/World.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/TesselLogger.h"

namespace QuillCoreUtils {
namespace {

constexpr char separator = '/';

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("FileUtils");
    return instance;
}

bool isAbsent(int error) { return error == ENOENT || error == ENOTDIR; }

/// Logs a failure. @return true if there was none.
bool succeeded(int error, const char* function, const std::string& attempt) {
    if (error != 0) {
        const std::string reason = std::generic_category().message(error);
        TesselLog(logger(), 3, __FILE__, __LINE__, function, "cannot " + attempt + ": " + reason);
    }
    return error == 0;
}

std::string quoted(const std::string& path) { return "[" + inOneLine(path) + "]"; }

std::string quotedPair(const std::string& from, const std::string& to) { return quoted(from) + " to " + quoted(to); }

int makeOneDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), S_IRWXU) == 0) {
        // Some umasks take the owner's rights too.
        const int error = errorOf(fchmodat(AT_FDCWD, path.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW));
        // A power cut would take the folder, and every file in it, however durable those are. Where the folder above
        // cannot be synced this one is there all the same.
        succeeded(syncDirectoryOf(path), "createDirectory", "sync the folder that holds " + quoted(path));
        return error;
    }
    const int error = errno;
    struct stat status {};
    const bool isThere = error == EEXIST && ::stat(path.c_str(), &status) == 0;
    return isThere ? (S_ISDIR(status.st_mode) ? 0 : ENOTDIR) : error;
}

std::string withoutTrailingSeparators(const std::string& path) {
    const std::size_t last = path.find_last_not_of(separator);
    return last == std::string::npos ? path.substr(0, 1) : path.substr(0, last + 1);
}

int makeDirectories(const std::string& givenPath) {
    const std::string path = withoutTrailingSeparators(givenPath);
    const int error = makeOneDirectory(path);
    const std::string parent = FileUtils::getParentDirectory(path);
    if (error != ENOENT || parent.empty()) {
        return error;
    }
    const int parentError = makeDirectories(parent);
    return parentError != 0 ? parentError : makeOneDirectory(path);
}

int readAll(int file, std::string& contents) {
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t length = uninterrupted([&] { return ::read(file, buffer.data(), buffer.size()); });
        if (length <= 0) {
            return length == 0 ? 0 : errno;
        }
        contents.append(buffer.data(), static_cast<std::size_t>(length));
        tessel::SecureStringUtils::TesselZeroMemory(buffer.data(), static_cast<std::size_t>(length));
    }
}

int readRegularFile(const std::string& path, std::string& contents) {
    int descriptor = -1;
    if (const int error = openRegularFile(path, descriptor)) {
        return error;
    }
    const FileDescriptor file(descriptor);
    return readAll(file.get(), contents);
}

/// "xml" and ".xml" become ".xml"; empty stays empty.
std::string foldedEnding(const std::string& extension) {
    return toLowercase(extension.empty() || extension.starts_with('.') ? extension : "." + extension);
}

}  // namespace

std::string FileUtils::getConfigDirectory() { return platform::getWorld()->configDirectory; }

std::string FileUtils::getInstallationDirectory() { return platform::getWorld()->installationDirectory; }

std::string FileUtils::getBootstrapFilePath() { return platform::getWorld()->bootstrapFilePath; }

std::string FileUtils::FileSeparator() { return {separator}; }

bool FileUtils::fileExists(const std::string& path) {
    struct stat status {};
    const int error = errorOf(::stat(path.c_str(), &status));
    return !isAbsent(error) && succeeded(error, "fileExists", "look at " + quoted(path));
}

bool FileUtils::createDirectory(const std::string& path) {
    return succeeded(makeDirectories(path), "createDirectory", "create the folder " + quoted(path));
}

bool FileUtils::removeFile(const std::string& path) {
    return succeeded(errorOf(::unlink(path.c_str())), "removeFile", "remove " + quoted(path));
}

bool FileUtils::syncFolderOf(const std::string& path) {
    return succeeded(syncDirectoryOf(path), "syncFolderOf", "sync the folder that holds " + quoted(path));
}

void FileUtils::logRemoval(const std::string& path, int error) {
    if (error != ENOENT) {
        succeeded(error, "removeFile", "remove " + quoted(path));
    }
}

bool FileUtils::copyFile(const std::string& from, const std::string& to, bool failIfExists) {
    return succeeded(copyOver(from, to, failIfExists), "copyFile", "copy " + quotedPair(from, to));
}

int FileUtils::moveFile(const std::string& from, const std::string& to, bool failIfExists) {
    const int error = moveOver(from, to, failIfExists);
    succeeded(error, "moveFile", "move " + quotedPair(from, to));
    return error;
}

bool FileUtils::writeFileAtomically(const std::string& path, const std::string& contents) {
    return succeeded(writeOver(path, contents), "writeFileAtomically", "write " + quoted(path));
}

bool FileUtils::replaceFileDurably(const std::string& finishedSibling, const std::string& destination) {
    return succeeded(putInPlace(finishedSibling, destination), "replaceFileDurably",
                     "move " + quotedPair(finishedSibling, destination));
}

void FileUtils::removeStaleSiblings(const std::string& destination) { removeSiblingsLeftBeside(destination); }

bool FileUtils::isStrangersLink(const std::string& path) {
    std::string resolved;
    // What stands behind a separator is never the link itself.
    return resolveLinks(withoutTrailingSeparators(path), resolved) == EPERM;
}

bool FileUtils::readFile(const std::string& path, std::string& contents) {
    contents.clear();
    const bool done = succeeded(readRegularFile(path, contents), "readFile", "read " + quoted(path));
    if (!done) {
        contents.clear();
    }
    return done;
}

void FileUtils::getFilesFromDirectory(const std::string& directory, const std::string& extension,
                                      std::vector<std::string>& files) {
    const auto onUnreadable = [](const std::string& path, int error) {
        if (!isAbsent(error)) {
            succeeded(error, "getFilesFromDirectory", "list " + quoted(path));
        }
    };
    files = filesBelow(directory, Listed::FilesAndLinks, onUnreadable);
    const std::string ending = foldedEnding(extension);
    std::erase_if(files, [&](const std::string& file) { return !toLowercase(file).ends_with(ending); });
}

std::string FileUtils::getFileName(const std::string& path) { return path.substr(path.rfind(separator) + 1); }

std::string FileUtils::getParentDirectory(const std::string& path) {
    const std::size_t last = path.rfind(separator);
    return last == std::string::npos ? std::string() : path.substr(0, last == 0 ? 1 : last);
}

}  // namespace QuillCoreUtils
