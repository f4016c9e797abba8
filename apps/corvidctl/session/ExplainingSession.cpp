#include "session/ExplainingSession.h"

#include "host/XmlDiagnostics.h"
#include "reading/StoreSources.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

StoreSources readSources(const host::ReferenceHost::Options& options) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    return StoreSources({options.configDirectory, options.installationDirectory, options.bootstrapFilePath});
}

}  // namespace

void explainInSession(const Invocation& invocation,
                      const std::function<void(const Explainer&, const ChainReader&)>& look) {
    StoreSources sources = readSources(invocation.host);
    Session session(invocation);
    sources.noteFilesSetAside();
    session.work([&](Session::Inside& inside) {
        look(Explainer(inside.chain, inside.reader, sources, invocation.reveal), inside.reader);
    });
    session.finish();
}

}  // namespace corvidctl
