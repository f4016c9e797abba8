#include "inspecting/SourceFiles.h"

#include "session/HostSources.h"

namespace corvidctl {

SourceFiles::SourceFiles(const host::ReferenceHost::Options& options)
    : atStart_(readSourcesOf(options)), latest_(atStart_) {}

void SourceFiles::noteStarted() {
    const std::lock_guard lock(mutex_);
    atStart_.noteFilesSetAside();
    latest_.noteFilesSetAside();
}

StoreSources SourceFiles::now(const DownloadJournal::Snapshot& downloads) const {
    StoreSources sources = latestReadings();
    sources.noteDownloads(downloads);
    return sources;
}

StoreSources SourceFiles::latestReadings() const {
    const std::lock_guard lock(mutex_);
    latest_.readOwnFilesAgain();
    return latest_;
}

}  // namespace corvidctl
