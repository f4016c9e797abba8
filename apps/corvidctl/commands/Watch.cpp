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

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace corvidctl {

namespace {

/// Fetches, tells how that ended, and waits for an interruption, which may come first. Another file may come meanwhile.
/// @return the path of the copy for the next start, if that of the latest file could not be written.
std::string fetchAndWait(Session& session, const std::string& configDirectory, RemoteSource& remote,
                         Interruption& interruption, ProgressLine& progress,
                         const std::function<void(const std::string&)>& complain) {
    const ValueView version = storedVersion(session);
    remote.start();
    if (!remote.waitUntilSettled(progress)) {
        return {};
    }
    std::string lostCopy;
    const auto lookAt = [&](const DownloadJournal::Snapshot& delivered, const FetchView& fetched) {
        const std::string former = std::exchange(lostCopy, noteDelivery(session, configDirectory, delivered, fetched));
        if (!lostCopy.empty() && former.empty()) {
            complain(sentenceOnLostCopy(lostCopy));
        }
    };
    DownloadJournal::Snapshot downloads = remote.downloads();
    const FetchView first = summarise(downloads, version, false);
    if (!first.ok) {
        complain("nothing fetched: " + first.reason);
    }
    lookAt(downloads, first);
    const auto lookAtTheLatest = [&] {
        DownloadJournal::Snapshot latest = remote.downloads();
        if (!latest.settled || latest.cyclesEver == downloads.cyclesEver) {
            return;
        }
        downloads = std::move(latest);
        const FetchView fetched = summarise(downloads, version, false);
        if (fetched.ok) {
            lookAt(downloads, fetched);
        }
    };
    while (!interruption.waitForNews(std::chrono::hours(1))) {
        lookAtTheLatest();
    }
    lookAtTheLatest();
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
    JournalScope watch(session, journal, [&printer](const ChangeView& change) { printer.tell(change); });
    RemoteSource remote(session, interruption);
    const std::string lostCopy =
        fetchAndWait(session, invocation.host.configDirectory, remote, interruption, progress, complain);
    remote.stop();
    watch.stop();
    const bool restIsOnDisk = session.finish();
    if (!restIsOnDisk) {
        complain("what belongs to the server's file could not be written to " + invocation.host.configDirectory);
    }
    return restIsOnDisk && lostCopy.empty() && keeper.isComplete() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
