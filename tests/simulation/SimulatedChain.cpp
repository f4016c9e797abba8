#include "SimulatedChain.h"

#include "ModelTypes.h"

namespace simulation {

void SimulatedChain::hold(const std::wstring& key, const std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    values_[key] = value;
}

std::wstring SimulatedChain::valueOf(const std::wstring& key) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::wstring() : found->second;
}

void SimulatedChain::refuseInMemory(bool refuse) {
    const std::lock_guard<std::mutex> lock(mutex_);
    refusesInMemory_ = refuse;
}

bool SimulatedChain::getConfig(const std::wstring& key, std::wstring& value, bool /*skipLocal*/) {
    value = valueOf(key);
    return !value.empty();
}

bool SimulatedChain::getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName,
                               bool& /*usedOtherKeyName*/, bool skipLocal) {
    storeName = L"LocalFileConfigStore";
    return getConfig(key, value, skipLocal);
}

bool SimulatedChain::setInMemoryConfig(const std::wstring& key, const std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!refusesInMemory_) {
        values_[key] = value;
    }
    return !refusesInMemory_;
}

bool SimulatedChain::isKeySensitive(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sensitive_.count(folded(key)) != 0;
}

void SimulatedChain::setKeySensitive(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    sensitive_.insert(folded(key));
}

}  // namespace simulation
