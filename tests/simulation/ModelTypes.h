#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace simulation {

/// Keys as the model compares them: each letter in lower case, all forms of one letter being one.
std::wstring folded(const std::wstring& text);

/// Store names as the model compares them: ASCII letters in lower case, everything else as it is.
std::string folded(const std::string& text);

/// A text that a terminal can show: what is not printable ASCII becomes \x and its code.
std::string printable(const std::wstring& text);

/// The text, printable, in square brackets: so that spaces at its ends are seen.
std::string bracketed(const std::wstring& text);

/// An entry as a store keeps it: the spelling of its first writer, and the text.
struct ModelEntry {
    std::wstring spelling;
    std::wstring text;

    bool operator==(const ModelEntry&) const = default;
};

/// Entries under the folded key, so in the order that every map of the module has.
using ModelEntries = std::map<std::wstring, ModelEntry>;

/// A store as the model sees it: no behaviour but what the module's own stores are told to have.
struct ModelStore {
    std::string name;
    int priority = 0;
    bool readOnly = false;
    bool local = false;
    bool cached = false;                 ///< a copy is kept on disk, under "cached" + name + ".xml"
    bool refusesWrites = false;          ///< takes no value although the user may write to it
    bool hidesPeerToPeerOnFips = false;  ///< the module's own stores apply the FIPS rule, outside ones do not
    bool hidesEvenWhatItLacks = false;   ///< the bootstrap store: hands out the hidden text with a miss as well
    bool movesOldVoicemailKey = false;   ///< the user's file keeps the old voicemail server under its current name
    ModelEntries entries;

    void put(const std::wstring& key, const std::wstring& text);
    std::vector<std::wstring> keys() const;
};

/// Name, place, flags and entries in one line.
std::string describe(const ModelStore& store);

/// What the chain says about a key after a change.
struct Report {
    std::wstring key;
    std::wstring value;
    std::wstring originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    std::wstring valueStoreName;
    std::wstring originalValueStoreName;
    bool silent = false;

    bool operator==(const Report&) const = default;
};

/// One call that an observer of the chain gets.
struct ChainCall {
    enum class Kind { Changed, Fire, Sensitive };

    Kind kind = Kind::Changed;
    Report report;  ///< only the key for the other two kinds

    bool operator==(const ChainCall&) const = default;
};

std::string describe(const ChainCall& call);

/// The properties of a live value that can change, in the order in which they are told.
enum class Property { Value, OriginalValue, isOverridden, isDefined, ValueStoreName, OriginalValueStoreName };

inline constexpr std::size_t propertyCount = 6;

/// What a client reads from a live value.
struct ValueState {
    std::wstring key;
    std::wstring value;
    std::wstring originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    std::wstring valueStoreName;
    std::wstring originalValueStoreName;

    bool operator==(const ValueState&) const = default;
};

std::string describe(const ValueState& state);

/// One call that an observer of a live value gets, and what it can read at that moment.
struct Heard {
    int watcher = 0;
    Property property = Property::Value;
    ValueState state;

    bool operator==(const Heard&) const = default;
};

std::string describe(const Heard& heard);

}  // namespace simulation
