#include "stores/StaleTemporaries.h"

#include <string>
#include <string_view>
#include <vector>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/FileRemover.h"
#include "quill/FileUtils.h"
#include "xml/SiblingLock.h"
#include "xml/XmlConfigParser.h"

using QuillCoreUtils::FileRemover;
using QuillCoreUtils::FileUtils;

namespace {

void removeBetweenWrites(const std::string& directory, const std::vector<std::string>& files) {
    FileRemover remover(directory);
    for (const std::string& file : files) {
        int error = 0;
        {
            // Whoever has it writes no more: what is there still is nobody's. No line is logged under that lock.
            const SiblingLock noWriteIsUnderWay(directory);
            error = remover.remove(file);
        }
        FileUtils::logRemoval(file, error);
    }
}

bool isTemporaryOfCacheFile(std::string_view name) {
    constexpr std::string_view ending = XmlConfigParser::TEMPORARY_ENDING;
    if (!name.ends_with(ending)) {
        return false;
    }
    name.remove_suffix(ending.size());
    return CacheFiles::isName(name);
}

/// Full paths of what lies in the cache folder itself.
std::vector<std::string> filesOfTheCache() {
    std::vector<std::string> files;
    FileUtils::getFilesFromDirectory(CacheFiles::directory(), "", files);
    std::erase_if(
        files, [](const std::string& file) { return FileUtils::getParentDirectory(file) != CacheFiles::directory(); });
    return files;
}

void removeFromTheCache() {
    std::vector<std::string> temporaries;
    for (const std::string& file : filesOfTheCache()) {
        const std::string name = FileUtils::getFileName(file);
        if (isTemporaryOfCacheFile(name)) {
            temporaries.push_back(file);
        } else if (CacheFiles::isName(name)) {
            // The user's link to a file of another file system: what becomes that one is made beside it.
            FileUtils::removeStaleSiblings(file);
            FileUtils::removeStaleSiblings(CacheFiles::noteBeside(file));
        }
    }
    if (!temporaries.empty()) {
        removeBetweenWrites(CacheFiles::directory(), temporaries);
    }
}

}  // namespace

void StaleTemporaries::remove() {
    const std::string directory = FileUtils::getConfigDirectory();
    if (FileUtils::isStrangersLink(directory)) {
        return;
    }
    const std::string userFile = ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME;
    const std::string ofUserFile = directory + FileUtils::FileSeparator() + "." + userFile + ".temp";
    if (FileUtils::fileExists(ofUserFile)) {
        removeBetweenWrites(directory, {ofUserFile});
    }
    FileUtils::removeStaleSiblings(directory + FileUtils::FileSeparator() + userFile);
    if (!CacheFiles::areStrangers()) {
        removeFromTheCache();
    }
}
