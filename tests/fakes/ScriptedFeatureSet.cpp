#include "fakes/ScriptedFeatureSet.h"

#include <utility>

#include "quill/StringUtils.h"

namespace fakes {

using QuillCoreUtils::toWideString;

std::vector<ScriptedFeatureSet::Call> ScriptedFeatureSet::calls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

bool ScriptedFeatureSet::record(const std::string& operation, std::vector<std::wstring> arguments) {
    const Call call{operation, std::move(arguments)};
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        calls_.push_back(call);
    }
    const auto hook = hooks_.find(operation);
    if (hook != hooks_.end()) {
        hook->second(call);
    }
    const auto result = results_.find(operation);
    return result == results_.end() ? result_ : result->second;
}

void ScriptedFeatureSet::holdValue(const std::wstring& key, const std::wstring& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    values_[key] = value;
}

void ScriptedFeatureSet::dropValue(const std::wstring& key) {
    const std::lock_guard<std::mutex> lock(mutex_);
    values_.erase(key);
}

bool ScriptedFeatureSet::find(const std::wstring& key, std::wstring& value) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = values_.find(key);
    value = found == values_.end() ? L"" : found->second;
    return found != values_.end();
}

void ScriptedFeatureSet::addConfigStore(std::shared_ptr<ConfigStore> store) {
    record("addConfigStore", {toWideString(store->getName())});
}

bool ScriptedFeatureSet::removeConfigStore(const std::string& name) {
    return record("removeConfigStore", {toWideString(name)});
}

void ScriptedFeatureSet::removeAllCachedConfigStores() { record("removeAllCachedConfigStores"); }

bool ScriptedFeatureSet::getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) {
    record("getConfig", {key, toWideString(skipLocal)});
    return find(key, value);
}

bool ScriptedFeatureSet::getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName,
                                   bool& /*usedOtherKeyName*/, bool skipLocal) {
    record("getConfig", {key, toWideString(skipLocal)});
    const bool found = find(key, value);
    storeName = found ? L"ScriptedStore" : L"";
    return found;
}

bool ScriptedFeatureSet::setConfig(const std::wstring& key, const std::wstring& value) {
    return record("setConfig", {key, value});
}

bool ScriptedFeatureSet::setConfig(std::map<std::wstring, std::wstring> values) {
    std::vector<std::wstring> arguments;
    for (const auto& [key, value] : values) {
        arguments.push_back(key);
        arguments.push_back(value);
    }
    return record("setConfig", arguments);
}

bool ScriptedFeatureSet::setInMemoryConfig(const std::wstring& key, const std::wstring& value) {
    return record("setInMemoryConfig", {key, value});
}

void ScriptedFeatureSet::resetConfig(const std::wstring& key) { record("resetConfig", {key}); }

bool ScriptedFeatureSet::isKeySensitive(const std::wstring& key) { return record("isKeySensitive", {key}); }

void ScriptedFeatureSet::setKeySensitive(const std::wstring& key) { record("setKeySensitive", {key}); }

void ScriptedFeatureSet::startTftpConfigSource() { record("startTftpConfigSource"); }

void ScriptedFeatureSet::stopTftpConfigSource() { record("stopTftpConfigSource"); }

void ScriptedFeatureSet::refreshConfigFeatureSet() { record("refreshConfigFeatureSet"); }

bool ScriptedFeatureSet::setUrlProvisioningData(std::wstring data) { return record("setUrlProvisioningData", {data}); }

bool ScriptedFeatureSet::resetAllowUriProvisioningData() { return record("resetAllowUriProvisioningData"); }

void ScriptedFeatureSet::StartFeatureSet(unsigned, ServiceEvents) { started_ = true; }

void ScriptedFeatureSet::StopFeatureSet(unsigned, ServiceEvents) { started_ = false; }

void ScriptedFeatureSet::Destroy() { started_ = false; }

bool ScriptedFeatureSet::IsFeatureSetStarted(unsigned) { return started_; }

bool ScriptedFeatureSet::IsFeatureSetProvisioned(unsigned) { return true; }

std::vector<unsigned> ScriptedFeatureSet::GetFeatureSetDependencies(unsigned) { return {}; }

}  // namespace fakes
