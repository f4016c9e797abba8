#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fetching/FetchReport.h"
#include "output/MachineText.h"
#include "reading/Views.h"
#include "remote/DownloadJournal.h"

namespace corvidctl {

/// What is known of the call-control servers, and what came of asking them. Plain data; texts are masked where they
/// must be.
struct ServerView {
    bool settled = true;             ///< nothing is under way
    std::vector<ValueView> servers;  ///< the keys that name one, in the order in which they are asked
    std::string file;                ///< what the servers are asked for
    ValueView version;               ///< the key with the server's version
    DownloadJournal::Snapshot downloads;
    std::optional<FetchView> last;  ///< what came of all that was begun, if it has ended
};

/// Names of the keys that name servers, in the order in which they are asked.
const std::vector<std::wstring>& serverKeys();

/// What came of the downloads of this run; none while they go on, or if nothing has been asked yet.
/// @param versionBefore the version as the chain had it before anything was fetched.
std::optional<FetchView> lastFetch(const DownloadJournal::Snapshot& downloads, bool settled,
                                   const ValueView& versionBefore);

namespace answers {

/// The newest cycle first.
Json server(const ServerView& view);

}  // namespace answers

}  // namespace corvidctl
