#pragma once

#include "output/Output.h"
#include "validating/ValidationView.h"

namespace corvidctl {

/// A validated file for people: the verdict, each finding on a line as compilers print them
/// ("FILE:LINE:COLUMN: warning: text [kind]"), and the keys in a table.
void printValidation(const ValidationView& view, Output& output);

}  // namespace corvidctl
