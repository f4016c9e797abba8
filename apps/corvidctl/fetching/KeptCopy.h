#pragma once

#include <string>

#include "fetching/FetchReport.h"

namespace corvidctl {

class Session;

/// Whether the next start will find what the server has delivered. Reads the copy on disk as that start would, and
/// compares it with the values that the chain has now; secrets are in neither.
/// @param session with its remote source still on. @return the path of a copy that says something else, or is missing;
///        empty if all is well, or if there is nothing to keep.
std::string copyThatIsNotKept(Session& session);

/// Leaves a note beside the copy on where it came from, for those who ask later. A note that cannot be written is no
/// failure: the log tells of it, and nothing else is missing.
/// @param configDirectory that of the session. @param downloads of this run; nothing is noted unless the last of them
///        was delivered and the copy is kept. @param fetched what came of them.
void noteDelivery(const std::string& configDirectory, const DownloadJournal::Snapshot& downloads,
                  const FetchView& fetched);

}  // namespace corvidctl
