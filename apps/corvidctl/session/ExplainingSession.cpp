#include "session/ExplainingSession.h"

#include "session/HostSources.h"
#include "session/Session.h"

namespace corvidctl {

void explainInSession(const Invocation& invocation,
                      const std::function<void(const Explainer&, const ChainReader&)>& look) {
    StoreSources sources = readSourcesOf(invocation.host);
    Session session(invocation);
    sources.noteFilesSetAside();
    session.work([&](Session::Inside& inside) {
        look(Explainer(inside.chain, inside.reader, sources, invocation.reveal), inside.reader);
    });
    session.finish();
}

}  // namespace corvidctl
