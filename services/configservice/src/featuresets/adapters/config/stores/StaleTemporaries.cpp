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

bool isTemporaryOfCacheFile(const std::string& path) {
    std::string_view name = path;
    constexpr std::string_view ending = XmlConfigParser::TEMPORARY_ENDING;
    if (FileUtils::getParentDirectory(path) != CacheFiles::directory() || !name.ends_with(ending)) {
        return false;
    }
    name.remove_suffix(ending.size());
    return CacheFiles::isName(name.substr(CacheFiles::directory().size() + 1));
}

std::vector<std::string> temporariesOfCacheFiles() {
    std::vector<std::string> files;
    FileUtils::getFilesFromDirectory(CacheFiles::directory(), XmlConfigParser::TEMPORARY_ENDING, files);
    std::erase_if(files, [](const std::string& file) { return !isTemporaryOfCacheFile(file); });
    return files;
}

}  // namespace

void StaleTemporaries::remove() {
    const std::string directory = FileUtils::getConfigDirectory();
    const std::string userFile = ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME;
    const std::string ofUserFile = directory + FileUtils::FileSeparator() + "." + userFile + ".temp";
    if (FileUtils::fileExists(ofUserFile)) {
        removeBetweenWrites(directory, {ofUserFile});
    }
    FileUtils::removeStaleSiblings(directory + FileUtils::FileSeparator() + userFile);
    if (CacheFiles::areStrangers()) {
        return;
    }
    if (const std::vector<std::string> ofCacheFiles = temporariesOfCacheFiles(); !ofCacheFiles.empty()) {
        removeBetweenWrites(CacheFiles::directory(), ofCacheFiles);
    }
}
