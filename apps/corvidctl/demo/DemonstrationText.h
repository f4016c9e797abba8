#pragma once

#include "Output.h"
#include "demo/Demonstration.h"

namespace corvidctl {

/// A demonstration for people, in numbered steps.
void printDemonstration(const DemonstrationView& view, Output& output);

}  // namespace corvidctl
