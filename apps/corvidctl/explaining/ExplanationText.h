#pragma once

#include <string>
#include <vector>

#include "explaining/Explanation.h"
#include "explaining/Moments.h"
#include "output/Output.h"

/// Explanations for people.
namespace corvidctl {

/// Which value wins and why, and what became of the administrator's and the user's: whole sentences, to be escaped.
std::vector<std::string> verdictOn(const Explanation& key);

/// The stores for one key in order, under the name that was looked up last, then the verdict and the rules.
void print(const Explanation& key, Moment now, Output& output);

/// The stacks of several keys, of the stores that hold them.
void print(const std::vector<Explanation>& keys, Output& output);

/// The stores of the chain.
void print(const std::vector<StoreReport>& stores, Moment now, Output& output);

}  // namespace corvidctl
