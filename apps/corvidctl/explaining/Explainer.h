#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "explaining/Explanation.h"
#include "reading/ChainReader.h"
#include "reading/KeySelection.h"
#include "reading/StoreSources.h"

class ConfigStoreManager;

namespace corvidctl {

/// Joins what the chain answers with what the files say. Dispatcher thread.
class Explainer {
public:
    /// All of them must outlive this. @param reveal show sensitive texts, as the reader does.
    Explainer(ConfigStoreManager& chain, const ChainReader& reader, StoreSources& sources, bool reveal)
        : chain_(chain), reader_(reader), sources_(sources), reveal_(reveal) {}

    /// The whole chain for a key, under any of its names.
    Explanation explain(const std::wstring& key) const;

    /// The same for every key of the selection that more than one store holds, under either of its names.
    std::vector<Explanation> explainShared(const KeySelection& selection) const;

    /// The stores in chain order.
    std::vector<StoreReport> stores() const { return stores(reader_.definedValues()); }

    /// The same. @param values of every key that is defined.
    std::vector<StoreReport> stores(const std::vector<ValueView>& values) const;

    /// How many of the keys that a store wins another one holds, too; by the names of the stores.
    /// @param values of every key that is defined.
    std::map<std::string, std::size_t> winsOverOthers(const std::vector<ValueView>& values) const;

    /// The policy that forbids the user a key of this name; nothing if none does.
    std::optional<ForbiddingPolicy> policyAgainst(const std::wstring& key) const;

private:
    KeyLayer layerOf(const LayerView& view) const;
    bool isIgnored(const LayerView& view) const;
    bool isShared(const std::wstring& key) const;
    std::vector<HiddenPlace> heldUnder(const std::wstring& name) const;
    std::vector<HiddenPlace> unreadCopiesWith(const std::vector<std::wstring>& names) const;
    std::vector<HiddenPlace> lostPlacesOf(const std::vector<std::wstring>& names) const;
    std::vector<HiddenPlace> erased(const std::wstring& key) const;

    ConfigStoreManager& chain_;
    const ChainReader& reader_;
    StoreSources& sources_;
    const bool reveal_;
};

}  // namespace corvidctl
