#pragma once

#include <string>

#include "fetching/FetchReport.h"

namespace corvidctl {

class Session;

/// The key with the server's version as the chain has it: what a fetch is summed up against, before it begins.
ValueView storedVersion(Session& session);

/// Looks whether the next start will find what the server has delivered, once nothing is under way. Reads the copy on
/// disk as that start would, and compares it with the values that the chain has now; secrets are in neither. Where
/// CacheFiles::areStrangers(), the module has written no copy: one that is there counts as missing, and gets no note.
///
/// If it will, leaves a note beside the copy on where it came from, for those who ask later. A note that cannot be
/// written is no failure: the log tells of it, and nothing else is missing.
/// @param session with its remote source still on. @param configDirectory the session's. @param downloads of this run.
/// @param fetched what came of them. @return the path of a copy that says something else, or is missing; empty if all
///        is well, or if nothing was delivered that could be kept.
std::string noteDelivery(Session& session, const std::string& configDirectory,
                         const DownloadJournal::Snapshot& downloads, const FetchView& fetched);

/// Whether there is a copy of the server's file in the configuration directory itself, where former versions left it;
/// the module removes that when it is to fetch the file.
bool holdsFormerCopy(const std::string& configDirectory);

/// What such a copy is called, and is.
std::string nameOfFormerCopy();

/// That the copy at the path could not be written; without a full stop.
std::string sentenceOnLostCopy(const std::string& path);

}  // namespace corvidctl
