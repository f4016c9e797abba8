#include "inspecting/Problems.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "explaining/KeyRules.h"

namespace corvidctl {

namespace {

using Kind = Problem::Kind;
using Severity = Problem::Severity;
using Problems = std::vector<Problem>;

const char* nameOf(Severity severity) {
    switch (severity) {
    case Severity::Error:
        return "error";
    case Severity::Warning:
        return "warning";
    case Severity::Info:
        break;
    }
    return "info";
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::UnreadableFile:
        return "unreadable-file";
    case Kind::ShadowedValue:
        return "shadowed-value";
    case Kind::ErasedByPolicy:
        return "erased-by-policy";
    case Kind::CopyInUse:
        return "copy-in-use";
    case Kind::NoServerAnswered:
        return "no-server-answered";
    case Kind::NotOnDisk:
        break;
    }
    return "not-on-disk";
}

void addUnreadableFiles(const ProblemFacts& facts, Problems& problems) {
    for (const FailedStore& failed : facts.failed) {
        problems.push_back({Severity::Error, Kind::UnreadableFile, sentenceOnFailure(failed.store, failed.origin), "",
                            failed.store, failed.origin.shownFile, failed.origin.problemLine});
    }
}

void addWaitingValues(const ProblemFacts& facts, Problems& problems) {
    for (const WaitingValue& value : facts.waiting) {
        const HiddenPlace& place = value.place;
        problems.push_back({Severity::Warning, Kind::ShadowedValue,
                            "The user's value of " + value.key + " in " + place.store + inBrackets(place) +
                                " waits behind " + value.winner + ".",
                            value.key, place.store, place.file, place.line});
    }
}

void addForbiddenKeys(const ProblemFacts& facts, Problems& problems) {
    for (const ForbiddenKey& key : facts.forbidden) {
        const std::string since = ", since " + key.policy.key + " is \"false\", from " + key.policy.store + ".";
        const auto add = [&](const HiddenPlace& place, const std::string& text) {
            problems.push_back(
                {Severity::Warning, Kind::ErasedByPolicy, text, key.key, place.store, place.file, place.line});
        };
        for (const HiddenPlace& place : key.policy.erased) {
            add(place,
                "The client has erased the user's " + key.key + " from " + place.store + inBrackets(place) + since);
        }
        for (const HiddenPlace& place : key.set) {
            add(place, "The client will erase the user's " + key.key + " from " + place.store + " when it starts next" +
                           since);
        }
    }
}

/// Why a copy answers for its server; empty if the server has delivered, which leaves a copy of another store's.
std::string whyInUse(const ServerView& server) {
    if (server.servers.empty()) {
        return "; it is in use, since no store names a server";
    }
    if (!server.last) {
        return "; it is in use until a server delivers";
    }
    return server.last->ok ? "" : "; it is in use, since " + server.last->reason;
}

void addCopies(const ProblemFacts& facts, Problems& problems) {
    for (const StoreReport& store : facts.stores) {
        if (store.origin.isCached && store.keys > 0) {
            problems.push_back({Severity::Info, Kind::CopyInUse,
                                sentenceOnCopy(store.name, store.origin) + whyInUse(facts.server) + ".", "", store.name,
                                store.origin.shownFile, 0});
        }
    }
}

void addSilentServers(const ProblemFacts& facts, Problems& problems) {
    const std::optional<FetchView>& last = facts.server.last;
    if (last && !last->ok && !facts.server.servers.empty()) {
        problems.push_back(
            {Severity::Warning, Kind::NoServerAnswered, "Nothing was fetched: " + last->reason + ".", "", "", "", 0});
    }
}

void addLosses(const ProblemFacts& facts, Problems& problems) {
    if (!facts.lostCopy.empty()) {
        problems.push_back({Severity::Error, Kind::NotOnDisk,
                            "The copy for the next start could not be written: " + facts.lostCopy + ".", "", "",
                            facts.lostCopy, 0});
    }
    if (!facts.isOnDisk) {
        problems.push_back({Severity::Error, Kind::NotOnDisk,
                            "What was stored could not be written to " + facts.configDirectory + ".", "", "", "", 0});
    }
}

}  // namespace

std::vector<Problem> problemsOf(const ProblemFacts& facts) {
    Problems problems;
    addUnreadableFiles(facts, problems);
    addWaitingValues(facts, problems);
    addForbiddenKeys(facts, problems);
    addCopies(facts, problems);
    addSilentServers(facts, problems);
    addLosses(facts, problems);
    std::stable_sort(problems.begin(), problems.end(),
                     [](const Problem& a, const Problem& b) { return a.severity < b.severity; });
    return problems;
}

Json answers::problems(const std::vector<Problem>& problems) {
    Json array = Json::array();
    for (const Problem& problem : problems) {
        array.push_back({{"severity", nameOf(problem.severity)},
                         {"kind", nameOf(problem.kind)},
                         {"text", problem.text},
                         {"key", textOrNull(problem.key)},
                         {"store", textOrNull(problem.store)},
                         {"file", textOrNull(problem.file)},
                         {"line", problem.line == 0 ? Json(nullptr) : Json(problem.line)}});
    }
    return {{"problems", std::move(array)}};
}

}  // namespace corvidctl
