#pragma once

#include <string>
#include <vector>

#include "output/Format.h"
#include "validating/ValidationView.h"

namespace corvidctl::answers {

/// An object for one file, an array for several. "warnings" and "errors" are texts, each with its place; "findings"
/// has the same ones, and the infos, in their parts.
std::string validations(const std::vector<ValidationView>& views, Format format);

}  // namespace corvidctl::answers
