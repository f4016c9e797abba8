#include "stores/StaleTemporaries.h"

#include <string>
#include <vector>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "quill/FileRemover.h"
#include "quill/FileUtils.h"
#include "xml/SiblingLock.h"

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

}  // namespace

void StaleTemporaries::remove() {
    const std::string directory = FileUtils::getConfigDirectory();
    const std::string userFile = ConfigStoreConstants::LOCAL_FILE_CONFIG_STORE_FILE_NAME;
    const std::string ofUserFile = directory + FileUtils::FileSeparator() + "." + userFile + ".temp";
    if (FileUtils::fileExists(ofUserFile)) {
        removeBetweenWrites(directory, {ofUserFile});
    }
    FileUtils::removeStaleSiblings(directory + FileUtils::FileSeparator() + userFile);
    std::vector<std::string> ofCacheFiles;
    FileUtils::getFilesFromDirectory(CacheFiles::directory(), ".xml.temp", ofCacheFiles);
    if (!ofCacheFiles.empty()) {
        removeBetweenWrites(CacheFiles::directory(), ofCacheFiles);
    }
}
