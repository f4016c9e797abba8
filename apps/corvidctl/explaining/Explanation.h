#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "reading/StoreSources.h"
#include "reading/Views.h"

/// Why a key reads as it does, as plain UTF-8 data: taken on the dispatcher thread, told anywhere. Sensitive texts are
/// masked already, unless they are to be shown.
namespace corvidctl {

/// What part a store plays for a key.
enum class LayerState {
    Wins,
    Shadowed,  ///< it holds the key, and another store wins
    Absent,    ///< it does not hold the key
    Ignored,   ///< its file has the key, which it never gives out
    Failed,    ///< its file could not be read
};

/// "wins", "shadowed", "absent", "ignored" or "failed".
const char* nameOf(LayerState state);

/// One store under one of the names that were looked up.
struct KeyLayer : LayerView {
    LayerState state = LayerState::Absent;
    StoreOrigin origin;
    std::optional<KeySource> inFile;  ///< what its file says of the name, if anything
};

/// A name of the key in a place that was not looked up.
struct HiddenPlace {
    std::string store;
    std::string file;  ///< as people see it; empty for a store without one
    int line = 0;      ///< from 1; 0 if unknown
};

/// The policy that takes a user's own server away.
struct ForbiddingPolicy {
    std::string key;
    std::string store;                ///< that says so
    std::vector<HiddenPlace> erased;  ///< what the files of the user had before the start
};

struct Explanation {
    std::string asked;  ///< the key as the user wrote it
    ValueView value;
    std::vector<std::string> lookedUp;  ///< the names in the order tried; the last one hit, if any did
    std::vector<KeyLayer> layers;       ///< for each name that was looked up, the stores in chain order

    std::string oldName;  ///< the other name of a renamed key; empty for any other
    std::string alias;    ///< the old name, if the user asked for it or the value was found under it
    std::vector<HiddenPlace> heldUnderOldName;  ///< where the old name was not looked up any more
    std::vector<HiddenPlace> unreadCopies;      ///< kept copies that hold the key and are not in the chain
    std::vector<HiddenPlace> lost;              ///< where a file has it outside any group
    std::string meant;  ///< the key that was probably meant by an undefined one; empty if there is none
    std::optional<ForbiddingPolicy> policy;
    bool fipsRuleSpoke = false;
    bool isHidden = false;  ///< some value was masked

    std::vector<std::string> rules;  ///< a sentence for each rule that touched the key
};

/// One store of the chain, and how it fares.
struct StoreReport : StoreView {
    StoreState state = StoreState::Empty;
    StoreOrigin origin;
    std::size_t wins = 0;  ///< keys whose value it gives
};

}  // namespace corvidctl
