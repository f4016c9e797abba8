#include "Interruption.h"
#include "Json.h"
#include "ProgressLine.h"
#include "RemoteSource.h"
#include "Session.h"
#include "WatchScope.h"
#include "commands/Commands.h"

#include <unistd.h>

#include <ostream>

namespace corvidctl {

int runWatch(const Invocation& invocation, Output& output) {
    Interruption interruption;
    ProgressLine progress(output.error,
                          invocation.json ? ProgressLine::Terminal() : ProgressLine::terminalOf(STDERR_FILENO));
    const auto tell = [&](const ChangeView& change) {
        progress.aside([&] {
            if (invocation.json) {
                output.out << json::change(change) << '\n';
            } else {
                printChange(output, change);
            }
            output.out.flush();
        });
        if (!output.out) {
            interruption.end();  // nobody reads any more
        }
    };

    Session session(invocation);
    WatchScope watch(session, invocation.arguments, tell);
    RemoteSource remote(session, interruption);
    remote.start();
    if (remote.waitUntilSettled(progress)) {
        interruption.wait();
    }
    remote.stop();
    watch.stop();
    session.finish();
    return Status::Done;
}

}  // namespace corvidctl
