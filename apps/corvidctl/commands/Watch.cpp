#include "ConfigStoreConstants.h"
#include "commands/Commands.h"
#include "fetching/FetchReport.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "output/Answers.h"
#include "output/InterruptibleOutput.h"
#include "output/ProgressLine.h"
#include "session/Interruption.h"
#include "session/Session.h"
#include "session/WatchScope.h"

#include <unistd.h>

#include <ostream>

namespace corvidctl {

namespace {

ValueView storedVersion(Session& session) {
    ValueView version;
    session.work([&version](Session::Inside& inside) {
        version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
    });
    return version;
}

}  // namespace

int runWatch(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    ProgressLine progress(output.error, ProgressLine::terminalOf(STDERR_FILENO));
    const auto tell = [&](const ChangeView& change) {
        progress.aside([&] {
            if (isForMachines(invocation.format)) {
                output.out << answers::change(change, invocation.format);
            } else {
                printChange(output, change);
            }
            output.out.flush();
        });
        if (!output.out) {
            interruption.end();  // nobody reads any more
        }
    };
    // Changes may be told at the same time.
    const auto complain = [&](const std::string& line) { progress.aside([&] { printError(output, line); }); };

    output.out << answers::changeHeadings(invocation.format) << std::flush;
    Session session(invocation);
    const ValueView version = storedVersion(session);
    WatchScope watch(session, invocation.arguments, tell);
    RemoteSource remote(session, interruption);
    remote.start();
    std::string lostCopy;
    if (remote.waitUntilSettled(progress)) {
        const FetchView fetched = summarise(remote.downloads(), version, false);
        if (!fetched.ok) {
            complain("nothing fetched: " + fetched.reason);
        } else if (lostCopy = copyThatIsNotKept(session); !lostCopy.empty()) {
            complain("the copy for the next start could not be written: " + lostCopy);
        }
        interruption.wait();
    }
    remote.stop();
    watch.stop();
    const bool restIsOnDisk = session.finish();
    if (!restIsOnDisk) {
        complain("what belongs to the server's file could not be written to " + invocation.host.configDirectory);
    }
    return restIsOnDisk && lostCopy.empty() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
