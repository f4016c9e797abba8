#include "chain/KeyResolver.h"

#include <utility>

#include "chain/DisableP2PCallOnFips.h"

void KeyResolver::lookUpExactly(const FoldedKey& key, bool skipLocal, Answer& answer) const {
    answer.found = false;
    answer.store = nullptr;
    for (const SearchedStore& store : stores_) {
        if (skipLocal && !store.isReadOnly()) {
            continue;
        }
        if (store.lookUp(key, answer.value)) {
            if (answer.namesStore) {
                store.giveName(answer.storeName);
            }
            answer.found = true;
            answer.store = &store;
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

void KeyResolver::lookUpOriginalExactly(const FoldedKey& key, Original& original, const Answer* known) const {
    original.found = false;
    original.isOverridden = false;
    std::wstring writableText;
    std::wstring readOnlyText;
    // Until the walk has come to the store that is known to answer, those that answer quietly are known to miss.
    const SearchedStore* answering = known != nullptr ? known->store : nullptr;
    for (const SearchedStore& store : stores_) {
        if (!writableText.empty() && !readOnlyText.empty()) {
            break;
        }
        const bool isAnswering = &store == answering;
        const bool isKnown = answering != nullptr && store.answersQuietly();
        answering = isAnswering ? nullptr : answering;
        if (isKnown && !isAnswering) {
            continue;
        }
        const bool readOnly = store.isReadOnly();
        std::wstring& text = readOnly ? readOnlyText : writableText;
        if (!text.empty()) {
            continue;
        }
        if (isKnown) {
            // Of a writable store's text only this counts, whether it is empty.
            text = readOnly ? known->value : known->value.substr(0, 1);
        } else if (!store.lookUp(key, text)) {
            continue;
        }
        if (readOnly) {
            store.giveName(original.storeName);
            original.found = true;
        } else if (readOnlyText.empty()) {
            original.isOverridden = true;
        }
    }
    original.value = std::move(readOnlyText);
}

void KeyResolver::lookUpOriginal(const FoldedKey& key, Original& original, const Lookup* known) const {
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
    lookUpOriginalExactly(key, original, known != nullptr && known->road == Road::AsAsked ? known : nullptr);
    const std::wstring* oldKey = names_.oldNameOf(key);
    if (!original.found && oldKey != nullptr) {
        lookUpOriginalExactly(FoldedKey(*oldKey), original);
        original.usedOtherKeyName = original.isOverridden;
    }
}

const std::wstring* KeyResolver::reportedName(const FoldedKey& key) const {
    const std::wstring* currentKey = names_.currentNameOf(key);
    if (currentKey == nullptr) {
        return &key.text();
    }
    Answer current;
    lookUpExactly(FoldedKey(*currentKey), false, current);
    return current.found ? nullptr : currentKey;
}

void KeyResolver::complete(const FoldedKey& key, Report& report) const {
    lookUpOriginal(key, report.original, &report.lookup);
    report.name = reportedName(key);
    report.ownNameWins =
        report.lookup.usedOtherKeyName() && !report.original.usedOtherKeyName && report.original.isOverridden;
}

KeyResolver::Report KeyResolver::resolve(const FoldedKey& key) const {
    Report report;
    lookUp(key, false, report.lookup);
    complete(key, report);
    return report;
}
