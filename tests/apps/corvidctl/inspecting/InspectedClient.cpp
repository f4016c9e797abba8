#include "inspecting/InspectedClient.h"

#include <gtest/gtest.h>

#include <chrono>

#include "journal/JournalText.h"

using namespace corvidctl;
using nlohmann::json;

InspectedClient::InspectedClient(const Invocation& invocation, ChangeJournal::Limits limits)
    : journal_(invocation.reveal, limits, std::chrono::system_clock::now),
      keeper_(journal_,
              [this](const JournalBatch& batch) {
                  outlet_.send([&batch] { return eventOf("batch", journaltext::object(batch), batch.number); });
              }),
      inspector_(std::make_unique<Inspector>(std::make_unique<StartedClient>(invocation), invocation, interruption_,
                                             journal_, outlet_)) {
    outlet_.tellTo([this](const EventOutlet::Event& event) {
        const std::lock_guard lock(mutex_);
        events_.push_back(event());
        told_.notify_all();
    });
}

InspectedClient::~InspectedClient() { finish(); }

void InspectedClient::run() {
    runner_ = std::thread([this] { inspector_->run(); });
}

json InspectedClient::get(const std::string& path, const std::map<std::string, std::string>& parameters, int status) {
    const ApiAnswer answer = ask({"GET", path, parameters, ""});
    EXPECT_EQ(answer.status, status) << path << answer.json;
    return json::parse(answer.json);
}

json InspectedClient::post(const std::string& path, const json& body, int status) {
    const ApiAnswer answer = ask({"POST", path, {}, body.dump()});
    EXPECT_EQ(answer.status, status) << path << answer.json;
    return json::parse(answer.json);
}

ApiAnswer InspectedClient::ask(const ApiRequest& request) { return inspector_->answer(request); }

json InspectedClient::waitFor(const std::string& name, const std::function<bool(const json&)>& isIt) {
    std::unique_lock lock(mutex_);
    for (std::size_t seen = 0;; ++seen) {
        told_.wait(lock, [&] { return events_.size() > seen; });
        const json data = json::parse(events_[seen].json);
        if (events_[seen].name == name && isIt(data)) {
            return data;
        }
    }
}

json InspectedClient::waitForCycles(std::size_t cycles) {
    return waitFor("server", [cycles](const json& server) {
        return server.at("settled").get<bool>() && server.at("cycles").size() >= cycles;
    });
}

std::vector<ServerEvent> InspectedClient::events() const {
    const std::lock_guard lock(mutex_);
    return events_;
}

bool InspectedClient::finish() {
    if (inspector_ == nullptr) {
        return true;
    }
    interruption_.end();
    if (runner_.joinable()) {
        runner_.join();
    }
    outlet_.tellTo({});
    const bool isOnDisk = inspector_->finish();
    inspector_.reset();
    return isOnDisk;
}
