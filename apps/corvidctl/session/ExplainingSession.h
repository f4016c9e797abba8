#pragma once

#include <functional>

#include "cli/Invocation.h"
#include "explaining/Explainer.h"

namespace corvidctl {

/// A session for one look at the chain together with its files, which are read before the module is put in.
/// @param look runs on the dispatcher thread; what it takes along stays valid. @throws std::runtime_error with one line
///             if the module could not be put in.
void explainInSession(const Invocation& invocation,
                      const std::function<void(const Explainer&, const ChainReader&)>& look);

}  // namespace corvidctl
