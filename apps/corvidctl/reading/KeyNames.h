#pragma once

#include <string>
#include <vector>

#include "chain/ConfigMap.h"

namespace corvidctl {

/// The table of renamed keys. Any thread.
class KeyNames {
public:
    KeyNames();

    /// The current name of a key: in the spelling of the table, if the key stands there.
    std::wstring currentName(const std::wstring& key) const;

    /// The current name of a key, and its old one if it has any.
    std::vector<std::wstring> namesInOrder(const std::wstring& key) const;

    /// True if the key is the old name of another one.
    bool isOld(const std::wstring& key) const { return currentNames_.count(key) != 0; }

    /// Old name to current name.
    const ConfigMap& currentNames() const { return currentNames_; }

    /// Current name to old name.
    const ConfigMap& oldNames() const { return oldNames_; }

private:
    ConfigMap currentNames_;
    ConfigMap oldNames_;
};

}  // namespace corvidctl
