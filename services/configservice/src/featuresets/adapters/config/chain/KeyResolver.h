#pragma once

#include <string>

#include "chain/FoldedKey.h"
#include "chain/RenamedKeys.h"
#include "chain/SearchedStore.h"

/// The rules by which a chain of stores answers for a key: pure functions over a list of stores and the two alias
/// tables, without a lock, a log or an observer. The stores are asked, and nothing is kept.
///
/// Holds references to a search list and to tables that are made for it: these must outlive it, and stay as they are
/// meanwhile.
class KeyResolver {
public:
    /// What the chain answered. A lookup takes one that has found nothing yet, and goes on from it: on a miss the value
    /// is what the last store that was asked has left in it, and with no store to ask it stays as it was; the store's
    /// name changes on a hit only. The name refers to the search list.
    struct Answer {
        bool found = false;
        std::wstring value;
        StoreName storeName;
        /// False: nobody wants the name, which stays as it is.
        bool namesStore = true;
        /// The store that has the key; null if none has.
        const SearchedStore* store = nullptr;
    };

    /// Whose name a lookup under all names of a key has ended on.
    enum class Road {
        AsAsked,     ///< the name that was asked for
        CurrentKey,  ///< asked for an old name, found under the current one
        OwnOldName,  ///< asked for an old name, found under that very name, since the current one has no value
        LegacyKey,   ///< asked for a current name, found under its old one
    };

    struct Lookup : Answer {
        Road road = Road::AsAsked;
        /// For CurrentKey and LegacyKey: the name that was found.
        std::wstring otherName;

        /// True if the value lies under an old name while the current one has none.
        bool usedOtherKeyName() const { return road == Road::OwnOldName || road == Road::LegacyKey; }
    };

    /// What the read-only stores answer: the value that the user's own settings may hide.
    struct Original {
        std::wstring value;
        /// Kept from the lookup before if this one finds nothing. Refers to the search list.
        StoreName storeName;
        bool found = false;
        /// A writable store with the key stands ahead of the read-only ones, or there are none that have it.
        bool isOverridden = false;
        bool usedOtherKeyName = false;
    };

    /// The state of a key as observers are told it; onConfigAddedOrUpdated() says what each value means. The texts are
    /// those of the two lookups behind it, of the search list, of the tables, or of the key that was asked for.
    struct Report {
        Lookup lookup;
        Original original;
        /// Null, and then nothing is reported, if the key is an old name and the current one has a value of its own,
        /// which alone counts.
        const std::wstring* name = nullptr;
        /// A read-only value under the key's own name beats what a writable store holds under the other name.
        bool ownNameWins = false;

        const std::wstring& value() const { return ownNameWins ? original.value : lookup.value; }
        const std::wstring& originalValue() const { return original.value; }
        bool isOverridden() const { return !ownNameWins && lookup.found && original.isOverridden; }
        bool isDefined() const { return lookup.found; }
        const std::wstring& valueStoreName() const { return lookup.storeName.text(); }
        const std::wstring& originalValueStoreName() const { return original.storeName.text(); }
    };

    KeyResolver(const SearchList& stores, const RenamedKeys& names) : stores_(stores), names_(names) {}

    /// Asks the stores in order for exactly this key; the first that has it wins.
    /// @param skipLocal true: only the read-only stores are asked.
    void lookUpExactly(const FoldedKey& key, bool skipLocal, Answer& answer) const;

    /// Asks for the key under its current name, then under its old one, whichever of the two is given.
    void lookUp(const FoldedKey& key, bool skipLocal, Lookup& lookup) const;

    /// The first read-only store's value of exactly this key, and whether a writable store hides it. An empty value
    /// does not end the search: a later store of the same kind is still asked, and its name replaces the earlier one.
    /// @param known what lookUpExactly() has just found for this key among all stores, and need not be asked again of
    ///              stores that answer quietly; null if there is nothing of the kind.
    void lookUpOriginalExactly(const FoldedKey& key, Original& original, const Answer* known = nullptr) const;

    /// The same under both names of the key.
    void lookUpOriginal(const FoldedKey& key, Original& original) const;

    /// The name under which observers hear of the key: the key itself, or a text of the tables. Null if it is an old
    /// name whose current one has a value.
    const std::wstring* reportedName(const FoldedKey& key) const;

    /// The state of a key over the chain. @param report whose lookup is what lookUp() has just found for it among all
    /// stores; receives the rest.
    void complete(const FoldedKey& key, Report& report) const;

    /// Both steps in one.
    Report resolve(const FoldedKey& key) const;

private:
    // For a key whose current name, null unless it is an old one, is known.

    /// @param known what lookUp() has just found for the key, or null.
    void lookUpOriginal(const FoldedKey& key, const std::wstring* currentKey, Original& original,
                        const Lookup* known) const;
    const std::wstring* reportedName(const FoldedKey& key, const std::wstring* currentKey) const;

    const SearchList& stores_;
    const RenamedKeys& names_;
};
