#include "inspecting/ServerView.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "ConfigStoreConstants.h"
#include "journal/JournalText.h"
#include "output/Answers.h"

namespace corvidctl {

namespace {

using Attempt = DownloadJournal::Attempt;
using AttemptEnd = DownloadJournal::AttemptEnd;
using Cycle = DownloadJournal::Cycle;
using CycleEnd = DownloadJournal::CycleEnd;
using VersionQuery = DownloadJournal::VersionQuery;

const char* nameOf(CycleEnd end) {
    switch (end) {
    case CycleEnd::Delivered:
        return "delivered";
    case CycleEnd::Unreadable:
        return "unreadable";
    case CycleEnd::Exhausted:
        return "exhausted";
    case CycleEnd::Stalled:
        return "stalled";
    case CycleEnd::Superseded:
        return "superseded";
    case CycleEnd::Running:
        break;
    }
    return "running";
}

const char* nameOf(AttemptEnd end) {
    switch (end) {
    case AttemptEnd::Delivered:
        return "delivered";
    case AttemptEnd::Failed:
        return "failed";
    case AttemptEnd::Dropped:
        return "dropped";
    case AttemptEnd::Running:
        break;
    }
    return "running";
}

Json toJson(const VersionQuery& query) {
    return {{"address", query.address}, {"answered", query.answered}, {"version", query.version}};
}

Json toJson(const Attempt& attempt) {
    return {{"address", attempt.address},
            {"url", attempt.url},
            {"end", nameOf(attempt.end)},
            {"result", attempt.end == AttemptEnd::Running ? Json(nullptr) : Json(resultOf(attempt))},
            {"timeoutSeconds", attempt.timeoutSeconds}};
}

template <class Item>
Json arrayOf(const std::vector<Item>& items) {
    Json array = Json::array();
    for (const Item& item : items) {
        array.push_back(toJson(item));
    }
    return array;
}

Json toJson(const Cycle& cycle) {
    const bool runs = cycle.end == CycleEnd::Running;
    return {{"began", journaltext::timeText(cycle.began)},
            {"ended", runs ? Json(nullptr) : Json(journaltext::timeText(cycle.ended))},
            {"forced", cycle.forced},
            {"end", nameOf(cycle.end)},
            {"keys", cycle.keys},
            {"versionQueries", arrayOf(cycle.versionQueries)},
            {"attempts", arrayOf(cycle.attempts)}};
}

Json serversOf(const ServerView& view) {
    Json servers = Json::array();
    for (const ValueView& server : view.servers) {
        servers.push_back({{"key", server.key}, {"address", server.value}, {"store", server.valueStoreName}});
    }
    return servers;
}

}  // namespace

const std::vector<std::wstring>& serverKeys() {
    using namespace ConfigStoreConstants;
    static const std::vector<std::wstring> keys = {TFTP_SERVER_1_KEY, TFTP_SERVER_2_KEY, TFTP_SERVER_3_KEY};
    return keys;
}

std::optional<FetchView> lastFetch(const DownloadJournal::Snapshot& downloads, bool settled,
                                   const ValueView& versionBefore) {
    if (!settled || downloads.cycles.empty()) {
        return std::nullopt;
    }
    return summarise(downloads, versionBefore, false);
}

Json answers::server(const ServerView& view) {
    const bool hasFetched = view.last && !view.last->version.empty();
    const std::string told =
        view.version.isDefined ? "as HomeUdsVersion says, from " + view.version.valueStoreName : "";
    Json cycles = Json::array();
    std::for_each(view.downloads.cycles.rbegin(), view.downloads.cycles.rend(),
                  [&cycles](const Cycle& cycle) { cycles.push_back(toJson(cycle)); });
    return {{"settled", view.settled},
            {"servers", serversOf(view)},
            {"version", textOrNull(hasFetched ? view.last->version : view.version.value)},
            {"versionSource", textOrNull(hasFetched ? view.last->versionSource : told)},
            {"file", view.file},
            {"cycles", std::move(cycles)},
            {"last", view.last ? fetchObject(*view.last) : Json(nullptr)}};
}

}  // namespace corvidctl
