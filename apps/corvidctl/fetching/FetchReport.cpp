#include "fetching/FetchReport.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "output/Output.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

using Attempt = DownloadJournal::Attempt;
using AttemptEnd = DownloadJournal::AttemptEnd;
using Cycle = DownloadJournal::Cycle;
using CycleEnd = DownloadJournal::CycleEnd;
using Snapshot = DownloadJournal::Snapshot;
using VersionQuery = DownloadJournal::VersionQuery;
using Result = DownloadJournal::Result;
namespace ResultEnum = HttpDownloader::HttpDownloadResultEnum;

constexpr const char* NO_SERVER = "no server is configured: TFTPPrimaryServer, TFTPBackupServer1 and TFTPBackupServer2 "
                                  "are all empty";
constexpr const char* NAME_ONE = "Name one, for example: corvidctl set TFTPPrimaryServer 192.0.2.10";

std::string protocolOf(const std::string& url) { return url.starts_with("https:") ? "HTTPS" : "HTTP"; }

/// Each text once, in order, joined.
std::string listed(const std::vector<std::string>& texts, const char* separator) {
    std::string list;
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        if (std::find(texts.begin(), text, *text) == text) {
            list += (list.empty() ? "" : separator) + *text;
        }
    }
    return list;
}

/// Whether the module can tell a protocol by it: digits and full stops, of which the number before the first counts.
bool isVersion(const std::string& text) {
    return text.find_first_not_of("0123456789.") == std::string::npos &&
           text.substr(0, text.find('.')).find_first_not_of('0') != std::string::npos;
}

/// What the servers that were asked for their version did; empty if none was asked.
std::string answersOf(const Cycle& cycle) {
    std::vector<std::string> answers;
    for (const VersionQuery& query : cycle.versionQueries) {
        if (!query.version.empty() && !isVersion(query.version)) {
            answers.push_back(query.address + " answered " + quoted(query.version));
        } else if (query.answered && query.version.empty()) {
            answers.push_back("no usable answer from " + query.address);
        }
    }
    return listed(answers, ", ");
}

void explainStall(const Cycle& cycle, const ValueView& before, FetchView& view) {
    const std::string answers = answersOf(cycle);
    view.reason = "the server's version is not known";
    if (!answers.empty()) {
        view.reason += ": " + answers;
    } else if (before.isDefined && !isVersion(before.value)) {
        view.reason += ": HomeUdsVersion, from " + before.valueStoreName + ", is no version, and no server was asked";
        view.advice = before.valueStoreName == ConfigStoreConstants::LOCAL_FILE_STORE_NAME
                          ? "Erase it, and a server is asked: corvidctl unset HomeUdsVersion. Or correct it, for "
                            "example: corvidctl set HomeUdsVersion 12.5"
                          : "Correct it where it stands; corvidctl explain HomeUdsVersion tells where that is.";
        return;
    } else {
        view.reason += ": no server was asked";
    }
    view.advice = "A server is asked over HTTPS on port 8443. Check that it answers there; if its certificate is of an "
                  "authority\nof your own, name that with --ca-file FILE. Or tell the version yourself, for example: "
                  "corvidctl set HomeUdsVersion 12.5";
}

std::string adviceOn(const std::vector<Attempt>& attempts) {
    const auto any = [&attempts](std::initializer_list<Result> results) {
        return std::any_of(attempts.begin(), attempts.end(), [&results](const Attempt& attempt) {
            return std::find(results.begin(), results.end(), attempt.result) != results.end();
        });
    };
    if (any({ResultEnum::CertificateRejected, ResultEnum::TlsFailed})) {
        return "If the certificate is of an authority of your own, name that with --ca-file FILE.";
    }
    if (any({ResultEnum::BodyEmpty})) {
        return "Look at the server's file under this name: there is nothing in it.";
    }
    if (any({ResultEnum::StatusRefused})) {
        return "Check that the server holds the file under this name; the key configurationfile may name another.";
    }
    return "Check the address and that the server is up; corvidctl explain TFTPPrimaryServer tells where it comes "
           "from.";
}

