#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/Invocation.h"

namespace corvidctl {

/// Where a store's values come from.
enum class StorePlace {
    Override,
    LocalFile,
    CachedCopy,
    Provisioning,
    Bootstrap,
    Defaults,
    Server,  ///< delivered, not read from a file of the configuration
};

/// What a simulation changes.
struct SimulationPlan {
    struct Replacement {
        StorePlace place = StorePlace::Override;
        std::string store;                ///< as the user spells it
        std::optional<std::string> file;  ///< nothing: the store's file is left out

        /// How the user said it, for a message.
        std::string words() const;
    };

    std::vector<Replacement> replacements;
    std::vector<std::pair<std::string, std::string>> setKeys;
    std::vector<std::string> unsetKeys;
    std::string problem;  ///< what does not fit, in one line; empty if all does
};

/// The stores of a fixed name that have a file, or the server's, to be replaced; cached copies may be, too. In chain
/// order.
std::vector<std::string> namesOfReplaceableStores();

/// Reads what the options of `simulate` say. Whether a cached copy is in the chain, and what stands in a file, is not
/// looked at.
SimulationPlan readPlan(const Invocation& invocation);

/// Why the file would not do in its place, and what the module would make of it, in one line; empty if it would do. No
/// session may run meanwhile.
std::string problemOf(const SimulationPlan::Replacement& replacement);

}  // namespace corvidctl
