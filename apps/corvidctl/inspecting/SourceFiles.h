#pragma once

#include <mutex>

#include "host/ReferenceHost.h"
#include "reading/StoreSources.h"

namespace corvidctl {

/// The files behind the stores of a client that runs, which writes some of them itself.
///
/// Made before the module is put in, as StoreSources. Any thread after noteStarted().
class SourceFiles {
public:
    /// Reads the files.
    explicit SourceFiles(const host::ReferenceHost::Options& options);

    /// Notes which unreadable files the module has put aside: once it has been put in.
    void noteStarted();

    /// As they were when the client read them.
    const StoreSources& atStart() const { return atStart_; }

    /// As they are: those that the client writes are read anew if they have been written. @param downloads of this run.
    StoreSources now(const DownloadJournal::Snapshot& downloads) const;

private:
    StoreSources latestReadings() const;

    StoreSources atStart_;
    mutable std::mutex mutex_;
    mutable StoreSources latest_;  ///< under mutex_
};

}  // namespace corvidctl
