#pragma once

#include <string>
#include <vector>

#include "comparing/Picture.h"

/// The names of stores, as users write them.
namespace corvidctl {

/// True if a chain of this system may have a store of that name: one of the fixed names, or that of a cached copy.
bool isNameOfStore(const std::string& name);

/// True for "cached….xml" other than the provisioning cache, whose store has a name of its own.
bool isNameOfCachedCopy(const std::string& name);

/// The layer of that name, without regard to case; null if there is none.
const Layer* findLayer(const std::vector<Layer>& layers, const std::string& name);

/// The names in chain order, for a message.
std::string listOfStores(const std::vector<Layer>& layers);

}  // namespace corvidctl
