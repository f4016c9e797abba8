#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "Interruption.h"
#include "Json.h"
#include "LiveWatcher.h"
#include "Session.h"
#include "commands/Commands.h"
#include "unified/UnifiedFactory.h"

#include <ostream>

namespace corvidctl {

int runWatch(const Invocation& invocation, Output& output) {
    Interruption interruption;
    Session session(invocation);

    std::shared_ptr<LiveWatcher> watcher;
    const auto tell = [&](const ChangeView& change) {
        if (invocation.json) {
            output.out << json::change(change) << '\n';
        } else {
            printChange(output, change);
        }
        output.out.flush();
        if (!output.out) {
            interruption.end();  // nobody reads any more
        }
    };
    session.work([&](Session::Inside& inside) {
        watcher = std::make_shared<LiveWatcher>(inside.chain, session.host().service(),
                                                session.host().factory()->getServicesDispatcher(), inside.reader,
                                                KeySelection(invocation.arguments, inside.reader), tell);
        watcher->start();
    });
    // Off the dispatcher thread: it may wait for a server.
    session.host().featureSet()->startTftpConfigSource();

    interruption.wait();
    session.host().featureSet()->stopTftpConfigSource();
    session.work([&watcher](Session::Inside&) {
        watcher->stop();
        watcher.reset();
    });
    session.finish();
    return Status::Done;
}

}  // namespace corvidctl
