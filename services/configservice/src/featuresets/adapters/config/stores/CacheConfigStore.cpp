#include "stores/CacheConfigStore.h"

#include <utility>

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
    write(XmlConfigParser::Existing::Replace);
}

void CacheConfigStore::restoreFile() {
    tessel::ScopedLock lock(fileMutex_);
    write(XmlConfigParser::Existing::LeaveAlone);
}

bool CacheConfigStore::hasUnwrittenValues() {
    tessel::ScopedLock lock(fileMutex_);
    return fileLeft_.has_value() && *fileLeft_ == FileStamp::of(getFilePath());
}

void CacheConfigStore::write(XmlConfigParser::Existing existing) {
    using Outcome = XmlConfigParser::Outcome;
    const Outcome outcome = XmlConfigParser::write(getFilePath(), copyValues(), existing);
    if (outcome == Outcome::Written) {
        fileLeft_.reset();
    } else if (outcome != Outcome::LeftAlone) {
        fileLeft_ = FileStamp::of(getFilePath());
    }
}
