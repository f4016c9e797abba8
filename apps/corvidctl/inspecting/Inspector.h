#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "inspecting/ClientLook.h"
#include "inspecting/ClientNews.h"
#include "inspecting/EventOutlet.h"
#include "inspecting/RunningClient.h"
#include "inspecting/UserWrites.h"
#include "web/Api.h"

namespace corvidctl {

class Interruption;

/// What stands behind the inspector's page: a client that runs, the answers to what the page asks, and the events that
/// it is told.
///
/// Made, run and finished on one thread.
class Inspector : public Api {
public:
    /// Asks no server yet. @param journal begun here, whose batches whoever made it hands on; it, the interruption and
    /// the outlet must outlive this.
    Inspector(std::unique_ptr<StartedClient> started, const Invocation& invocation, Interruption& interruption,
              ChangeJournal& journal, EventOutlet& outlet);

    ApiAnswer answer(const ApiRequest& request) override;
    std::vector<ServerEvent> eventsSince(std::uint64_t lastId) override;

    /// Asks the servers, and tells the pages what happens besides changes of values, until an interruption.
    void run();

    /// Ends when everything is on disk and everything is down. Nobody may ask any more.
    /// @return false if something could not be written.
    bool finish() { return client_.finish(); }

    /// Path of the copy for the next start, if that could not be written.
    std::string lostCopy() const { return client_.lostCopy(); }

private:
    using Handler = Json (Inspector::*)(const ApiRequest&);
    struct Route;
    static const std::vector<Route>& routes();

    Json about(const ApiRequest& request);
    Json keys(const ApiRequest& request);
    Json explain(const ApiRequest& request);
    Json history(const ApiRequest& request);
    Json stores(const ApiRequest& request);
    Json batches(const ApiRequest& request);
    Json server(const ApiRequest& request);
    Json problems(const ApiRequest& request);
    Json set(const ApiRequest& request);
    Json unset(const ApiRequest& request);
    Json fetch(const ApiRequest& request);
    Json writeAnswer(const UserWriteView& view);

    const bool reveal_;
    const std::chrono::system_clock::time_point started_ = std::chrono::system_clock::now();
    const ChangeJournal& journal_;
    ClientNews news_;
    RunningClient client_;
    const ClientLook look_;
    UserWrites writes_;
};

}  // namespace corvidctl
