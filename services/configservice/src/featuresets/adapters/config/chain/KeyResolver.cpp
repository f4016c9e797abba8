#include "chain/KeyResolver.h"

#include <utility>

#include "chain/DisableP2PCallOnFips.h"

void KeyResolver::lookUpExactly(const FoldedKey& key, bool skipLocal, Answer& answer) const {
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
    const std::wstring* oldKey = lookup.found ? nullptr : names_.oldNameOf(key);
    if (oldKey == nullptr) {
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
    std::wstring readOnlyText;
    bool hasWritableText = false;  // of the text itself nothing else counts
    // Until the walk has come to the store that is known to answer, those that answer quietly are known to miss.
    const SearchedStore* answering = known != nullptr ? known->store : nullptr;
    for (const SearchedStore& store : stores_) {
        if (hasWritableText && !readOnlyText.empty()) {
            break;
        }
        const bool isAnswering = &store == answering;
        const bool isKnown = answering != nullptr && store.answersQuietly();
        answering = isAnswering ? nullptr : answering;
        if (isKnown && !isAnswering) {
            continue;
        }
        if (store.isReadOnly()) {
            if (!readOnlyText.empty()) {
                continue;
            }
            if (isKnown) {
                readOnlyText = known->value;
            } else if (!store.lookUp(key, readOnlyText)) {
                continue;
            }
            store.giveName(original.storeName);
            original.found = true;
        } else if (!hasWritableText) {
            if (isKnown) {
                hasWritableText = !known->value.empty();
            } else {
                std::wstring text;
                const bool isFound = store.lookUp(key, text);
                hasWritableText = !text.empty();  // a store from outside may leave one in a miss
                if (!isFound) {
                    continue;
                }
            }
            original.isOverridden = original.isOverridden || readOnlyText.empty();
        }
    }
    original.value = std::move(readOnlyText);
}

void KeyResolver::lookUpOriginal(const FoldedKey& key, Original& original) const {
    lookUpOriginal(key, names_.currentNameOf(key), original, nullptr);
}

void KeyResolver::lookUpOriginal(const FoldedKey& key, const std::wstring* currentKey, Original& original,
                                 const Lookup* known) const {
    // The two branches move on for different reasons: from a current name that is not overridden, and from a name that
    // no read-only store has.
    if (currentKey != nullptr) {
        lookUpOriginalExactly(FoldedKey(*currentKey), original);
        if (!original.isOverridden) {
            lookUpOriginalExactly(key, original);
            original.usedOtherKeyName = original.isOverridden;
        }
        return;
    }
    lookUpOriginalExactly(key, original, known != nullptr && known->road == Road::AsAsked ? known : nullptr);
    const std::wstring* oldKey = original.found ? nullptr : names_.oldNameOf(key);
    if (oldKey != nullptr) {
        lookUpOriginalExactly(FoldedKey(*oldKey), original);
        original.usedOtherKeyName = original.isOverridden;
    }
}

const std::wstring* KeyResolver::reportedName(const FoldedKey& key) const {
    return reportedName(key, names_.currentNameOf(key));
}

const std::wstring* KeyResolver::reportedName(const FoldedKey& key, const std::wstring* currentKey) const {
    if (currentKey == nullptr) {
        return &key.text();
    }
    Answer current;
    lookUpExactly(FoldedKey(*currentKey), false, current);
    return current.found ? nullptr : currentKey;
}

void KeyResolver::complete(const FoldedKey& key, Report& report) const {
    const std::wstring* const currentKey = names_.currentNameOf(key);
    lookUpOriginal(key, currentKey, report.original, &report.lookup);
    report.name = reportedName(key, currentKey);
    report.ownNameWins =
        report.lookup.usedOtherKeyName() && !report.original.usedOtherKeyName && report.original.isOverridden;
}

KeyResolver::Report KeyResolver::resolve(const FoldedKey& key) const {
    Report report;
    lookUp(key, false, report.lookup);
    complete(key, report);
    return report;
}
