#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "cli/Invocation.h"
#include "inspecting/EventOutlet.h"
#include "inspecting/Inspector.h"
#include "journal/ChangeJournal.h"
#include "journal/JournalKeeper.h"
#include "session/Interruption.h"

/// What stands behind the inspector's page, in the test's own process, and a page that asks and listens.
class InspectedClient {
public:
    /// @param limits of the journal.
    explicit InspectedClient(const corvidctl::Invocation& invocation, corvidctl::ChangeJournal::Limits limits = {});

    /// Interrupts and ends.
    ~InspectedClient();

    InspectedClient(const InspectedClient&) = delete;
    InspectedClient& operator=(const InspectedClient&) = delete;

    /// Asks the servers, on a thread of its own.
    void run();

    /// The answer, which must have this status.
    nlohmann::json get(const std::string& path, const std::map<std::string, std::string>& parameters = {},
                       int status = 200);
    nlohmann::json post(const std::string& path, const nlohmann::json& body, int status = 200);

    /// Waits for an event of this name for which the function says yes, and gives the first such one's data.
    nlohmann::json waitFor(const std::string& name, const std::function<bool(const nlohmann::json&)>& isIt);

    /// Waits until the servers have been asked so many times and nothing is under way.
    nlohmann::json waitForCycles(std::size_t cycles);

    /// All that has been told so far.
    std::vector<corvidctl::ServerEvent> events() const;

    /// @return false if something could not be written.
    bool finish();

    corvidctl::Inspector& inspector() { return *inspector_; }

private:
    corvidctl::ApiAnswer ask(const corvidctl::ApiRequest& request);

    corvidctl::Interruption interruption_;
    mutable std::mutex mutex_;
    std::condition_variable told_;
    std::vector<corvidctl::ServerEvent> events_;  ///< under mutex_
    corvidctl::EventOutlet outlet_;
    corvidctl::ChangeJournal journal_;
    corvidctl::JournalKeeper keeper_;
    std::unique_ptr<corvidctl::Inspector> inspector_;
    std::thread runner_;
};
