#pragma once

#include <vector>

#include "comparing/Contents.h"
#include "comparing/Delta.h"
#include "comparing/KeyChanges.h"
#include "output/Output.h"

/// What the comparing commands say to people.
namespace corvidctl {

void printDelta(const std::vector<DeltaRow>& rows, bool reveal, Output& output);

/// @param a, b what the user called the two sides.
void printDifferences(const std::vector<ContentsDifference>& differences, const std::string& a, const std::string& b,
                      bool reveal, Output& output);

/// The table of changes, and how many there are.
void printKeyChanges(const std::vector<KeyChange>& changes, Output& output);

}  // namespace corvidctl
