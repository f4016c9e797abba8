#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "journal/JournalBatch.h"

namespace corvidctl {

/// True if only the store of a known value gives way to its kept copy, or comes back.
bool onlyChangesToTheCopy(const JournalChange& change);

/// What a key reads at the end of a journal.
struct LastAnswer {
    JournalChange change;                         ///< the last one, or what the last start found
    std::chrono::system_clock::time_point since;  ///< of the batch from which on it has read so in every batch
};

/// What the keys of a journal read at its end, in key order. Keys that no store holds are left out. As below, a store
/// and its kept copy are one source of a value.
/// @param isWanted, reveal as below.
std::vector<LastAnswer> lastAnswersOf(const std::vector<JournalBatch>& batches,
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
