#include "exporting/TargetFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "ConfigStoreConstants.h"
#include "impl/quill/SiblingFile.h"
#include "quill/FileUtils.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;
using QuillCoreUtils::FileUtils;

std::string withoutLinks(const std::string& path) {
    std::error_code error;
    const fs::path resolved = fs::weakly_canonical(fs::absolute(path, error), error);
    return error ? path : resolved.string();
}

/// Whether the module moves a file aside under such a name when it cannot read it; earlier ones get numbers.
bool isBackupOf(const std::string& fileName, const std::string& name) {
    return name.starts_with(fs::path(fileName).stem().string() + "-backup") && name.ends_with(".xml");
}

mode_t modeOfNewFiles() {
    const mode_t mask = umask(0);
    umask(mask);
    return (S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH) & ~mask;
}

[[noreturn]] void fail(const std::string& path, const char* reason) {
    throw std::runtime_error("the file cannot be written: " + path + (*reason == '\0' ? "" : ": ") + reason);
}

}  // namespace

TargetFile::TargetFile(const std::string& path) : path_(path), resolved_(withoutLinks(path)) {}

bool TargetFile::isThere() const {
    std::error_code error;
    return fs::symlink_status(path_, error).type() != fs::file_type::not_found;
}

bool TargetFile::isWritable() const {
    std::error_code error;
    const fs::file_type type = fs::status(resolved_, error).type();
    const bool isFile = type == fs::file_type::not_found || type == fs::file_type::regular;
    const std::string folder = FileUtils::getParentDirectory(resolved_);
    return isFile && !FileUtils::getFileName(path_).empty() && fs::is_directory(folder, error) &&
           access(folder.c_str(), W_OK | X_OK) == 0;
}

bool TargetFile::isSameAs(const std::string& path) const {
    std::error_code error;
    return resolved_ == withoutLinks(path) || fs::equivalent(resolved_, path, error);
}

bool TargetFile::belongsToModule(const host::ReferenceHost::Options& host) const {
    using namespace ConfigStoreConstants;
    for (const std::string& file : {host.configDirectory + "/" + LOCAL_FILE_CONFIG_STORE_FILE_NAME,
                                    host.configDirectory + "/" + TFTP_OVERRIDE_FILE_NAME,
                                    host.configDirectory + "/" + LEGACY_TFTP_CACHE_FILE_NAME, host.bootstrapFilePath,
                                    host.installationDirectory + "/" + DEFAULT_CONFIG_STORE_FILE_NAME}) {
        if (withoutLinks(file) == resolved_) {
            return true;
        }
    }
    const std::string name = FileUtils::getFileName(resolved_);
    if (isIn(host.configDirectory + "/" + CACHE_STORE_DIRECTORY_STRING)) {
        return name.ends_with(".xml") || (name.starts_with("cached") && name.ends_with(".download.json"));
    }
    return (isIn(host.configDirectory) && isBackupOf(LOCAL_FILE_CONFIG_STORE_FILE_NAME, name)) ||
           (isIn(host.installationDirectory) && isBackupOf(DEFAULT_CONFIG_STORE_FILE_NAME, name));
}

bool TargetFile::isIn(const std::string& folder) const {
    return FileUtils::getParentDirectory(resolved_) == withoutLinks(folder);
}

void TargetFile::write(const std::string& contents, bool isPrivate, bool replaces) const {
    const bool keepsPermissions = replaces && !isPrivate && FileUtils::fileExists(resolved_);
    if (!keepsPermissions) {
        writeAnew(contents, isPrivate, replaces);
    } else if (!FileUtils::writeFileAtomically(resolved_, contents)) {
        fail(path_, "");
    }
}

void TargetFile::writeAnew(const std::string& contents, bool isPrivate, bool replaces) const {
    QuillCoreUtils::SiblingFile sibling(resolved_);
    int problem = sibling.create();  // for its owner alone
    if (problem == 0) {
        problem = sibling.append(contents);
    }
    if (problem == 0 && !isPrivate) {
        problem = QuillCoreUtils::errorOf(fchmod(sibling.get(), modeOfNewFiles()));
    }
    if (problem == 0) {
        problem = sibling.becomeDestination(!replaces);
    }
    if (problem != 0) {
        fail(path_, std::strerror(problem));
    }
}

}  // namespace corvidctl