void explainExhausted(const Snapshot& downloads, FetchView& view) {
    const Cycle& cycle = downloads.cycles.back();
    std::vector<std::string> failures;
    for (const Attempt& attempt : cycle.attempts) {
        failures.push_back(attempt.address + ": " + resultOf(attempt));
    }
    if (!failures.empty()) {
        view.reason = "no server delivered the file: " + listed(failures, "; ");
        view.advice = adviceOn(cycle.attempts);
        return;
    }
    const bool delivered = std::any_of(downloads.cycles.begin(), downloads.cycles.end(),
                                       [](const Cycle& earlier) { return earlier.end == CycleEnd::Delivered; });
    view.reason = delivered ? "the file that was delivered took the last server's address away, and so its own values"
                            : NO_SERVER;
    view.advice = delivered ? "A policy in the file forbids servers that the user names; let the installer's file or "
                              "the administrator's name them."
                            : NAME_ONE;
}

void explainUnreadable(FetchView& view) {
    view.reason = view.server + " delivered a file that is no configuration document; the values of the server's file "
                                "are gone until it delivers one";
    view.advice = "Look at the server's file, for example: corvidctl validate FILE";
}

/// How the version came to be known: a server's last answer, or what the configuration said before.
void tellVersion(const Snapshot& downloads, const ValueView& before, const Attempt& last, FetchView& view) {
    for (auto cycle = downloads.cycles.rbegin(); cycle != downloads.cycles.rend(); ++cycle) {
        const auto& queries = cycle->versionQueries;
        const auto answer = std::find_if(queries.rbegin(), queries.rend(),
                                         [](const VersionQuery& query) { return isVersion(query.version); });
        if (answer != queries.rend()) {
            view.version = answer->version;
            view.versionSource = "as " + answer->address + " answered";
            return;
        }
    }
    if (before.isDefined) {
        view.version = before.value;
        view.versionSource = "as HomeUdsVersion says, from " + before.valueStoreName;
        return;
    }
    view.version = std::to_string(last.version);
    view.versionSource = "as HomeUdsVersion says";
}

void tellAttempts(const Snapshot& downloads, const ValueView& before, FetchView& view) {
    const Attempt* last = nullptr;
    for (const Cycle& cycle : downloads.cycles) {
        for (const Attempt& attempt : cycle.attempts) {
            view.attempts.push_back({attempt.address, attempt.url, resultOf(attempt)});
            last = &attempt;
        }
    }
    if (last != nullptr) {
        view.server = last->address;
        view.url = last->url;
        view.protocol = protocolOf(last->url);
        tellVersion(downloads, before, *last, view);
    }
}

void tellEnd(const Snapshot& downloads, const ValueView& before, FetchView& view) {
    if (downloads.cycles.empty()) {
        view.reason = NO_SERVER;
        view.advice = NAME_ONE;
        return;
    }
    const Cycle& last = downloads.cycles.back();
    switch (last.end) {
    case CycleEnd::Delivered:
        view.ok = true;
        view.keys = last.keys;
        return;
    case CycleEnd::Unreadable:
        return explainUnreadable(view);
    case CycleEnd::Exhausted:
        return explainExhausted(downloads, view);
    case CycleEnd::Stalled:
    case CycleEnd::Superseded:
    case CycleEnd::Running:  // with nothing under way: the servers have changed, and there was no version before
        return explainStall(last, before, view);
    }
}

}  // namespace

std::string resultOf(const Attempt& attempt) {
    switch (attempt.end) {
    case AttemptEnd::Running:
        return "not ended";
    case AttemptEnd::Delivered:
        return "delivered";
    case AttemptEnd::Dropped:
        return "delivered too late: other servers had been named meanwhile";
    case AttemptEnd::Failed:
        break;
    }
    return ResultEnum::describe(attempt.result);
}

Snapshot since(Snapshot downloads, std::uint64_t cyclesBefore) {
    const std::uint64_t wanted = downloads.cyclesEver - cyclesBefore;
    while (downloads.cycles.size() > wanted) {
        downloads.cycles.pop_front();
    }
    return downloads;
}

FetchView summarise(const Snapshot& downloads, const ValueView& before, bool interrupted) {
    FetchView view;
    tellAttempts(downloads, before, view);
    if (interrupted) {
        view.reason = "interrupted";
    } else {
        tellEnd(downloads, before, view);
    }
    return view;
}

std::string activity(const Snapshot& downloads) {
    if (downloads.cycles.empty()) {
        return "looking for a server …";
    }
    const Cycle& cycle = downloads.cycles.back();
    if (!cycle.attempts.empty() && cycle.attempts.back().end == AttemptEnd::Running) {
        return "downloading " + cycle.attempts.back().url + " …";
    }
    if (!cycle.versionQueries.empty() && !cycle.versionQueries.back().answered) {
        return "asking " + cycle.versionQueries.back().address + " for its version …";
    }
    return "taking over the new values …";
}

}  // namespace corvidctl
