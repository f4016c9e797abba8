#include "reading/KeyNames.h"

#include "chain/ConfigKeyAliasesMapper.h"

namespace corvidctl {

KeyNames::KeyNames() { ConfigKeyAliasesMapper::GetConfigKeyAliases(currentNames_, oldNames_); }

std::wstring KeyNames::currentOf(const std::wstring& key) const {
    if (const auto renamed = currentNames_.find(key); renamed != currentNames_.end()) {
        return renamed->second;
    }
    const auto known = oldNames_.find(key);
    return known == oldNames_.end() ? key : known->first;
}

}  // namespace corvidctl
