#include "fakes/ScriptedStore.h"

#include <algorithm>
#include <utility>

namespace fakes {

ScriptedStore::ScriptedStore(std::string name, std::int32_t priority) : name_(std::move(name)), priority_(priority) {}

ScriptedStore::~ScriptedStore() {
    if (onDestruction_) {
        onDestruction_();
    }
}

ScriptedStore& ScriptedStore::with(const std::wstring& key, const std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    values_[key] = value;
    return *this;
}

ScriptedStore& ScriptedStore::readOnly() {
    readOnly_ = true;
    return *this;
}

ScriptedStore& ScriptedStore::remote() {
    local_ = false;
    return *this;
}

ScriptedStore& ScriptedStore::cached() {
    cached_ = true;
    return *this;
}

ScriptedStore& ScriptedStore::refusing(const std::wstring& key) {
    refused_.push_back(key);
    return *this;
}

ScriptedStore& ScriptedStore::neverReady() {
    ready_ = false;
    return *this;
}

ScriptedStore& ScriptedStore::leavingOnMiss(const std::wstring& text) {
    textOnMiss_ = text;
    return *this;
}

void ScriptedStore::onGetValue(std::function<void(const std::wstring& key)> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onGetValue_ = std::move(action);
}

void ScriptedStore::onWait(std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onWait_ = std::move(action);
}

void ScriptedStore::onDestroy(std::function<void()> action) {
    const std::lock_guard<std::mutex> lock(mutex_);
    onDestroy_ = std::move(action);
}

void ScriptedStore::onDestruction(std::function<void()> action) { onDestruction_ = std::move(action); }

std::vector<std::string> ScriptedStore::calls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

std::size_t ScriptedStore::count(const std::string& call) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<std::size_t>(std::count(calls_.begin(), calls_.end(), call));
}

std::vector<std::wstring> ScriptedStore::lookups() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lookups_;
}

void ScriptedStore::forgetCalls() {
    const std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
    lookups_.clear();
}

void ScriptedStore::record(const std::string& call) { calls_.push_back(call); }

bool ScriptedStore::getValue(const std::wstring& key, std::wstring& value) {
    std::function<void(const std::wstring&)> action;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        lookups_.push_back(key);
        action = onGetValue_;
    }
    if (action) {
        action(key);
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = values_.find(key);
    value = found != values_.end() ? found->second : textOnMiss_;
    return found != values_.end();
}

bool ScriptedStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record("store " + QuillCoreUtils::toString(key) + "=" + QuillCoreUtils::toString(value));
    const bool refused = std::any_of(refused_.begin(), refused_.end(), [&](const std::wstring& name) {
        return name.empty() || QuillCoreUtils::caseInsensitiveStringEquals(name, key);
    });
    if (!refused) {
        values_[key] = value;
    }
    return !refused;
}

std::vector<std::wstring> ScriptedStore::getKeys() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::wstring> keys;
    for (const auto& entry : values_) {
        keys.push_back(entry.first);
    }
    return keys;
}

bool ScriptedStore::removeValue(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    record("remove " + QuillCoreUtils::toString(key));
    return values_.erase(key) > 0;
}

void ScriptedStore::removeAllValues() {
    const std::lock_guard<std::mutex> lock(mutex_);
    record("removeAll");
    values_.clear();
}

void ScriptedStore::persistValues() {
    const std::lock_guard<std::mutex> lock(mutex_);
    record("persist");
}

void ScriptedStore::destroy() {
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        record("destroy");
        action = onDestroy_;
    }
    if (action) {
        action();
    }
}

bool ScriptedStore::waitForStoreReady() {
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        record("wait");
        action = onWait_;
    }
    if (action) {
        action();
    }
    return ready_;
}

}  // namespace fakes
