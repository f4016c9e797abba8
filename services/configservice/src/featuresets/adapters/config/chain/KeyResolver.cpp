#include "chain/KeyResolver.h"

#include <utility>

#include "chain/DisableP2PCallOnFips.h"

void KeyResolver::lookUpExactly(const FoldedKey& key, bool skipLocal, Answer& answer) const {
    answer.found = false;
    for (const SearchedStore& store : stores_) {
        if (skipLocal && !store.isReadOnly()) {
            continue;
        }
        if (store.lookUp(key, answer.value)) {
            if (answer.namesStore) {
                answer.storeName = store.name();
            }
            answer.found = true;
            break;
        }
    }
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key.text(), answer.value);
}

void KeyResolver::lookUp(const FoldedKey& key, bool skipLocal, Lookup& lookup) const {
    lookup.road = Road::AsAsked;
    if (const std::wstring* currentKey = names_.currentNameOf(key)) {
        lookUpExactly(FoldedKey(*currentKey), skipLocal, lookup);
        if (lookup.found) {
            lookup.road = Road::CurrentKey;
            lookup.otherName = *currentKey;
            return;
        }
        lookUpExactly(key, skipLocal, lookup);
        lookup.road = lookup.found ? Road::OwnOldName : Road::AsAsked;
        return;
    }
    lookUpExactly(key, skipLocal, lookup);
    const std::wstring* oldKey = names_.oldNameOf(key);
    if (lookup.found || oldKey == nullptr) {
        return;
    }
    lookUpExactly(FoldedKey(*oldKey), skipLocal, lookup);
    if (lookup.found) {
        lookup.road = Road::LegacyKey;
        lookup.otherName = *oldKey;
    }
}

void KeyResolver::lookUpOriginalExactly(const FoldedKey& key, Original& original) const {
    original.found = false;
    original.isOverridden = false;
    std::wstring writableText;
    std::wstring readOnlyText;
    for (const SearchedStore& store : stores_) {
        if (!writableText.empty() && !readOnlyText.empty()) {
            break;
        }
        const bool readOnly = store.isReadOnly();
        std::wstring& text = readOnly ? readOnlyText : writableText;
        if (!text.empty() || !store.lookUp(key, text)) {
            continue;
        }
        if (readOnly) {
            original.storeName = store.name();
            original.found = true;
        } else if (readOnlyText.empty()) {
            original.isOverridden = true;
        }
    }
    original.value = std::move(readOnlyText);
}

void KeyResolver::lookUpOriginal(const FoldedKey& key, Original& original) const {
    original.usedOtherKeyName = false;
    // The two branches move on for different reasons: from a current name that is not overridden, and from a name that
    // no read-only store has.
    if (const std::wstring* currentKey = names_.currentNameOf(key)) {
        lookUpOriginalExactly(FoldedKey(*currentKey), original);
        if (!original.isOverridden) {
            lookUpOriginalExactly(key, original);
            original.usedOtherKeyName = original.isOverridden;
        }
        return;
    }
    lookUpOriginalExactly(key, original);
    const std::wstring* oldKey = names_.oldNameOf(key);
    if (!original.found && oldKey != nullptr) {
        lookUpOriginalExactly(FoldedKey(*oldKey), original);
        original.usedOtherKeyName = original.isOverridden;
    }
}

std::optional<std::wstring> KeyResolver::reportedName(const FoldedKey& key) const {
    const std::wstring* currentKey = names_.currentNameOf(key);
    if (currentKey == nullptr) {
        return key.text();
    }
    Answer current;
    lookUpExactly(FoldedKey(*currentKey), false, current);
    return current.found ? std::nullopt : std::optional<std::wstring>(*currentKey);
}

KeyResolver::Resolution KeyResolver::resolve(const std::wstring& text) const {
    const FoldedKey key(text);
    Resolution resolution;
    Lookup& lookup = resolution.lookup;
    Original original;
    lookUp(key, false, lookup);
    lookUpOriginal(key, original);
    std::optional<std::wstring> name = reportedName(key);
    if (!name.has_value()) {
        return resolution;
    }
    // A read-only value under the key's own name beats what a writable store holds under the other name.
    const bool ownNameWins = lookup.usedOtherKeyName() && !original.usedOtherKeyName && original.isOverridden;
    resolution.report = ChangeReport{
        *std::move(name),
        ownNameWins ? original.value : lookup.value,
        std::move(original.value),
        !ownNameWins && lookup.found && original.isOverridden,
        lookup.found,
        lookup.storeName,
        std::move(original.storeName),
    };
    return resolution;
}
