#pragma once

#include <functional>
#include <string>
#include <vector>

#include "journal/JournalBatch.h"

namespace corvidctl {

/// True if only the store of a known value gives way to its kept copy, or comes back.
bool onlyChangesToTheCopy(const JournalChange& change);

/// What the keys of a journal read at its end, in key order, the time not counted: of each the last change, or what the
/// last start found. Keys that no store holds are left out.
/// @param isWanted, reveal as below.
std::vector<JournalChange> lastAnswersOf(const std::vector<JournalBatch>& batches,
                                         const std::function<bool(const std::wstring&)>& isWanted, bool reveal);

/// What a journal's batches tell of some keys, in their order.
///
/// A batch of Cause::Start tells what changed while nobody looked: only where it differs from all that the batches
/// before it told. A value that stays the same while a store gives way to its copy, or comes back, is no change.
/// Batches of which nothing is left are left out.
/// @param isWanted asked for each key under its current name.
/// @param reveal show texts as the journal has them; otherwise those of a key that it calls sensitive anywhere are
///        masked.
std::vector<JournalBatch> historyOf(const std::vector<JournalBatch>& batches,
                                    const std::function<bool(const std::wstring&)>& isWanted, bool reveal);

}  // namespace corvidctl
