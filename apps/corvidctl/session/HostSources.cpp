#include "session/HostSources.h"

#include "host/XmlDiagnostics.h"

namespace corvidctl {

StoreSources readSourcesOf(const host::ReferenceHost::Options& options) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    return StoreSources({options.configDirectory, options.installationDirectory, options.bootstrapFilePath});
}

}  // namespace corvidctl
