#include "DownloadJournalOracle.h"

#include <algorithm>

namespace simulation {

std::string cycleLine(bool forced, const std::string& end, std::size_t keys) {
    return std::string("cycle") + (forced ? " forced" : "") + ", " + end + ", keys " + std::to_string(keys);
}

std::string queryLine(const std::string& address, const std::string& version) {
    return "  query of " + address + ": [" + version + "]";
}

std::string attemptLine(const std::string& url, std::uint32_t version, const std::string& end) {
    return "  attempt at " + url + " of version " + std::to_string(version) + ", " + end;
}

std::string attemptEnd(const std::string& end, int result) { return end + " with " + std::to_string(result); }

void DownloadJournalOracle::beginCycle(bool forced) {
    if (!cycles_.empty() && cycles_.back().end == "running") {
        cycles_.back().end = "superseded";
    }
    cycles_.emplace_back().forced = forced;
}

void DownloadJournalOracle::query(const std::string& address, const std::string& version) {
    cycles_.back().queries.push_back(queryLine(address, version));
}

std::size_t DownloadJournalOracle::beginAttempt(const std::string& url, std::uint32_t version) {
    cycles_.back().end = "running";
    cycles_.back().attempts.push_back({++attempts_, attemptLine(url, version, ""), "running"});
    return attempts_;
}

void DownloadJournalOracle::endAttempt(std::size_t attempt, const std::string& end, int result) {
    for (Cycle& cycle : cycles_) {
        for (Attempt& candidate : cycle.attempts) {
            if (candidate.number == attempt) {
                candidate.end = attemptEnd(end, result);
            }
        }
    }
}

void DownloadJournalOracle::endCycle(const std::string& end, std::size_t keys) {
    Cycle& newest = cycles_.back();
    newest.end = end;
    newest.keys = keys;
}

std::vector<std::string> DownloadJournalOracle::lines() const {
    constexpr std::size_t LIMIT = 50;
    std::vector<std::string> lines = {"cycles ever " + std::to_string(cycles_.size())};
    for (std::size_t index = cycles_.size() - std::min(cycles_.size(), LIMIT); index < cycles_.size(); ++index) {
        const Cycle& cycle = cycles_[index];
        lines.push_back(cycleLine(cycle.forced, cycle.end, cycle.keys));
        lines.insert(lines.end(), cycle.queries.begin(), cycle.queries.end());
        for (const Attempt& attempt : cycle.attempts) {
            lines.push_back(attempt.text + attempt.end);
        }
    }
    return lines;
}

}  // namespace simulation
