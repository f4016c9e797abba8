#include "commands/Commands.h"
#include "fetching/KeptCopy.h"
#include "inspecting/EventOutlet.h"
#include "inspecting/InspectingAnswers.h"
#include "inspecting/Inspector.h"
#include "journal/JournalKeeper.h"
#include "journal/JournalText.h"
#include "output/InterruptibleOutput.h"
#include "session/Browser.h"
#include "session/Interruption.h"
#include "session/QuietStart.h"
#include "web/WebServer.h"

#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

namespace corvidctl {

namespace {

void printLink(const Invocation& invocation, const WebServer& server, Output& output) {
    if (isForMachines(invocation.format)) {
        output.out << answers::link(server.link(), server.port(), invocation.format);
    } else {
        output.out << "The inspector is at " << server.link() << " (Ctrl-C ends it)\n";
    }
    output.out.flush();
}

/// Serves the page until an interruption.
void serve(const Invocation& invocation, Interruption& interruption, Inspector& inspector, EventOutlet& outlet,
           const std::function<void(const std::string&)>& complain, Output& output) {
    WebServer::Options options;
    options.port = invocation.webPort;
    WebServer server(options, inspector);
    const OutletScope telling(outlet, [&server](const EventOutlet::Event& event) {
        if (server.isHeard()) {
            server.send(event());
        }
    });
    printLink(invocation, server, output);
    if (!output.out) {
        interruption.end();  // nobody will learn where the page is
    }
    std::unique_ptr<Browser> browser;
    if (invocation.open && output.out) {
        browser = std::make_unique<Browser>(server.link(), interruption, complain);
    }
    inspector.run();
}

}  // namespace

int runInspect(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    std::mutex complaining;
    const auto complain = [&](const std::string& line) {
        const std::lock_guard lock(complaining);
        printError(output, line);
    };
    EventOutlet outlet;
    ChangeJournal journal(invocation.reveal);
    JournalKeeper keeper(journal, [&outlet](const JournalBatch& batch) {
        outlet.send([&batch] { return eventOf("batch", journaltext::object(batch), batch.number); });
    });
    if (invocation.journal) {
        keeper.writeTo(*invocation.journal, complain);
    }
    Inspector inspector(startQuietly<StartedClient>(invocation, interruption, output), invocation, interruption,
                        journal, outlet);
    serve(invocation, interruption, inspector, outlet, complain, output);
    const std::string lostCopy = inspector.lostCopy();
    if (!lostCopy.empty()) {
        complain(sentenceOnLostCopy(lostCopy));
    }
    const bool isOnDisk = inspector.finish();
    if (!isOnDisk) {
        complain("what was stored could not be written to " + invocation.host.configDirectory);
    }
    return isOnDisk && lostCopy.empty() && keeper.isComplete() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
