#pragma once

#include <set>
#include <string>
#include <vector>

#include "comparing/Delta.h"

namespace corvidctl {

/// The types that --type names, each time as one word or a list with commas; all but Extended where it names none.
/// Words that are no type are passed over.
std::set<DeltaType> chosenDeltaTypes(const std::vector<std::string>& lists);

/// The first word in the lists that is no type, an empty one included; nothing if all are.
std::optional<std::string> wrongDeltaType(const std::vector<std::string>& lists);

}  // namespace corvidctl
