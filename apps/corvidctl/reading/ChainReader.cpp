#include "reading/ChainReader.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "ConfigValue.h"
#include "chain/ConfigStoreManager.h"
#include "chain/KeyResolver.h"
#include "quill/StringUtils.h"
#include "reading/ClientKeys.h"
#include "tessel/FipsUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;

bool isFipsRule(const std::wstring& key) {
    return isRuledByFipsMode(key) && tessel::common::FipsUtils::isFipsEnabled();
}

}  // namespace

ChainReader::ChainReader(ConfigStoreManager& chain, bool reveal) : chain_(chain), reveal_(reveal) {}

bool ChainReader::isSensitive(const std::wstring& key) const {
    const std::vector<std::wstring> names = names_.namesInOrder(key);
    return std::any_of(names.begin(), names.end(),
                       [this](const std::wstring& name) { return chain_.isKeySensitive(name) || holdsSecret(name); });
}

std::string ChainReader::shown(const std::wstring& text, bool sensitive) const {
    return toString(sensitive && !reveal_ ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : text);
}

SearchList ChainReader::searchList() const {
    const StoreList stores = chain_.getStores();
    return {stores.begin(), stores.end()};
}

ValueView ChainReader::describe(const std::wstring& key) const { return describe(key, searchList()); }

ValueView ChainReader::describe(const std::wstring& key, const SearchList& stores) const {
    const std::wstring current = currentName(key);
    const KeyResolver::Report report = KeyResolver(stores, names_.table()).resolve(FoldedKey(current));

    ValueView view;
    view.key = shownKey(current, reveal_);
    view.isDefined = report.isDefined();
    view.isOverridden = report.isOverridden();
    view.isSensitive = isSensitive(current);
    // For a key that no store holds only the FIPS rule may answer; a store may leave anything in a miss.
    const bool hasValue = report.isDefined() || isFipsRule(current);
    const bool hasOriginal = !report.originalValueStoreName().empty();
    view.value = hasValue ? shown(report.value(), view.isSensitive) : std::string();
    view.originalValue = hasOriginal ? shown(report.originalValue(), view.isSensitive) : std::string();
    view.valueStoreName = report.isDefined() ? toString(report.valueStoreName()) : std::string();
    view.originalValueStoreName = toString(report.originalValueStoreName());
    if (report.lookup.usedOtherKeyName()) {
        view.foundUnder = toString(report.lookup.otherName);
    }
    if (view.isOverridden) {
        view.hasUntoldOriginal = !hasOriginal && !holders(current, true).empty();
    } else {
        const std::vector<std::string> holders = writableHolders(current);
        const auto waits = [&view](const std::string& store) { return store != view.valueStoreName; };
        view.shadowsUser = std::any_of(holders.begin(), holders.end(), waits);
    }
    return view;
}

ValueView ChainReader::describe(const ConfigValue& object) const {
    ValueView view;
    view.key = shownKey(currentName(object.getKey()), reveal_);
    view.isDefined = object.getisDefined();
    view.isOverridden = object.getisOverridden();
    view.isSensitive = isSensitive(object.getKey());
    view.valueStoreName = toString(object.getValueStoreName());
    view.originalValueStoreName = toString(object.getOriginalValueStoreName());
    // An empty text is no secret, and tells that a value has gone.
    const std::wstring value = object.getValue();
    const std::wstring original = object.getOriginalValue();
    view.value = value.empty() && view.valueStoreName.empty() ? std::string() : shown(value, view.isSensitive);
    view.originalValue =
        original.empty() && view.originalValueStoreName.empty() ? std::string() : shown(original, view.isSensitive);
    return view;
}

ExplanationView ChainReader::explain(const std::wstring& key) const {
    ExplanationView view;
    view.asked = shownKey(key, reveal_);
    view.value = describe(key);
    view.fipsRuleSpoke = isFipsRule(currentName(key));

    const std::vector<std::shared_ptr<ConfigStore>> stores = chain_.getStores();
    bool hit = false;
    for (const std::wstring& name : names_.namesInOrder(key)) {
        if (hit) {
            break;
        }
        view.lookedUp.push_back(shownKey(name, reveal_));
        for (const std::shared_ptr<ConfigStore>& store : stores) {
            LayerView layer;
            layer.store = store->getName();
            layer.priority = store->getPriority();
            layer.isReadOnly = store->isReadOnly();
            layer.isLocal = store->isLocal();
            layer.key = view.lookedUp.back();
            std::wstring value;
            layer.holdsKey = store->getValue(name, value);
            layer.value = layer.holdsKey ? shown(value, view.value.isSensitive) : std::string();
            layer.wins = layer.holdsKey && !hit;
            hit = hit || layer.holdsKey;
            view.layers.push_back(std::move(layer));
        }
    }
    return view;
}

std::vector<StoreView> ChainReader::stores() const {
    std::vector<StoreView> views;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        views.push_back(
            {store->getName(), store->getPriority(), store->isReadOnly(), store->isLocal(), store->getKeys().size()});
    }
    return views;
}

std::vector<std::wstring> ChainReader::definedKeys() const {
    SensitiveKeySet keys;  // the same order as a ConfigMap's, and one spelling for each key
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        for (const std::wstring& key : store->getKeys()) {
            keys.insert(currentName(key));
        }
    }
    return {keys.begin(), keys.end()};
}

std::vector<ValueView> ChainReader::definedValues() const {
    std::vector<ValueView> values;
    const SearchList stores = searchList();
    for (const std::wstring& key : definedKeys()) {
        values.push_back(describe(key, stores));
    }
    return values;
}

std::vector<std::string> ChainReader::userStores() const {
    std::vector<std::string> names;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        if (!store->isReadOnly() && !ConfigStoreManager::isInMemoryConfigStore(store->getName())) {
            names.push_back(store->getName());
        }
    }
    return names;
}

std::vector<std::string> ChainReader::writableHolders(const std::wstring& key) const { return holders(key, false); }

std::vector<std::string> ChainReader::holders(const std::wstring& key, bool areReadOnly) const {
    std::vector<std::string> holders;
    const std::vector<std::wstring> names = names_.namesInOrder(key);
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        std::wstring value;
        const auto holds = [&store, &value](const std::wstring& name) { return store->getValue(name, value); };
        if (store->isReadOnly() == areReadOnly && std::any_of(names.begin(), names.end(), holds)) {
            holders.push_back(store->getName());
        }
    }
    return holders;
}

}  // namespace corvidctl
