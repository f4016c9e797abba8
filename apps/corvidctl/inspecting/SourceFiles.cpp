#include "inspecting/SourceFiles.h"

#include "host/XmlDiagnostics.h"

namespace corvidctl {

namespace {

StoreSources readSilently(const host::ReferenceHost::Options& options) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    return StoreSources({options.configDirectory, options.installationDirectory, options.bootstrapFilePath});
}

}  // namespace

SourceFiles::SourceFiles(const host::ReferenceHost::Options& options) : atStart_(readSilently(options)) {}

StoreSources SourceFiles::now(const DownloadJournal::Snapshot& downloads) const {
    StoreSources sources = atStart_;
    sources.readOwnFilesAgain();
    sources.noteDownloads(downloads);
    return sources;
}

}  // namespace corvidctl
