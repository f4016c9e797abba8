#include "comparing/FetchRehearsal.h"

#include <memory>
#include <ostream>

#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/KeyChanges.h"
#include "comparing/LoadFailures.h"
#include "comparing/Rehearsal.h"
#include "fetching/FetchText.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "output/InterruptibleOutput.h"
#include "session/ProfileCopy.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

struct FetchRehearsalView {
    FetchView fetch;
    std::vector<KeyChange> changes;
    std::string fromKeptCopies;         ///< as movesFromKeptCopies() has it
    std::vector<LoadFailure> failures;  ///< of the configuration as it is
    bool removesFormerCopy = false;
    bool interrupted = false;

    /// What there is to say besides, each a line.
    std::vector<std::string> remarks() const {
        std::vector<std::string> lines = sentencesOf(failures);
        if (removesFormerCopy) {
            lines.push_back("would remove " + nameOfFormerCopy());
        }
        return lines;
    }
};

EffectiveValues valuesOf(Session& session) {
    EffectiveValues values;
    session.work([&values](Session::Inside& inside) { values = takeEffectiveValues(inside.chain); });
    return values;
}

FetchRehearsalView fetchOnCopy(const Invocation& invocation, Rehearsal& rehearsal) {
    FetchRehearsalView view;
    const ProfileCopy copy(invocation.host.configDirectory);
    const bool hadFormerCopy = holdsFormerCopy(copy.path());
    std::unique_ptr<Session> started;
    {
        const ExitOnInterruption exit = rehearsal.endingOnTheSpot();
        view.failures = loadFailuresOf(invocation.host);
        started = std::make_unique<Session>(Rehearsal::onCopy(invocation, copy.path()));
    }
    Session& session = *started;
    EffectiveValues before;
    rehearsal.run("reading the configuration …", [&] { before = valuesOf(session); });
    session.work([&](Session::Inside& inside) { keepThoseOf(inside.chain, view.failures); });
    const ValueView version = storedVersion(session);
    RemoteSource remote(session, rehearsal.interruption());
    remote.start();
    view.interrupted = !remote.waitUntilSettled(rehearsal.progress());
    view.fetch = summarise(remote.downloads(), version, view.interrupted);
    remote.stop();
    if (!view.interrupted) {
        rehearsal.run("comparing …", [&] {
            const EffectiveValues after = valuesOf(session);
            view.fromKeptCopies = movesFromKeptCopies(before, after);
            view.changes = changesBetween(before, after, invocation.reveal);
        });
    }
    session.finish();
    view.removesFormerCopy = hadFormerCopy && !holdsFormerCopy(copy.path());
    return view;
}

void printForPeople(const FetchRehearsalView& view, Output& output) {
    if (view.fetch.ok) {
        printDelivered(view.fetch, output);
    } else {
        printError(output, view.interrupted ? view.fetch.reason : "nothing fetched: " + view.fetch.reason);
        printFailure(view.fetch, output);
    }
    if (view.fetch.ok || !view.changes.empty()) {
        printKeyChanges(view.changes, view.fromKeptCopies, output);
    }
    printRemarks(view.remarks(), Format::Table, output);
    output.out << "Nothing has been changed.\n";
}

}  // namespace

int rehearseFetch(const Invocation& invocation, Output& output) {
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    const FetchRehearsalView view = fetchOnCopy(invocation, rehearsal);
    if (isForMachines(invocation.format)) {
        printRemarks(view.remarks(), invocation.format, output);
        output.out << answers::fetchRehearsal(view.fetch, view.changes, invocation.format);
        if (view.interrupted) {
            printError(output, view.fetch.reason);
        }
    } else {
        printForPeople(view, output);
    }
    return view.fetch.ok ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
