#pragma once

#include <memory>
#include <string>
#include <vector>

#include "chain/RenamedKeys.h"

namespace corvidctl {

/// The table of renamed keys, which copies share. Any thread.
class KeyNames {
public:
    /// The current name of a key: in the spelling of the table, if the key stands there.
    std::wstring currentName(const std::wstring& key) const;

    /// The current name of a key, and its old one if it has any.
    std::vector<std::wstring> namesInOrder(const std::wstring& key) const;

    /// True if the key is the old name of another one.
    bool isOld(const std::wstring& key) const { return currentNames().count(key) != 0; }

    /// Old name to current name.
    const ConfigMap& currentNames() const { return table_->currentNames(); }

    /// Current name to old name.
    const ConfigMap& oldNames() const { return table_->oldNames(); }

    /// As lookups ask it.
    const RenamedKeys& table() const { return *table_; }

private:
    std::shared_ptr<const RenamedKeys> table_{new RenamedKeys(RenamedKeys::read())};
};

}  // namespace corvidctl
