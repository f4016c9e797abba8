#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "DownloadStep.h"

namespace simulation {

/// What surrounds the modelled store: the chain, the network's answers, the switches of the process, and the tale of
/// what could be seen.
struct DownloadEnvironment {
    std::map<std::wstring, std::wstring> chain;
    std::set<std::wstring> sensitive;                  ///< folded
    std::map<std::string, std::string> versionBodies;  ///< by address; a missing one fails
    std::map<std::string, std::string> versionTexts;   ///< what those bodies hold
    bool refusesInMemory = false;
    bool fips = false;
    bool debug = true;
    std::vector<std::string> events;

    std::wstring valueOf(const std::wstring& key) const;
    ServerDetails details() const;
    void holdDetails(const ServerDetails& details);
    void log(int level, const std::string& logger, const std::string& text);
};

/// One line of the tale.
std::string logEvent(int level, const std::string& logger, const std::string& text);

/// Keys that the chain knows as sensitive from the start, as the module's own are.
const std::vector<std::wstring>& sensitiveFromTheStart();

}  // namespace simulation
