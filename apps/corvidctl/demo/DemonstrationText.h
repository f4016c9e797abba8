#pragma once

#include "demo/Demonstration.h"
#include "output/Output.h"

namespace corvidctl {

/// A demonstration for people, in numbered steps.
void printDemonstration(const DemonstrationView& view, Output& output);

}  // namespace corvidctl
