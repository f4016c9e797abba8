#include "reading/KeyNames.h"

namespace corvidctl {

std::wstring KeyNames::currentName(const std::wstring& key) const {
    if (const auto renamed = currentNames().find(key); renamed != currentNames().end()) {
        return renamed->second;
    }
    const auto known = oldNames().find(key);
    return known == oldNames().end() ? key : known->first;
}

std::vector<std::wstring> KeyNames::namesInOrder(const std::wstring& key) const {
    std::vector<std::wstring> names = {currentName(key)};
    if (const auto old = oldNames().find(names.front()); old != oldNames().end()) {
        names.push_back(old->second);
    }
    return names;
}

}  // namespace corvidctl
