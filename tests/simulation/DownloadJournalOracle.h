#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// The record of the downloads restated, without a limit.
class DownloadJournalOracle {
public:
    void beginCycle(bool forced);
    void query(const std::string& address, const std::string& version);

    /// Part of the newest cycle, which runs again if it had ended. @return the attempt's number.
    std::size_t beginAttempt(const std::string& url, std::uint32_t version);
    void endAttempt(std::size_t attempt, const std::string& end, int result);

    /// Of the newest cycle; a later word stands over an earlier one.
    void endCycle(const std::string& end, std::size_t keys = 0);

    /// At most the newest fifty cycles.
    std::vector<std::string> lines() const;

private:
    struct Attempt {
        std::size_t number = 0;
        std::string text;
        std::string end = "running";
    };

    struct Cycle {
        bool forced = false;
        std::vector<std::string> queries;
        std::vector<Attempt> attempts;
        std::string end = "running";
        std::size_t keys = 0;
    };

    std::vector<Cycle> cycles_;
    std::size_t attempts_ = 0;
};

/// The lines of a record, spelt by both the model and the module.
std::string cycleLine(bool forced, const std::string& end, std::size_t keys);
std::string queryLine(const std::string& address, const std::string& version);
std::string attemptLine(const std::string& url, std::uint32_t version, const std::string& end);
std::string attemptEnd(const std::string& end, int result);

}  // namespace simulation
