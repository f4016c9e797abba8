#include "ConfigStoreConstants.h"
#include "commands/Commands.h"
#include "fetching/FetchReport.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "journal/ChangePrinter.h"
#include "journal/JournalKeeper.h"
#include "journal/JournalScope.h"
#include "output/InterruptibleOutput.h"
#include "output/ProgressLine.h"
#include "session/Interruption.h"
#include "session/QuietStart.h"
#include "session/Session.h"

#include <unistd.h>

#include <functional>
#include <memory>
#include <string>

namespace corvidctl {

namespace {

ValueView storedVersion(Session& session) {
    ValueView version;
    session.work([&version](Session::Inside& inside) {
        version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
    });
    return version;
}

/// Where the copy came from that is kept by now; nothing while something is still under way.
void noteNewest(const Invocation& invocation, Session& session, const RemoteSource& remote, const ValueView& version) {
    const DownloadJournal::Snapshot downloads = remote.downloads();
    const FetchView fetched = summarise(downloads, version, false);
    if (remote.isSettled() && fetched.ok && copyThatIsNotKept(session).empty()) {
        noteDelivery(invocation.host.configDirectory, downloads, fetched);
    }
}

/// Tells how the first fetch ended and waits for an interruption, which may come first.
/// @return the path of the copy for the next start, if that could not be written.
std::string fetchAndWait(Session& session, RemoteSource& remote, const ValueView& version, Interruption& interruption,
                         ProgressLine& progress, const std::function<void(const std::string&)>& complain,
                         const std::function<void()>& noteCopy) {
    std::string lostCopy;
    if (!remote.waitUntilSettled(progress)) {
        return lostCopy;
    }
    const FetchView fetched = summarise(remote.downloads(), version, false);
    if (!fetched.ok) {
        complain("nothing fetched: " + fetched.reason);
    } else if (lostCopy = copyThatIsNotKept(session); !lostCopy.empty()) {
        complain("the copy for the next start could not be written: " + lostCopy);
    }
    noteCopy();
    interruption.wait();
    noteCopy();  // another file may have come meanwhile
    return lostCopy;
}

}  // namespace

int runWatch(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    ProgressLine progress(output.error, ProgressLine::terminalOf(STDERR_FILENO));
    // Changes may be told at the same time.
    const auto complain = [&](const std::string& line) { progress.aside([&] { printError(output, line); }); };
    ChangePrinter printer(invocation, output, progress, interruption);
    ChangeJournal journal(invocation.reveal);
    JournalKeeper keeper(journal, [&printer](const JournalBatch& batch) { printer.tell(batch); });
    if (invocation.journal) {
        keeper.writeTo(*invocation.journal, complain);
    }

    printer.printHeadings();
    const std::unique_ptr<Session> started = startQuietly<Session>(invocation, interruption, output);
    Session& session = *started;
    const ValueView version = storedVersion(session);
    JournalScope watch(session, journal, [&printer](const ChangeView& change) { printer.tell(change); });
    RemoteSource remote(session, interruption);
    remote.start();
    const std::string lostCopy = fetchAndWait(session, remote, version, interruption, progress, complain,
                                              [&] { noteNewest(invocation, session, remote, version); });
    remote.stop();
    watch.stop();
    const bool restIsOnDisk = session.finish();
    if (!restIsOnDisk) {
        complain("what belongs to the server's file could not be written to " + invocation.host.configDirectory);
    }
    return restIsOnDisk && lostCopy.empty() && keeper.isComplete() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
