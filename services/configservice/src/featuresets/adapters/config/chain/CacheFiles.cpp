#include "chain/CacheFiles.h"

#include "ConfigStoreConstants.h"
#include "quill/FileUtils.h"

using QuillCoreUtils::FileUtils;

std::string CacheFiles::directory() {
    return FileUtils::getConfigDirectory() + FileUtils::FileSeparator() +
           ConfigStoreConstants::CACHE_STORE_DIRECTORY_STRING;
}

std::string CacheFiles::nameFor(const std::string& storeName) { return "cached" + storeName + ".xml"; }

std::string CacheFiles::path(const std::string& fileName) {
    return directory() + FileUtils::FileSeparator() + fileName;
}

std::string CacheFiles::provisioningPath() {
    return path(nameFor(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME));
}
