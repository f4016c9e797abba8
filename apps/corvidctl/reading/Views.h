#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What the commands show, as plain UTF-8 data: taken on the dispatcher thread, printed anywhere.
namespace corvidctl {

/// One key as the chain or its live object has it. Sensitive texts are masked already, unless they are to be shown.
struct ValueView {
    std::string key;
    std::string value;
    std::string originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    std::string valueStoreName;
    std::string originalValueStoreName;
    bool isSensitive = false;

    /// The old name under which the value was found; empty if it was under the key's own.
    std::string foundUnder;

    /// A store that the user can write holds the key, and another store wins all the same.
    bool shadowsUser = false;

    /// It is overridden and no administrator's value is told, although a store that the user cannot write holds the
    /// key: FIPS mode answers in its place.
    bool hasUntoldOriginal = false;
};

/// One store of the chain.
struct StoreView {
    std::string name;
    std::int32_t priority = 0;
    bool isReadOnly = false;
    bool isLocal = false;
    std::size_t keys = 0;
};

/// What one store holds under one name.
struct LayerView {
    std::string store;
    std::int32_t priority = 0;
    bool isReadOnly = false;
    bool isLocal = false;
    std::string key;
    bool holdsKey = false;
    std::string value;
    bool wins = false;
};

/// The whole chain for one key.
struct ExplanationView {
    std::string asked;  ///< the key as the user wrote it
    ValueView value;
    std::vector<std::string> lookedUp;  ///< the names in the order tried; the last one hit, if any did
    std::vector<LayerView> layers;
    bool fipsRuleSpoke = false;
};

/// One report that changed something about a live object.
struct ChangeView {
    ValueView value;
    std::vector<std::string> changed;  ///< property names
};

/// What a data reset did to the files of the configuration directory, by their paths below it. Bytes of the file
/// system, which need not be UTF-8.
struct DataResetView {
    std::vector<std::string> removed;
    std::vector<std::string> kept;
};

}  // namespace corvidctl
