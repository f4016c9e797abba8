#pragma once

#include <string>
#include <vector>

#include "comparing/Contents.h"
#include "comparing/Delta.h"
#include "comparing/KeyChanges.h"
#include "output/Format.h"
#include "output/Output.h"

/// What the comparing commands say to people.
namespace corvidctl {

void printDelta(const std::vector<DeltaRow>& rows, bool reveal, Output& output);

/// @param a, b what the user called the two sides.
void printDifferences(const std::vector<ContentsDifference>& differences, const std::string& a, const std::string& b,
                      bool reveal, Output& output);

/// The table of changes, and how many there are.
/// @param fromKeptCopies what else is to be said of their number; empty if nothing is.
void printKeyChanges(const std::vector<KeyChange>& changes, const std::string& fromKeptCopies, Output& output);

/// What a reader of an answer should know, each a whole sentence: for scripts beside the answer.
void printRemarks(const std::vector<std::string>& remarks, Format format, Output& output);

}  // namespace corvidctl
