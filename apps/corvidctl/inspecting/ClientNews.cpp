#include "inspecting/ClientNews.h"

#include <poll.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "session/Interruption.h"

namespace corvidctl {

namespace {

/// A download takes many steps, and a file has many keys.
constexpr int BETWEEN_NEWS_MS = 100;

constexpr std::chrono::seconds BETWEEN_LOOKS{10};

void rest(const Interruption& interruption) {
    pollfd descriptor = {interruption.descriptor(), POLLIN, 0};
    poll(&descriptor, 1, BETWEEN_NEWS_MS);
}

}  // namespace

void ClientNews::chainHasChanged() {
    if (!hasChainChanged_.exchange(true)) {
        interruption_.nudge();
    }
}

void ClientNews::tell(RunningClient& client, const ClientLook& look) {
    while (!interruption_.waitForNews(BETWEEN_LOOKS)) {
        tellOnce(client, look);
        rest(interruption_);
    }
    noteDelivered(client);  // another file may have come meanwhile
}

void ClientNews::tellOnce(RunningClient& client, const ClientLook& look) {
    noteDelivered(client);
    ServerEvent server = eventOf("server", answers::server(look.server()));
    if (server.json != toldServer_) {
        outlet_.send([&server] { return server; });
        toldServer_ = std::move(server.json);
    }
    if (hasChainChanged_.exchange(false)) {
        outlet_.send([] { return eventOf("chain", Json::object()); });
    }
}

void ClientNews::noteDelivered(RunningClient& client) {
    const bool isSettled = client.isSettled();
    const std::uint64_t cycles = client.downloads().cyclesEver;
    if (isSettled && cycles != notedCycles_) {
        client.noteDelivered();
        notedCycles_ = cycles;
        hasChainChanged_ = true;  // where values come from, and what is kept
    }
}

}  // namespace corvidctl
