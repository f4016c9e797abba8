#include "explaining/Explainer.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ConfigStoreConstants.h"
#include "ServerPolicy.h"
#include "chain/CacheFiles.h"
#include "chain/ConfigStoreManager.h"
#include "explaining/KeyRules.h"
#include "quill/StringUtils.h"
#include "validating/MeantKey.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

HiddenPlace placeOf(const std::string& store, const StoreSource& source, const std::wstring& key) {
    const KeySource* const entry = findKey(source, key);
    return {store, source.origin.shownFile, entry == nullptr ? 0 : entry->line};
}

/// The key that stores of configuration documents list and never answer for.
bool isNeverFromDocuments(const std::wstring& key) {
    return caseInsensitiveStringEquals(key, ConfigStoreConstants::certificateValidationEnabled);
}

/// The name of the store of which a store of this name is the kept copy.
std::string copiedStore(const std::string& copy) {
    const std::size_t around = CacheFiles::nameFor({}).size();
    const std::size_t before = std::string("cached").size();
    return copy.size() <= around ? std::string() : copy.substr(before, copy.size() - around);
}

}  // namespace

const char* nameOf(LayerState state) {
    switch (state) {
    case LayerState::Wins:
        return "wins";
    case LayerState::Shadowed:
        return "shadowed";
    case LayerState::Ignored:
        return "ignored";
    case LayerState::Failed:
        return "failed";
    case LayerState::Absent:
        break;
    }
    return "absent";
}

Explanation Explainer::explain(const std::wstring& key) const {
    ExplanationView view = reader_.explain(key);
    const std::vector<std::wstring> names = reader_.names().namesInOrder(key);
    Explanation explanation;
    for (const LayerView& layer : view.layers) {
        explanation.layers.push_back(layerOf(layer));
        explanation.isHidden = explanation.isHidden || (layer.holdsKey && view.value.isSensitive && !reveal_);
    }
    explanation.asked = std::move(view.asked);
    explanation.value = std::move(view.value);
    explanation.lookedUp = std::move(view.lookedUp);
    explanation.fipsRuleSpoke = view.fipsRuleSpoke;
    if (names.size() > 1) {
        explanation.oldName = toString(names[1]);
        const bool isAsked = !caseInsensitiveStringEquals(explanation.asked, explanation.value.key);
        explanation.alias = isAsked || !explanation.value.foundUnder.empty() ? explanation.oldName : std::string();
        if (explanation.lookedUp.size() == 1) {
            explanation.heldUnderOldName = heldUnder(names[1]);
        }
    }
    explanation.unreadCopies = unreadCopiesWith(names);
    explanation.lost = lostPlacesOf(names);
    if (!explanation.value.isDefined) {
        explanation.meant = keyMeantBy(key, reader_).value_or(std::string());
    }
    explanation.policy = policyAgainst(key);
    explanation.rules = rulesOf(explanation);
    return explanation;
}

std::vector<Explanation> Explainer::explainShared(const KeySelection& selection) const {
    std::vector<Explanation> explanations;
    for (const std::wstring& key : reader_.definedKeys()) {
        if (selection.contains(key) && isShared(key)) {
            explanations.push_back(explain(key));
        }
    }
    return explanations;
}

std::vector<StoreReport> Explainer::stores(const std::vector<ValueView>& values) const {
    std::map<std::string, std::size_t> wins;
    for (const ValueView& value : values) {
        ++wins[value.valueStoreName];
    }
    std::vector<StoreReport> reports;
    for (StoreView& view : reader_.stores()) {
        StoreReport report;
        static_cast<StoreView&>(report) = std::move(view);
        report.origin = sources_.of(report.name).origin;
        report.state = stateOf(report.origin, report.keys);
        report.wins = wins[report.name];
        reports.push_back(std::move(report));
    }
    return reports;
}

std::map<std::string, std::size_t> Explainer::winsOverOthers(const std::vector<ValueView>& values) const {
    std::map<std::string, std::size_t> wins;
    for (const ValueView& value : values) {
        if (isShared(toWideString(value.key))) {
            ++wins[value.valueStoreName];
        }
    }
    return wins;
}

