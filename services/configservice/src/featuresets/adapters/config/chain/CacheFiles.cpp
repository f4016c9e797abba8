#include "chain/CacheFiles.h"

#include "ConfigStoreConstants.h"
#include "quill/FileUtils.h"

using QuillCoreUtils::FileUtils;

namespace {

constexpr const char* beginning = "cached";
constexpr const char* ending = ".xml";

}  // namespace

std::string CacheFiles::directory() {
    return FileUtils::getConfigDirectory() + FileUtils::FileSeparator() +
           ConfigStoreConstants::CACHE_STORE_DIRECTORY_STRING;
}

bool CacheFiles::areStrangers() {
    return FileUtils::isStrangersLink(directory()) || FileUtils::isStrangersLink(FileUtils::getConfigDirectory());
}

std::string CacheFiles::nameFor(const std::string& storeName) { return beginning + storeName + ending; }

bool CacheFiles::isName(std::string_view name) { return name.starts_with(beginning) && name.ends_with(ending); }

std::string CacheFiles::path(const std::string& fileName) {
    return directory() + FileUtils::FileSeparator() + fileName;
}

std::string CacheFiles::noteBeside(const std::string& copy) {
    return copy.substr(0, copy.rfind('.')) + ".download.json";
}

std::string CacheFiles::provisioningPath() {
    return path(nameFor(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME));
}
