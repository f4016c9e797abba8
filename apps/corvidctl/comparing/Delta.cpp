#include "comparing/Delta.h"

#include <algorithm>

namespace corvidctl {

namespace {

struct Holder {
    const Layer* layer;
    const HeldValue* held;
};

/// Every holder of each key, in the order of the lookup: the current name in all stores comes before the old one.
ByKey<std::vector<Holder>> holdersOf(const std::vector<Layer>& layers) {
    ByKey<std::vector<Holder>> holders;
    for (const bool oldNames : {false, true}) {
        for (const Layer& layer : layers) {
            for (const HeldValue& held : layer.entries) {
                if (held.isOldName == oldNames) {
                    holders[held.key].push_back({&layer, &held});
                }
            }
        }
    }
    return holders;
}

DeltaType typeOf(const Holder& holder, const Holder* below, bool wins) {
    if (!wins && !holder.layer->isReadOnly) {
        return DeltaType::Shadowed;
    }
    if (below == nullptr) {
        return DeltaType::Extended;
    }
    return below->held->value == holder.held->value ? DeltaType::Equal : DeltaType::Overridden;
}

void addRows(const std::wstring& key, const std::vector<Holder>& holders, std::vector<DeltaRow>& rows) {
    const bool isSensitive =
        std::any_of(holders.begin(), holders.end(), [](const Holder& holder) { return holder.held->isSensitive; });
    for (std::size_t i = 0; i < holders.size(); ++i) {
        const Holder* const below = i + 1 < holders.size() ? &holders[i + 1] : nullptr;
        DeltaRow row;
        row.type = typeOf(holders[i], below, i == 0);
        row.key = key;
        row.name = holders[i].held->name;
        row.store = holders[i].layer->store;
        row.value = holders[i].held->value;
        if (below != nullptr) {
            row.belowStore = below->layer->store;
            row.belowValue = below->held->value;
        }
        row.winningStore = holders.front().layer->store;
        row.winningValue = holders.front().held->value;
        row.isSensitive = isSensitive;
        rows.push_back(std::move(row));
    }
}

}  // namespace

std::string nameOf(DeltaType type) {
    const auto* const found =
        std::find_if(DELTA_TYPES.begin(), DELTA_TYPES.end(), [type](const auto& known) { return known.first == type; });
    return std::string(found->second);
}

std::optional<DeltaType> deltaTypeOf(std::string_view name) {
    const auto* const found = std::find_if(DELTA_TYPES.begin(), DELTA_TYPES.end(),
                                           [name](const auto& known) { return known.second == name; });
    return found == DELTA_TYPES.end() ? std::nullopt : std::optional(found->first);
}

std::vector<DeltaRow> deltaOf(const std::vector<Layer>& layers) {
    std::vector<DeltaRow> rows;
    for (const auto& [key, holders] : holdersOf(layers)) {
        addRows(key, holders, rows);
    }
    return rows;
}

}  // namespace corvidctl
