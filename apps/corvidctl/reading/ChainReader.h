#pragma once

#include <string>
#include <vector>

#include "chain/SearchedStore.h"
#include "reading/KeyNames.h"
#include "reading/Views.h"

class ConfigStoreManager;
class ConfigValue;

namespace corvidctl {

/// Looks into the chain and gives what the commands show. Dispatcher thread.
class ChainReader {
public:
    /// @param chain must outlive this. @param reveal show sensitive texts.
    ChainReader(ConfigStoreManager& chain, bool reveal);

    /// The chain's answer for a key, under its current name whichever of its names is given.
    ValueView describe(const std::wstring& key) const;

    /// What a live object was told last.
    ValueView describe(const ConfigValue& object) const;

    /// Every name tried and every store asked for a key.
    ExplanationView explain(const std::wstring& key) const;

    /// The stores in chain order.
    std::vector<StoreView> stores() const;

    /// Every key that some store holds, under its current name, in key order.
    std::vector<std::wstring> definedKeys() const;

    /// The chain's answers for those keys, in the same order.
    std::vector<ValueView> definedValues() const;

    /// The current name of a key: in the spelling of the table of renamed keys, if the key stands there.
    std::wstring currentName(const std::wstring& key) const { return names_.currentName(key); }

    const KeyNames& names() const { return names_; }

    /// True if the key must not be shown, under any of its names.
    bool isSensitive(const std::wstring& key) const;

    /// Names of the stores that a user's value goes to, of which the first takes a single one.
    std::vector<std::string> userStores() const;

    /// Names of the writable stores that hold a key under any of its names.
    std::vector<std::string> writableHolders(const std::wstring& key) const;

private:
    /// The stores in chain order, as searches ask them.
    SearchList searchList() const;

    ValueView describe(const std::wstring& key, const SearchList& stores) const;
    std::vector<std::string> holders(const std::wstring& key, bool areReadOnly) const;
    std::string shown(const std::wstring& text, bool sensitive) const;

    ConfigStoreManager& chain_;
    const bool reveal_;
    const KeyNames names_;
};

}  // namespace corvidctl
