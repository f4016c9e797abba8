#include "commands/Commands.h"
#include "comparing/ComparingText.h"
#include "comparing/FetchRehearsal.h"
#include "fetching/FetchText.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "output/Answers.h"
#include "output/InterruptibleOutput.h"
#include "output/ProgressLine.h"
#include "session/ExitOnInterruption.h"
#include "session/Interruption.h"
#include "session/Session.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <ostream>

namespace corvidctl {

namespace {

std::string notOnDisk(const Invocation& invocation) {
    return "what belongs to the file could not be written to " + invocation.host.configDirectory;
}

/// What a delivery is worth that the next start does not find.
void judgeDisk(const std::string& lostCopy, bool restIsOnDisk, const Invocation& invocation, FetchView& view) {
    if (!restIsOnDisk) {
        view.reason = notOnDisk(invocation);
    } else if (!lostCopy.empty()) {
        view.reason = sentenceOnLostCopy(lostCopy);
    }
    view.ok = view.reason.empty();
}

void printForPeople(const FetchView& view, bool delivered, bool interrupted, Output& output) {
    if (delivered) {
        printDelivered(view, output);
    }
    if (view.ok) {
        return;
    }
    printError(output, delivered || interrupted ? view.reason : "nothing fetched: " + view.reason);
    if (delivered) {
        output.out << "Its values count for this run only.\n";
    } else {
        printFailure(view, output);
    }
}

/// An interruption ends the program on the spot while the module starts, since that may wait for the installer's file.
std::unique_ptr<Session> start(const Invocation& invocation, const Interruption& interruption, Output& output) {
    const ExitOnInterruption exit(interruption, Status::AnswerIsNo, [&output] { printError(output, "interrupted"); });
    return std::make_unique<Session>(invocation);
}

}  // namespace

int runFetch(const Invocation& invocation, Output& output) {
    if (invocation.dryRun) {
        return rehearseFetch(invocation, output);
    }
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    const bool hadFormerCopy = holdsFormerCopy(invocation.host.configDirectory);
    const std::unique_ptr<Session> started = start(invocation, interruption, output);
    Session& session = *started;
    const ValueView version = storedVersion(session);
    ProgressLine progress(output.error, ProgressLine::terminalOf(STDERR_FILENO));
    RemoteSource remote(session, interruption);
    remote.start();
    const bool ended = remote.waitUntilSettled(progress);
    const DownloadJournal::Snapshot downloads = remote.downloads();
    FetchView view = summarise(downloads, version, !ended);
    const bool delivered = view.ok;
    const std::string lostCopy = noteDelivery(session, invocation.host.configDirectory, downloads, view);
    remote.stop();
    const bool restIsOnDisk = session.finish();
    if (delivered) {
        judgeDisk(lostCopy, restIsOnDisk, invocation, view);
    } else if (!restIsOnDisk) {
        printError(output, notOnDisk(invocation));
    }

    if (!isForMachines(invocation.format)) {
        printForPeople(view, delivered, !ended, output);
    } else {
        output.out << answers::fetch(view, invocation.format);
        if (!ended) {
            printError(output, view.reason);
        }
    }
    if (hadFormerCopy && !holdsFormerCopy(invocation.host.configDirectory)) {
        printRemarks({"removed " + nameOfFormerCopy()}, invocation.format, output);
    }
    return view.ok ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
