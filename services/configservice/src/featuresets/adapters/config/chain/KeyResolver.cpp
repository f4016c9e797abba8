#include "chain/KeyResolver.h"

#include <utility>

#include "chain/DisableP2PCallOnFips.h"
#include "quill/StringUtils.h"

namespace {

const std::wstring* otherNameOf(const std::wstring& key, const ConfigMap& names) {
    const auto found = names.find(key);
    return found != names.end() ? &found->second : nullptr;
}

}  // namespace

void KeyResolver::lookUpExactly(const std::wstring& key, bool skipLocal, Answer& answer) const {
    answer.found = false;
    for (const auto& store : stores_) {
        if (skipLocal && !store->isReadOnly()) {
            continue;
        }
        if (store->getValue(key, answer.value)) {
            answer.storeName = QuillCoreUtils::toWideString(store->getName());
            answer.found = true;
            break;
        }
    }
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key, answer.value);
}

void KeyResolver::lookUp(const std::wstring& key, bool skipLocal, Lookup& lookup) const {
    lookup.road = Road::AsAsked;
    if (const std::wstring* currentKey = otherNameOf(key, aliasMap_)) {
        lookUpExactly(*currentKey, skipLocal, lookup);
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
    const std::wstring* oldKey = otherNameOf(key, legacyMap_);
    if (lookup.found || oldKey == nullptr) {
        return;
    }
    lookUpExactly(*oldKey, skipLocal, lookup);
    if (lookup.found) {
        lookup.road = Road::LegacyKey;
        lookup.otherName = *oldKey;
    }
}

void KeyResolver::lookUpOriginalExactly(const std::wstring& key, Original& original) const {
    original.found = false;
    original.isOverridden = false;
    std::wstring writableText;
    std::wstring readOnlyText;
    for (const auto& store : stores_) {
        if (!writableText.empty() && !readOnlyText.empty()) {
            break;
        }
        const bool readOnly = store->isReadOnly();
        std::wstring& text = readOnly ? readOnlyText : writableText;
        if (!text.empty() || !store->getValue(key, text)) {
            continue;
        }
        if (readOnly) {
            original.storeName = QuillCoreUtils::toWideString(store->getName());
            original.found = true;
        } else if (readOnlyText.empty()) {
            original.isOverridden = true;
        }
    }
    original.value = std::move(readOnlyText);
}

void KeyResolver::lookUpOriginal(const std::wstring& key, Original& original) const {
    original.usedOtherKeyName = false;
    // The two branches move on for different reasons: from a current name that is not overridden, and from a name that
    // no read-only store has.
    if (const std::wstring* currentKey = otherNameOf(key, aliasMap_)) {
        lookUpOriginalExactly(*currentKey, original);
        if (!original.isOverridden) {
            lookUpOriginalExactly(key, original);
            original.usedOtherKeyName = original.isOverridden;
        }
        return;
    }
    lookUpOriginalExactly(key, original);
    const std::wstring* oldKey = otherNameOf(key, legacyMap_);
    if (!original.found && oldKey != nullptr) {
        lookUpOriginalExactly(*oldKey, original);
        original.usedOtherKeyName = original.isOverridden;
    }
}

std::optional<std::wstring> KeyResolver::reportedName(const std::wstring& key) const {
    const std::wstring* currentKey = otherNameOf(key, aliasMap_);
    if (currentKey == nullptr) {
        return key;
    }
    Answer current;
    lookUpExactly(*currentKey, false, current);
    return current.found ? std::nullopt : std::optional<std::wstring>(*currentKey);
}

KeyResolver::Resolution KeyResolver::resolve(const std::wstring& key) const {
    Resolution resolution;
    Lookup& lookup = resolution.lookup;
    Original original;
    lookUp(key, false, lookup);
    lookUpOriginal(key, original);
    const std::optional<std::wstring> name = reportedName(key);
    if (!name.has_value()) {
        return resolution;
    }
    // A read-only value under the key's own name beats what a writable store holds under the other name.
    const bool ownNameWins = lookup.usedOtherKeyName() && !original.usedOtherKeyName && original.isOverridden;
    resolution.report = ChangeReport{
        *name,
        ownNameWins ? original.value : lookup.value,
        original.value,
        !ownNameWins && lookup.found && original.isOverridden,
        lookup.found,
        lookup.storeName,
        original.storeName,
    };
    return resolution;
}