KeyLayer Explainer::layerOf(const LayerView& view) const {
    const StoreSource& source = sources_.of(view.store);
    KeyLayer layer;
    static_cast<LayerView&>(layer) = view;
    layer.origin = source.origin;
    if (const KeySource* const entry = findKey(source, toWideString(view.key))) {
        layer.inFile = *entry;
    }
    if (view.holdsKey) {
        layer.state = view.wins ? LayerState::Wins : LayerState::Shadowed;
    } else if (!source.origin.problem.empty()) {
        layer.state = LayerState::Failed;
    } else if (isIgnored(view)) {
        layer.state = LayerState::Ignored;
    }
    return layer;
}

bool Explainer::isIgnored(const LayerView& view) const {
    if (view.holdsKey || !isNeverFromDocuments(toWideString(view.key))) {
        return false;
    }
    const std::shared_ptr<ConfigStore> store = chain_.findStore(view.store);
    const std::vector<std::wstring> keys = store == nullptr ? std::vector<std::wstring>() : store->getKeys();
    return std::any_of(keys.begin(), keys.end(), isNeverFromDocuments);
}

bool Explainer::isShared(const std::wstring& key) const {
    const std::vector<std::wstring> names = reader_.names().namesInOrder(key);
    std::size_t holders = 0;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        std::wstring value;
        holders += std::any_of(names.begin(), names.end(),
                               [&](const std::wstring& name) { return store->getValue(name, value); })
                       ? 1
                       : 0;
    }
    return holders > 1;
}

std::vector<HiddenPlace> Explainer::heldUnder(const std::wstring& name) const {
    std::vector<HiddenPlace> places;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        std::wstring value;
        if (store->getValue(name, value)) {
            places.push_back(placeOf(store->getName(), sources_.of(store->getName()), name));
        }
    }
    return places;
}

std::vector<HiddenPlace> Explainer::unreadCopiesWith(const std::vector<std::wstring>& names) const {
    std::vector<HiddenPlace> places;
    for (const std::string& copy : sources_.keptCopies()) {
        if (chain_.containsStore(copy) || chain_.containsStore(copiedStore(copy))) {
            continue;
        }
        for (const std::wstring& name : names) {
            if (findKey(sources_.of(copy), name) != nullptr) {
                places.push_back(placeOf(copy, sources_.of(copy), name));
            }
        }
    }
    return places;
}

std::vector<HiddenPlace> Explainer::lostPlacesOf(const std::vector<std::wstring>& names) const {
    std::vector<HiddenPlace> places;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        const StoreSource& source = sources_.of(store->getName());
        for (const std::wstring& name : names) {
            const auto lines = source.lostLines.find(name);
            for (const int line : lines == source.lostLines.end() ? std::vector<int>() : lines->second) {
                places.push_back({store->getName(), source.origin.shownFile, line});
            }
        }
    }
    return places;
}

std::optional<ForbiddingPolicy> Explainer::policyAgainst(const std::wstring& key) const {
    const std::wstring current = reader_.currentName(key);
    for (const ServerPolicy& policy : serverPolicies()) {
        const bool concerns =
            std::any_of(policy.erasedKeys.begin(), policy.erasedKeys.end(), [&](const std::wstring& erasedKey) {
                return caseInsensitiveStringEquals(reader_.currentName(erasedKey), current);
            });
        std::wstring value;
        std::wstring store;
        bool usedOtherKeyName = false;
        if (concerns && chain_.getValue(policy.policyKey, value, store, usedOtherKeyName, false) &&
            forbidsCustomServers(value)) {
            return ForbiddingPolicy{toString(policy.policyKey), toString(store), erased(current)};
        }
    }
    return std::nullopt;
}

std::vector<HiddenPlace> Explainer::erased(const std::wstring& key) const {
    std::vector<HiddenPlace> places;
    for (const std::shared_ptr<ConfigStore>& store : chain_.getStores()) {
        const StoreSource& source = sources_.of(store->getName());
        for (const std::wstring& name : reader_.names().namesInOrder(key)) {
            std::wstring value;
            const auto atStart = source.keysAtStart.find(name);
            if (!store->isReadOnly() && atStart != source.keysAtStart.end() && !store->getValue(name, value)) {
                places.push_back({store->getName(), source.origin.shownFile, atStart->second.line});
            }
        }
    }
    return places;
}

}  // namespace corvidctl
