#pragma once

#include <string>

#include "chain/ConfigMap.h"

namespace corvidctl {

/// The names of renamed keys, without a chain to ask. Any thread.
class KeyNames {
public:
    KeyNames();

    /// The current name of a key: in the spelling of the table of renamed keys, if the key stands there.
    std::wstring currentOf(const std::wstring& key) const;

    /// True if the key is the old name of another one.
    bool isOld(const std::wstring& key) const { return currentNames_.count(key) != 0; }

private:
    ConfigMap currentNames_;  ///< old name to current name
    ConfigMap oldNames_;      ///< current name to old name
};

}  // namespace corvidctl
