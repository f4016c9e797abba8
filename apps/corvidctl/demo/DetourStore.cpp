#include "demo/DetourStore.h"

namespace corvidctl {

bool DetourStore::getValue(const std::wstring& key, std::wstring& value) {
    const auto found = values_.find(key);
    value = found == values_.end() ? std::wstring() : found->second;
    return found != values_.end();
}

std::vector<std::wstring> DetourStore::getKeys() {
    std::vector<std::wstring> keys;
    for (const auto& [key, value] : values_) {
        keys.push_back(key);
    }
    return keys;
}

}  // namespace corvidctl
