#pragma once

#include <unistd.h>

#include <map>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "quill/StringUtils.h"

/// The environment as a store of the chain: what stands there as CORVID_KEY is the value of the key KEY. Read-only, so
/// what it says counts as the administrator's word; it stands behind the user's own file and ahead of the server's.
///
/// Reads the environment once, at construction. Any thread, without a lock: nothing changes afterwards.
//! [environment store]
class EnvironmentStore : public ConfigStore {
public:
    EnvironmentStore() {
        for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
            const std::wstring text = QuillCoreUtils::toWideString(*entry);
            const std::size_t equals = text.find(L'=');
            if (text.starts_with(L"CORVID_") && equals != std::wstring::npos && equals > 7) {
                values_[QuillCoreUtils::toLowercase(text.substr(7, equals - 7))] = text.substr(equals + 1);
            }
        }
    }
    bool getValue(const std::wstring& key, std::wstring& value) override {
        const auto found = values_.find(QuillCoreUtils::toLowercase(key));
        value = found == values_.end() ? L"" : found->second;
        return found != values_.end();
    }
    std::vector<std::wstring> getKeys() override {
        std::vector<std::wstring> keys;
        for (const auto& [key, value] : values_) {
            keys.push_back(key);
        }
        return keys;
    }
    std::string getName() override { return "EnvironmentStore"; }
    std::int32_t getPriority() override { return 30; }
    bool isReadOnly() override { return true; }
    bool isLocal() override { return true; }
    bool waitForStoreReady() override { return true; }
    bool storeValue(const std::wstring&, const std::wstring&) override { return false; }
    bool removeValue(const std::wstring&) override { return false; }
    void removeAllValues() override {}
    void persistValues() override {}
    void destroy() override {}

private:
    std::map<std::wstring, std::wstring> values_;  // by their keys in small letters
};
//! [environment store]
