#include "inspecting/SourceFiles.h"

#include "host/XmlDiagnostics.h"

namespace corvidctl {

namespace {

StoreSources readSilently(const host::ReferenceHost::Options& options) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    return StoreSources({options.configDirectory, options.installationDirectory, options.bootstrapFilePath});
}

}  // namespace

SourceFiles::SourceFiles(const host::ReferenceHost::Options& options)
    : atStart_(readSilently(options)), latest_(atStart_) {}

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
