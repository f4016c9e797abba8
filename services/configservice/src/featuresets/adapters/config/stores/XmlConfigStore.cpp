#include "stores/XmlConfigStore.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "ConfigStoreConstants.h"
#include "tessel/FipsUtils.h"
#include "tessel/TesselLogger.h"
#include "xml/XmlConfigParser.h"

XmlConfigStore::XmlConfigStore(std::string name, std::int32_t priority, bool isLocal, std::string filePath,
                               bool readFromFile, XmlConfigStore* former)
    : filePath_(std::move(filePath)), isLocal_(isLocal), priority_(priority), name_(std::move(name)) {
    if (!readFromFile || (former != nullptr && takeOverReading(*former)) || read()) {
        return;
    }
    if (former != nullptr && former->filePath_ == filePath_) {
        TesselLog(TesselLogger_getLogger("XmlConfigStore"), 3, __FILE__, __LINE__, "XmlConfigStore",
                  "file cannot be read, the values from before are kept: " + filePath_);
        setValues(former->copyValues());
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
    const tessel::ScopedLock lock(changesMutex_);
    return readFile_;
}

KeyedValues::Entries XmlConfigStore::copyEntries() const {
    const tessel::ScopedReadLock lock(lock_);
    return values_.entries();
}

bool XmlConfigStore::read() {
    ConfigMap values;
    SensitiveKeySet unusedMarks;
    const FileStamp file = FileStamp::beforeReading(filePath_);
    const XmlConfigParser::Reading reading = XmlConfigParser::read(filePath_, values, unusedMarks);
    // What FIPS mode has made of the values does not outlive it.
    const bool isAsInFile = reading == XmlConfigParser::Reading::Done && !tessel::common::FipsUtils::isFipsEnabled();
    exchange(std::move(values), isAsInFile ? file : FileStamp());
    return reading != XmlConfigParser::Reading::Refused;
}

bool XmlConfigStore::getValue(const std::wstring& key, std::wstring& value) { return lookUp(FoldedKey(key), value); }

bool XmlConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    if (key.equals(ConfigStoreConstants::certificateValidationEnabled)) {
        return answer(nullptr, key, value);
    }
    const tessel::ScopedReadLock lock(lock_);
    const std::wstring* const found = values_.find(key);
    return answer(found != nullptr && isRemoved(key) ? nullptr : found, key, value);
}

void XmlConfigStore::expect(std::span<const FoldedKey> keys) {
    const tessel::ScopedReadLock lock(lock_);
    values_.fetchAhead(keys);
}

bool XmlConfigStore::isRemoved(const FoldedKey& key) const {
    if (!hasRemoved_.load(std::memory_order_acquire)) {
        return false;
    }
    const tessel::ScopedLock changesLock(changesMutex_);
    return removed_.count(key.text()) > 0;
}

bool XmlConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const tessel::ScopedWriteLock lock(lock_);
    const tessel::ScopedLock changesLock(changesMutex_);
    for (const std::wstring& removed : removed_) {
        values_.erase(FoldedKey(removed));
    }
    removed_.clear();
    hasRemoved_ = false;
    values_.set(FoldedKey(key), value);
    readFile_ = FileStamp();
    return true;
}

std::vector<std::wstring> XmlConfigStore::getKeys() {
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock changesLock(changesMutex_);
    std::vector<std::wstring> keys = values_.keys();
    if (removed_.empty()) {
        return keys;
    }
    std::vector<std::wstring> present;
    std::set_difference(keys.begin(), keys.end(), removed_.begin(), removed_.end(), std::back_inserter(present),
                        caseInsensitiveMapComparator());
    return present;
}

bool XmlConfigStore::removeValue(const std::wstring& key) {
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock changesLock(changesMutex_);
    readFile_ = FileStamp();
    if (values_.find(FoldedKey(key)) == nullptr || !removed_.insert(key).second) {
        return false;
    }
    hasRemoved_.store(true, std::memory_order_release);
    return true;
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
    const tessel::ScopedReadLock lock(lock_);
    const tessel::ScopedLock changesLock(changesMutex_);
    ConfigMap values = values_.map();
    for (const std::wstring& removed : removed_) {
        values.erase(removed);
    }
    return values;
}

void XmlConfigStore::setValues(ConfigMap values) { exchange(std::move(values), FileStamp()); }

/// @tparam Values what KeyedValues takes.
template <typename Values>
void XmlConfigStore::exchange(Values values, const FileStamp& file) {
    const tessel::ScopedWriteLock lock(lock_);
    const tessel::ScopedLock changesLock(changesMutex_);
    values_.exchange(std::move(values));
    readFile_ = file;
}
