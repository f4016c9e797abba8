#include "inspecting/Inspector.h"

#include <unistd.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "explaining/ExplanationAnswers.h"
#include "inspecting/ApiRequests.h"
#include "inspecting/WriteRemarks.h"
#include "journal/History.h"
#include "journal/JournalText.h"
#include "quill/StringUtils.h"
#include "reading/KeyNames.h"

namespace corvidctl {

namespace {

constexpr int OK = 200;
constexpr int ACCEPTED = 202;
constexpr int BAD_REQUEST = 400;
constexpr int NOT_FOUND = 404;
constexpr int NOT_ALLOWED = 405;
constexpr int CONFLICT = 409;
constexpr int FAILED = 500;

/// A request that is well put and cannot be done as things are. what() is the sentence for the page.
struct Impossible : std::runtime_error {
    using std::runtime_error::runtime_error;
};

ApiAnswer answerOf(int status, const Json& json) { return {status, streamed(json, Format::JsonLines)}; }

ApiAnswer failure(int status, const std::string& sentence) { return answerOf(status, {{"error", sentence}}); }

/// True if there were batches after the one of this number that are kept no more, or if it was none of this run.
bool isTooLate(const ChangeJournal::Snapshot& snapshot, std::uint64_t lastId) {
    return lastId > snapshot.lastNumber || (!snapshot.batches.empty() && snapshot.batches.front().number > lastId + 1);
}

}  // namespace

struct Inspector::Route {
    const char* method;
    const char* path;
    Handler handler;
    int status;
};

const std::vector<Inspector::Route>& Inspector::routes() {
    static const std::vector<Route> routes = {
        {"GET", "about", &Inspector::about, OK},        {"GET", "keys", &Inspector::keys, OK},
        {"GET", "explain", &Inspector::explain, OK},    {"GET", "history", &Inspector::history, OK},
        {"GET", "stores", &Inspector::stores, OK},      {"GET", "batches", &Inspector::batches, OK},
        {"GET", "server", &Inspector::server, OK},      {"GET", "problems", &Inspector::problems, OK},
        {"POST", "set", &Inspector::set, OK},           {"POST", "unset", &Inspector::unset, OK},
        {"POST", "fetch", &Inspector::fetch, ACCEPTED},
    };
    return routes;
}

Inspector::Inspector(std::unique_ptr<StartedClient> started, const Invocation& invocation, Interruption& interruption,
                     ChangeJournal& journal, EventOutlet& outlet)
    : reveal_(invocation.reveal),
      journal_(journal),
      news_(interruption, outlet),
      client_(std::move(started), invocation.host.configDirectory, interruption, journal,
              [this] { news_.chainHasChanged(); }),
      look_(client_, reveal_),
      writes_(client_) {}

ApiAnswer Inspector::answer(const ApiRequest& request) {
    const auto isAt = [&request](const Route& route) { return route.path == request.path; };
    const auto route = std::find_if(routes().begin(), routes().end(), isAt);
    if (route == routes().end()) {
        return failure(NOT_FOUND, "There is nothing at /api/" + request.path + ".");
    }
    if (route->method != request.method) {
        return failure(NOT_ALLOWED, "/api/" + request.path + " is asked with " + route->method + ".");
    }
    try {
        return answerOf(route->status, (this->*route->handler)(request));
    } catch (const BadRequest& problem) {
        return failure(BAD_REQUEST, problem.what());
    } catch (const Impossible& problem) {
        return failure(CONFLICT, problem.what());
    } catch (const std::exception& problem) {
        return failure(FAILED, std::string("The client could not answer: ") + problem.what() + ".");
    }
}

std::vector<ServerEvent> Inspector::eventsSince(std::uint64_t lastId) {
    std::vector<ServerEvent> events = {eventOf("server", answers::server(look_.server())),
                                       eventOf("chain", Json::object())};
    if (lastId == 0) {
        return events;
    }
    const ChangeJournal::Snapshot missed = journal_.since(lastId);
    if (isTooLate(missed, lastId)) {
        events.push_back(eventOf("reload", Json::object()));
        return events;
    }
    for (const JournalBatch& batch : missed.batches) {
        events.push_back(eventOf("batch", journaltext::object(batch), batch.number));
    }
    return events;
}

void Inspector::run() {
    client_.startRemote();
    news_.tell(client_, look_);
}

Json Inspector::about(const ApiRequest&) {
    return {{"version", CORVID_VERSION},
            {"configDirectory", client_.configDirectory()},
            {"reveal", reveal_},
            {"process", getpid()},
            {"started", journaltext::timeText(started_)}};
}

Json Inspector::keys(const ApiRequest&) {
    const KeyList list = look_.keys();
    StoreSources sources = client_.files().now(client_.downloads());
    KeyTimes times(journal_.since(0).batches, sources);
    return answers::keys(list, times);
}

Json Inspector::explain(const ApiRequest& request) { return answers::explanationObject(look_.explain(keyIn(request))); }

Json Inspector::history(const ApiRequest& request) {
    const std::wstring asked = KeyNames().currentName(QuillCoreUtils::toWideString(keyIn(request)));
    const auto isAsked = [&asked](const std::wstring& key) {
        return QuillCoreUtils::caseInsensitiveStringEquals(key, asked);
    };
    Json changes = Json::array();
    for (const JournalBatch& batch : historyOf(journal_.since(0).batches, isAsked, reveal_)) {
        for (const JournalChange& change : batch.changes) {
            changes.push_back(journaltext::object(batch, change));
        }
    }
    return {{"changes", std::move(changes)}};
}

Json Inspector::stores(const ApiRequest&) {
    Json stores = Json::array();
    for (const ClientLook::Store& store : look_.stores()) {
        Json json = answers::storeObject(store.report);
        json["winsOver"] = store.winsOver;
        stores.push_back(std::move(json));
    }
    return {{"stores", std::move(stores)}};
}

Json Inspector::batches(const ApiRequest& request) {
    const ChangeJournal::Snapshot snapshot = journal_.since(sinceIn(request));
    Json batches = Json::array();
    for (const JournalBatch& batch : snapshot.batches) {
        batches.push_back(journaltext::object(batch));
    }
    return {{"last", snapshot.lastNumber},
            {"droppedBatches", snapshot.droppedBatches},
            {"droppedChanges", snapshot.droppedChanges},
            {"batches", std::move(batches)}};
}

Json Inspector::server(const ApiRequest&) { return answers::server(look_.server()); }

Json Inspector::problems(const ApiRequest&) { return answers::problems(problemsOf(look_.problems())); }

Json Inspector::set(const ApiRequest& request) {
    const WriteRequest wanted = storeRequestIn(request);
    return writeAnswer(writes_.store(wanted.key, wanted.value));
}

Json Inspector::unset(const ApiRequest& request) { return writeAnswer(writes_.erase(eraseRequestIn(request).key)); }

Json Inspector::writeAnswer(const UserWriteView& view) {
    news_.chainHasChanged();  // a value that does not win is news, too
    Json json = answers::userWriteObject(view);
    json["remarks"] = remarksOn(view, client_.configDirectory(), reveal_);
    return json;
}

Json Inspector::fetch(const ApiRequest&) {
    if (!client_.fetchAgain()) {
        throw Impossible("No store names a server that could be asked; set TFTPPrimaryServer first.");
    }
    return {{"settled", false}};
}

}  // namespace corvidctl
