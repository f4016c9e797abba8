#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "reading/Views.h"
#include "remote/DownloadJournal.h"

/// What came of fetching the server's file, as told by the record of the downloads. Pure functions; no value of a
/// configuration key is in what they give, the server's version apart.
namespace corvidctl {

/// One server that was asked for the file.
struct AttemptView {
    std::string server;
    std::string url;
    std::string result;  ///< in a few words
};

/// The outcome, for a script and for people.
struct FetchView {
    std::string server;  ///< of the last attempt; empty if there was none
    std::string url;
    std::string version;  ///< of the server, in its own spelling
    std::size_t keys = 0;
    bool ok = false;
    std::string reason;  ///< why it is not ok, in one line

    std::string protocol;       ///< "HTTP" or "HTTPS"
    std::string versionSource;  ///< how the version is known
    std::vector<AttemptView> attempts;
    std::string advice;  ///< what to do next, if it is not ok
};

/// @param downloads all of what this process has fetched. @param before the key "HomeUdsVersion" as the chain had it
///        before anything was fetched. @param interrupted whether the wait for the end was given up.
FetchView summarise(const DownloadJournal::Snapshot& downloads, const ValueView& before, bool interrupted);

/// What came of an attempt, in a few words.
std::string resultOf(const DownloadJournal::Attempt& attempt);

/// The downloads of the cycles after the first so many.
DownloadJournal::Snapshot since(DownloadJournal::Snapshot downloads, std::uint64_t cyclesBefore);

/// What is being waited for, for a progress line.
std::string activity(const DownloadJournal::Snapshot& downloads);

}  // namespace corvidctl
