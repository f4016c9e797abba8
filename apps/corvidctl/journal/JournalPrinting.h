#pragma once

#include <vector>

#include "journal/JournalBatch.h"

namespace corvidctl {

struct Output;

/// A batch for people: a line with its time, its cause and how many keys it changed, and below it a line for each key.
void printBatch(Output& output, const JournalBatch& batch);

/// The changes of all batches for people, as a table with a line for each.
void printChanges(Output& output, const std::vector<JournalBatch>& batches);

}  // namespace corvidctl
