#include "comparing/KeyChanges.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "chain/CacheFiles.h"
#include "comparing/SortedMerge.h"
#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

using Kind = KeyChange::Kind;

constexpr auto KINDS = std::to_array<std::pair<Kind, const char*>>({
    {Kind::Added, "added"},
    {Kind::Removed, "removed"},
    {Kind::Changed, "changed"},
    {Kind::Moved, "moved"},
    {Kind::Original, "original"},
});

bool isKeptCopyOf(const std::string& copy, const std::string& store) { return copy == CacheFiles::nameFor(store); }

/// A store and its kept copy have the same contents.
bool areOnePlace(const std::string& a, const std::string& b) {
    return a == b || isKeptCopyOf(a, b) || isKeptCopyOf(b, a);
}

std::optional<Kind> kindOf(const ValueView& before, const ValueView& after) {
    if (before.isDefined != after.isDefined) {
        return after.isDefined ? Kind::Added : Kind::Removed;
    }
    if (before.value != after.value) {
        return Kind::Changed;
    }
    if (!areOnePlace(before.valueStoreName, after.valueStoreName)) {
        return Kind::Moved;
    }
    const bool sameOriginal = before.originalValue == after.originalValue &&
                              areOnePlace(before.originalValueStoreName, after.originalValueStoreName) &&
                              before.isOverridden == after.isOverridden;
    return sameOriginal ? std::nullopt : std::optional(Kind::Original);
}

/// A text that stands in no store is empty, and hides nothing.
void hide(ValueView& view) {
    if (view.isDefined) {
        view.value = shownText(view.value, true, false);
    }
    if (!view.originalValueStoreName.empty()) {
        view.originalValue = shownText(view.originalValue, true, false);
    }
}

ValueView orUndefined(const std::wstring& key, const ValueView* view) {
    if (view != nullptr) {
        return *view;
    }
    ValueView undefined;
    undefined.key = QuillCoreUtils::toString(key);
    return undefined;
}

}  // namespace

std::string nameOf(Kind kind) {
    const auto* const found =
        std::find_if(KINDS.begin(), KINDS.end(), [kind](const auto& known) { return known.first == kind; });
    return found->second;
}

std::vector<KeyChange> changesBetween(const EffectiveValues& before, const EffectiveValues& after, bool reveal) {
    std::vector<KeyChange> changes;
    mergeByKey(before, after, [&](const std::wstring& key, const ValueView* was, const ValueView* is) {
        KeyChange change{Kind::Changed, orUndefined(key, was), orUndefined(key, is), false};
        const std::optional<Kind> kind = kindOf(change.before, change.after);
        if (!kind) {
            return;
        }
        change.kind = *kind;
        for (ValueView* const side : {&change.before, &change.after}) {
            side->key = shownKey(QuillCoreUtils::toWideString(side->key), reveal);
        }
        change.isSensitive = change.before.isSensitive || change.after.isSensitive;
        if (change.isSensitive && !reveal) {
            hide(change.before);
            hide(change.after);
        }
        changes.push_back(std::move(change));
    });
    return changes;
}

std::string movesFromKeptCopies(const EffectiveValues& before, const EffectiveValues& after) {
    std::map<std::string, std::size_t> moves;
    bool othersChange = false;
    mergeByKey(before, after, [&](const std::wstring&, const ValueView* was, const ValueView* is) {
        if (was == nullptr || is == nullptr || kindOf(*was, *is)) {
            othersChange = true;
        } else if (isKeptCopyOf(was->valueStoreName, is->valueStoreName)) {
            ++moves[is->valueStoreName];
        }
    });
    std::string sentences;
    for (const auto& [store, count] : moves) {
        const bool one = count == 1;
        sentences += sentences.empty() ? "" : " ";
        sentences += std::to_string(count) +
                     (othersChange ? " more"
                      : one        ? " key"
                                   : " keys") +
                     (one ? " comes from " : " come from ") + store + " instead of its kept copy.";
    }
    return sentences;
}

std::string summaryOf(const std::vector<KeyChange>& changes) {
    if (changes.empty()) {
        return "No key would change.";
    }
    std::string kinds;
    for (const auto& [kind, name] : KINDS) {
        const auto count = std::count_if(changes.begin(), changes.end(),
                                         [kind = kind](const KeyChange& change) { return change.kind == kind; });
        if (count != 0) {
            kinds += (kinds.empty() ? "" : ", ") + std::to_string(count) + " " + name;
        }
    }
    return std::to_string(changes.size()) + (changes.size() == 1 ? " key would change: " : " keys would change: ") +
           kinds + ".";
}

}  // namespace corvidctl
