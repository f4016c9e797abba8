#include "ConfigStoreConstants.h"
#include "FetchReport.h"
#include "Interruption.h"
#include "Json.h"
#include "ProgressLine.h"
#include "RemoteSource.h"
#include "Session.h"
#include "Text.h"
#include "commands/Commands.h"

#include <unistd.h>

#include <ostream>

namespace corvidctl {

namespace {

void printDelivered(const FetchView& view, Output& output) {
    output.out << styled(escaped(view.server), Style::Strong, output.colours) << " delivered the file over "
               << view.protocol << ": " << view.keys << (view.keys == 1 ? " key.\n" : " keys.\n");
    output.out << "  URL      " << escaped(view.url) << '\n';
    output.out << "  version  " << escaped(view.version) << ", " << escaped(view.versionSource) << '\n';
    for (std::size_t i = 0; i + 1 < view.attempts.size(); ++i) {
        output.out << "  before   " << escaped(view.attempts[i].url) << ": " << view.attempts[i].result << '\n';
    }
}

void printFailure(const FetchView& view, Output& output) {
    Table table({{"SERVER", 0}, {"ASKED FOR", 0}, {"RESULT", 0}});
    for (const AttemptView& attempt : view.attempts) {
        table.addRow({attempt.server, attempt.url, {attempt.result, Style::Warning}});
    }
    if (!view.attempts.empty()) {
        table.print(output.out, output.colours);
    }
    if (!view.advice.empty()) {
        output.out << view.advice << '\n';
    }
}

int print(const Invocation& invocation, const FetchView& view, bool interrupted, Output& output) {
    if (invocation.json) {
        output.out << json::fetch(view) << '\n';
    } else if (view.ok) {
        printDelivered(view, output);
    }
    if (interrupted) {
        printError(output, view.reason);
    } else if (!view.ok && !invocation.json) {
        printError(output, "nothing fetched: " + view.reason);
        printFailure(view, output);
    }
    return view.ok ? Status::Done : Status::AnswerIsNo;
}

}  // namespace

int runFetch(const Invocation& invocation, Output& output) {
    Interruption interruption;
    Session session(invocation);
    ValueView version;
    session.work([&version](Session::Inside& inside) {
        version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
    });

    ProgressLine progress(output.error,
                          invocation.json ? ProgressLine::Terminal() : ProgressLine::terminalOf(STDERR_FILENO));
    RemoteSource remote(session, interruption);
    remote.start();
    const bool ended = remote.waitUntilSettled(progress);
    const FetchView view = summarise(remote.downloads(), version, !ended);
    remote.stop();
    const bool onDisk = session.finish();

    const int status = print(invocation, view, !ended, output);
    if (!onDisk) {
        printError(output, "what belongs to the file could not be written to " + invocation.host.configDirectory);
        return Status::AnswerIsNo;
    }
    return status;
}

}  // namespace corvidctl
