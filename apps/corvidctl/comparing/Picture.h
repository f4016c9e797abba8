#pragma once

#include <map>
#include <string>
#include <vector>

#include "chain/ConfigMap.h"
#include "reading/Views.h"

class ConfigStoreManager;

/// What a chain holds at one moment, as plain data that can be compared with what another one holds. Secrets stand in
/// it in clear, since a hidden text equals any other: whatever is shown of it goes through shownText().
namespace corvidctl {

/// By key, under its current name.
template <class Value>
using ByKey = std::map<std::wstring, Value, caseInsensitiveMapComparator>;

/// One entry of a store.
struct HeldValue {
    std::wstring key;  ///< under its current name
    std::string name;  ///< under which the store holds it
    bool isOldName = false;
    std::string value;  ///< in clear
    bool isSensitive = false;
};

/// All that one store answers.
struct Layer {
    std::string store;
    bool isReadOnly = true;
    std::vector<HeldValue> entries;  ///< in the order of the store
};

/// What every key reads that some store holds; texts in clear.
using EffectiveValues = ByKey<ValueView>;

/// Both, of one chain.
struct Picture {
    std::vector<Layer> layers;
    EffectiveValues values;
};

/// The stores in chain order. A key that a store lists and does not answer is not in it. Dispatcher thread.
std::vector<Layer> takeLayers(ConfigStoreManager& chain);

/// What the chain answers. Dispatcher thread.
EffectiveValues takeEffectiveValues(ConfigStoreManager& chain);

/// Both at one moment. Dispatcher thread.
Picture takePicture(ConfigStoreManager& chain);

/// A text as it may be shown.
std::string shownText(const std::string& text, bool isSensitive, bool reveal);

}  // namespace corvidctl
