#include "comparing/Contents.h"

#include "comparing/SortedMerge.h"

namespace corvidctl {

namespace {

using Kind = ContentsDifference::Kind;

Kind kindOf(const ContentsEntry* a, const ContentsEntry* b) {
    if (b == nullptr) {
        return Kind::OnlyInA;
    }
    if (a == nullptr) {
        return Kind::OnlyInB;
    }
    return a->value == b->value ? Kind::Equal : Kind::Different;
}

std::optional<ContentsEntry> copied(const ContentsEntry* entry) {
    return entry == nullptr ? std::nullopt : std::optional(*entry);
}

}  // namespace

Contents contentsOf(const Layer& layer) {
    Contents contents;
    for (const bool oldNames : {false, true}) {
        for (const HeldValue& held : layer.entries) {
            if (held.isOldName == oldNames) {
                contents.try_emplace(held.key, ContentsEntry{held.value, {}, held.isSensitive});
            }
        }
    }
    return contents;
}

Contents contentsOf(const EffectiveValues& values) {
    Contents contents;
    for (const auto& [key, view] : values) {
        if (view.isDefined) {
            contents.emplace_hint(contents.end(), key,
                                  ContentsEntry{view.value, view.valueStoreName, view.isSensitive});
        }
    }
    return contents;
}

std::vector<ContentsDifference> differencesOf(const Contents& a, const Contents& b) {
    std::vector<ContentsDifference> differences;
    mergeByKey(a, b, [&](const std::wstring& key, const ContentsEntry* left, const ContentsEntry* right) {
        differences.push_back({kindOf(left, right), key, copied(left), copied(right)});
    });
    return differences;
}

}  // namespace corvidctl
