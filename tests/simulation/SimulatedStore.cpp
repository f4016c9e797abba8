#include "SimulatedStore.h"

namespace simulation {

SimulatedStore::SimulatedStore(const ModelStore& description)
    : name_(description.name),
      priority_(description.priority),
      readOnly_(description.readOnly),
      local_(description.local),
      cached_(description.cached),
      refusesWrites_(description.refusesWrites) {
    refill(description.entries);
}

std::vector<std::wstring> SimulatedStore::keys() const {
    std::vector<std::wstring> keys;
    for (const auto& [key, value] : values_) {
        keys.push_back(key);
    }
    return keys;
}

std::vector<std::wstring> SimulatedStore::refill(const ModelEntries& entries) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::wstring> oldKeys = keys();
    values_.clear();
    for (const auto& [key, entry] : entries) {
        values_[entry.spelling] = entry.text;
    }
    return oldKeys;
}

bool SimulatedStore::getValue(const std::wstring& key, std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = values_.find(key);
    value = found == values_.end() ? std::wstring() : found->second;
    return found != values_.end();
}

bool SimulatedStore::storeValue(const std::wstring& key, const std::wstring& value) {
    if (refusesWrites_) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    values_[key] = value;
    return true;
}

std::vector<std::wstring> SimulatedStore::getKeys() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return keys();
}

bool SimulatedStore::removeValue(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return values_.erase(key) != 0;
}

void SimulatedStore::removeAllValues() {
    const std::lock_guard<std::mutex> lock(mutex_);
    values_.clear();
}

}  // namespace simulation
