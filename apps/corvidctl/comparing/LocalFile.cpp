#include "comparing/LocalFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "ConfigStoreConstants.h"
#include "host/XmlDiagnostics.h"
#include "quill/FileUtils.h"
#include "reading/ProblemText.h"
#include "xml/XmlDocument.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

/// The error of writing a byte to a file without a name; 0 if it works, or if the file system has no such files.
int tryWriting(const std::string& directory) {
    const int file = open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) {
        const bool hasNoSuchFiles = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL;
        return hasNoSuchFiles && access(directory.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
    }
    const int error = write(file, "x", 1) == 1 ? 0 : errno;
    close(file);
    return error;
}

/// The directory itself, or the nearest above it that is there.
fs::path nearestExisting(const std::string& directory) {
    fs::path path = directory;
    std::error_code error;
    while (!path.empty() && path != path.root_path() && !fs::exists(path, error)) {
        path = path.parent_path();
    }
    return path;
}

}  // namespace

std::string localFileOf(const std::string& configDirectory) {
    return configDirectory + "/" + ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME;
}

std::string brokenLocalFileOf(const std::string& configDirectory) {
    return fs::path(localFileOf(configDirectory)).replace_extension().string() + "-backup.xml";
}

std::string whyBroken(const std::string& configDirectory) {
    const std::string path = localFileOf(configDirectory);
    std::error_code error;
    if (!fs::is_regular_file(path, error)) {
        return {};
    }
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    std::vector<XmlProblem> problems;
    if (readXmlFile(path, problems) != nullptr) {
        return {};
    }
    for (const XmlProblem& problem : problems) {
        if (problem.isError) {
            return syntaxProblem(problem.line, problem.column);
        }
    }
    return syntaxProblem(0, 0);
}

std::string whyNotWritable(const std::string& directory) {
    if (QuillCoreUtils::FileUtils::isStrangersLink(directory)) {
        return std::strerror(EPERM);
    }
    const fs::path place = nearestExisting(directory);
    std::error_code ignored;
    const int error = fs::is_directory(place, ignored) ? tryWriting(place.string()) : ENOTDIR;
    return error == 0 ? std::string() : std::strerror(error);
}

}  // namespace corvidctl
