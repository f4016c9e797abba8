#include "stores/XmlConfigStore.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/DisableP2PCallOnFips.h"
#include "quill/StringUtils.h"
#include "xml/XmlConfigParser.h"

XmlConfigStore::XmlConfigStore(std::string name, std::int32_t priority, bool isLocal, std::string filePath,
                               bool readFromFile)
    : filePath_(std::move(filePath)),
      values_(std::make_shared<const ConfigMap>()),
      isLocal_(isLocal),
      priority_(priority),
      name_(std::move(name)) {
    if (readFromFile) {
        ConfigMap values;
        SensitiveKeySet unusedMarks;
        XmlConfigParser::readFromFile(filePath_, values, unusedMarks);
        setValues(std::move(values));
    }
}

bool XmlConfigStore::getValue(const std::wstring& key, std::wstring& value) {
    tessel::ScopedReadLock lock(lock_);
    const auto values = snapshot();
    const auto entry = values->find(key);
    if (entry == values->end() ||
        QuillCoreUtils::caseInsensitiveStringEquals(key, ConfigStoreConstants::certificateValidationEnabled)) {
        value.clear();
        return false;
    }
    value = entry->second;
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key, value);
    return true;
}

bool XmlConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    tessel::ScopedWriteLock lock(lock_);
    const auto old = snapshot();
    auto values = std::make_shared<ConfigMap>(*old);
    (*values)[key] = value;
    return replaceValues(old, std::move(values));
}

std::vector<std::wstring> XmlConfigStore::getKeys() {
    tessel::ScopedReadLock lock(lock_);
    const auto values = snapshot();
    std::vector<std::wstring> keys;
    keys.reserve(values->size());
    for (const auto& entry : *values) {
        keys.push_back(entry.first);
    }
    return keys;
}

bool XmlConfigStore::removeValue(const std::wstring& key) {
    tessel::ScopedReadLock lock(lock_);
    while (true) {
        const auto old = snapshot();
        auto values = std::make_shared<ConfigMap>(*old);
        if (values->erase(key) == 0) {
            return false;
        }
        if (replaceValues(old, std::move(values))) {
            return true;
        }
    }
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

std::shared_ptr<const ConfigMap> XmlConfigStore::snapshot() const {
    const tessel::ScopedLock lock(referenceMutex_);
    return values_;
}

void XmlConfigStore::setValues(ConfigMap values) {
    const tessel::ScopedLock lock(referenceMutex_);
    values_ = std::make_shared<const ConfigMap>(std::move(values));
}

bool XmlConfigStore::replaceValues(const std::shared_ptr<const ConfigMap>& old,
                                   std::shared_ptr<const ConfigMap> values) {
    const tessel::ScopedLock lock(referenceMutex_);
    if (values_ != old) {
        return false;
    }
    values_ = std::move(values);
    return true;
}
