#pragma once

#include <string>
#include <vector>

#include "explaining/Explanation.h"
#include "output/Format.h"
#include "output/MachineText.h"

/// The machine-readable forms of explanations, as scripts rely on them: whole lines, in the formats of MachineText.h.
/// Times are ISO 8601 in UTC.
namespace corvidctl::answers {

Json explanationObject(const Explanation& key);

/// Tab-separated: a line for each layer.
std::string explanation(const Explanation& key, Format format);

/// Tab-separated: a line for each layer of each key.
std::string explanations(const std::vector<Explanation>& keys, Format format);

/// One store, for an answer that says more of it.
Json storeObject(const StoreReport& store);
std::string stores(const std::vector<StoreReport>& stores, Format format);

}  // namespace corvidctl::answers
