#include "ConfigStoreConstants.h"
#include "commands/Commands.h"
#include "fetching/FetchReport.h"
#include "fetching/KeptCopy.h"
#include "fetching/RemoteSource.h"
#include "journal/JournalKeeper.h"
#include "journal/JournalPrinting.h"
#include "journal/JournalScope.h"
#include "journal/JournalText.h"
#include "output/Answers.h"
#include "output/InterruptibleOutput.h"
#include "output/ProgressLine.h"
#include "quill/StringUtils.h"
#include "session/Interruption.h"
#include "session/Session.h"

#include <unistd.h>

#include <functional>
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

/// Prints what was changed about the keys that were asked for, change by change or batch by batch.
class ChangePrinter {
public:
    ChangePrinter(const Invocation& invocation, Output& output, ProgressLine& progress, Interruption& interruption)
        : invocation_(invocation),
          output_(output),
          progress_(progress),
          interruption_(interruption),
          selection_(invocation.arguments, KeyNames()) {}

    void printHeadings() {
        const Format format = invocation_.format;
        output_.out << (invocation_.batch ? journaltext::headings(format) : answers::changeHeadings(format))
                    << std::flush;
    }

    void tell(const ChangeView& change) {
        if (invocation_.batch || !contains(change.value.key)) {
            return;
        }
        print([&] {
            if (isForMachines(invocation_.format)) {
                output_.out << answers::change(change, invocation_.format);
            } else {
                printChange(output_, change);
            }
        });
    }

    void tell(JournalBatch batch) {
        std::erase_if(batch.changes, [this](const JournalChange& change) { return !contains(change.key); });
        if (!invocation_.batch || batch.changes.empty()) {
            return;
        }
        print([&] {
            if (isForMachines(invocation_.format)) {
                output_.out << journaltext::batch(batch, invocation_.format);
            } else {
                printBatch(output_, batch);
            }
        });
    }

private:
    bool contains(const std::string& key) const { return selection_.contains(QuillCoreUtils::toWideString(key)); }

    void print(const std::function<void()>& printing) {
        progress_.aside([&] {
            printing();
            output_.out.flush();
        });
        if (!output_.out) {
            interruption_.end();  // nobody reads any more
        }
    }

    const Invocation& invocation_;
    Output& output_;
    ProgressLine& progress_;
    Interruption& interruption_;
    const KeySelection selection_;
};

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
    Session session(invocation);
    const ValueView version = storedVersion(session);
    JournalScope watch(session, journal, [&printer](const ChangeView& change) { printer.tell(change); });
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
    return restIsOnDisk && lostCopy.empty() && keeper.isComplete() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
