#pragma once

#include <string>
#include <vector>

#include "cli/WrongUse.h"
#include "comparing/KeyChanges.h"
#include "comparing/Rehearsal.h"
#include "comparing/SimulationPlan.h"

namespace corvidctl {

struct SimulationView {
    std::vector<KeyChange> changes;
    std::string fromKeptCopies;        ///< as movesFromKeptCopies() has it
    std::vector<std::string> remarks;  ///< what a reader of the changes should know, each a whole sentence
};

/// Runs the module on a copy of the configuration as it is, and on another one with the changes, and compares what the
/// keys read: with user values set or erased, at the start after that. Nothing but throw-away copies is touched, and
/// they are gone when this returns.
/// @throws WrongUse if a store is not in the chain. @throws std::runtime_error with one line if a file is not valid in
///         its place, a copy cannot be made, or the interruption comes.
SimulationView simulate(const Invocation& invocation, const SimulationPlan& plan, Rehearsal& rehearsal);

}  // namespace corvidctl
