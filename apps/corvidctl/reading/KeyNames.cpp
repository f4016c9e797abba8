#include "reading/KeyNames.h"

#include "chain/ConfigKeyAliasesMapper.h"

namespace corvidctl {

KeyNames::KeyNames() { ConfigKeyAliasesMapper::GetConfigKeyAliases(currentNames_, oldNames_); }

std::wstring KeyNames::currentName(const std::wstring& key) const {
    if (const auto renamed = currentNames_.find(key); renamed != currentNames_.end()) {
        return renamed->second;
    }
    const auto known = oldNames_.find(key);
    return known == oldNames_.end() ? key : known->first;
}

std::vector<std::wstring> KeyNames::namesInOrder(const std::wstring& key) const {
    std::vector<std::wstring> names = {currentName(key)};
    if (const auto old = oldNames_.find(names.front()); old != oldNames_.end()) {
        names.push_back(old->second);
    }
    return names;
}

}  // namespace corvidctl
