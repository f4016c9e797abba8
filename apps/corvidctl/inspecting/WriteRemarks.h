#pragma once

#include <string>
#include <vector>

#include "comparing/UserWrite.h"

namespace corvidctl {

/// What a person should know of a write besides its answer, in sentences: why it does not take effect, what it costs,
/// why it is not kept; mostly none. Pure; no value is told but that of the answer, which is masked where it must be.
/// @param configDirectory where it is to be kept. @param reveal show sensitive texts.
std::vector<std::string> remarksOn(const UserWriteView& view, const std::string& configDirectory, bool reveal);

}  // namespace corvidctl
