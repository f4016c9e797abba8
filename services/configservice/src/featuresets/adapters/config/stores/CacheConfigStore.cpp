#include "stores/CacheConfigStore.h"

#include <utility>

#include "xml/XmlConfigParser.h"

CacheConfigStore::CacheConfigStore(std::string name, std::int32_t priority, std::string filePath)
    : XmlConfigStore(std::move(name), priority, true, std::move(filePath), true) {}

CacheConfigStore::CacheConfigStore(std::string name, std::int32_t priority, std::string filePath,
                                   const ConfigMap& values)
    : XmlConfigStore(std::move(name), priority, true, std::move(filePath), false) {
    setValues(values);
    CacheConfigStore::persistValues();
}

void CacheConfigStore::persistValues() {
    tessel::ScopedLock lock(fileMutex_);
    XmlConfigParser::writeToFile(getFilePath(), *snapshot());
}
