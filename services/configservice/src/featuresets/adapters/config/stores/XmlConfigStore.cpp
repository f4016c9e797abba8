#include "stores/XmlConfigStore.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "tessel/FipsUtils.h"
#include "xml/XmlConfigParser.h"

XmlConfigStore::XmlConfigStore(std::string name, std::int32_t priority, bool isLocal, std::string filePath,
                               bool readFromFile, XmlConfigStore* former)
    : filePath_(std::move(filePath)), isLocal_(isLocal), priority_(priority), name_(std::move(name)) {
    if (readFromFile && (former == nullptr || !takeOverReading(*former))) {
        read();
    }
}

bool XmlConfigStore::takeOverReading(const XmlConfigStore& former) {
    const FileStamp file = former.readFile();
    if (!file.exists() || file != FileStamp::of(filePath_)) {
        return false;
    }
    KeyedValues::Entries values = former.copyEntries();
    if (former.readFile() != file) {
        return false;  // changed meanwhile
    }
    exchange(std::move(values), file);
    return true;
}

FileStamp XmlConfigStore::readFile() const {
    const tessel::ScopedLock lock(valuesMutex_);
    return readFile_;
}

KeyedValues::Entries XmlConfigStore::copyEntries() const {
    const tessel::ScopedLock lock(valuesMutex_);
    return values_.entries();
}

void XmlConfigStore::read() {
    ConfigMap values;
    SensitiveKeySet unusedMarks;
    const FileStamp file = FileStamp::beforeReading(filePath_);
    const bool isRead = XmlConfigParser::readFromFile(filePath_, values, unusedMarks);
    // What FIPS mode has made of the values does not outlive it.
    const bool isAsInFile = isRead && !tessel::common::FipsUtils::isFipsEnabled();
    exchange(std::move(values), isAsInFile ? file : FileStamp());
}

bool XmlConfigStore::getValue(const std::wstring& key, std::wstring& value) { return lookUp(FoldedKey(key), value); }

bool XmlConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    if (key.equals(ConfigStoreConstants::certificateValidationEnabled)) {
        return answer(nullptr, key, value);
    }
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock valuesLock(valuesMutex_);
    return answer(values_.find(key), key, value);
}

bool XmlConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const tessel::ScopedWriteLock lock(lock_);
    const tessel::ScopedLock valuesLock(valuesMutex_);
    values_.set(FoldedKey(key), value);
    readFile_ = FileStamp();
    return true;
}

std::vector<std::wstring> XmlConfigStore::getKeys() {
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock valuesLock(valuesMutex_);
    return values_.keys();
}

bool XmlConfigStore::removeValue(const std::wstring& key) {
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock valuesLock(valuesMutex_);
    readFile_ = FileStamp();
    return values_.erase(FoldedKey(key));
}

void XmlConfigStore::removeAllValues() {}

bool XmlConfigStore::isReadOnly() { return true; }

std::string XmlConfigStore::getName() { return name_; }

std::int32_t XmlConfigStore::getPriority() { return priority_; }

void XmlConfigStore::persistValues() {}

void XmlConfigStore::destroy() {}

bool XmlConfigStore::isLocal() { return isLocal_; }

bool XmlConfigStore::waitForStoreReady() { return true; }

bool XmlConfigStore::shouldCacheConfigStore() { return false; }

ConfigMap XmlConfigStore::copyValues() const {
    const tessel::ScopedLock lock(valuesMutex_);
    return values_.map();
}

void XmlConfigStore::setValues(ConfigMap values) { exchange(std::move(values), FileStamp()); }

/// @tparam Values what KeyedValues takes.
template <typename Values>
void XmlConfigStore::exchange(Values values, const FileStamp& file) {
    const tessel::ScopedLock lock(valuesMutex_);
    values_.exchange(std::move(values));
    readFile_ = file;
}
