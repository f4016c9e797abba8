#include "VersionOracle.h"

#include <algorithm>
#include <limits>

#include "ModelTypes.h"

namespace simulation {

namespace {

bool isValid(const std::string& version) { return version.find_first_not_of("0123456789.") == std::string::npos; }

std::uint32_t leadingNumber(const std::string& version) {
    constexpr std::uint64_t LARGEST = std::numeric_limits<std::int32_t>::max();
    std::uint64_t number = 0;
    for (const char digit : version) {
        if (digit < '0' || digit > '9') {
            break;
        }
        number = std::min(LARGEST, number * 10 + static_cast<std::uint64_t>(digit - '0'));
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace

std::string VersionOracle::retrieve(const std::string& address) {
    ++attempts_;
    asked_.push_back(address);
    environment_.events.push_back("request https://" + address + ":8443/hubm-uds/version within 10000");
    const std::string version = environment_.versionTexts[address];
    if (environment_.versionBodies[address].empty()) {
        log(2, "ERROR: The UDS version http response was empty. Cannot parse the UDS server version.");
    }
    requests_.push_back({address, version});
    return version;
}

void VersionOracle::retrieveIfAllowed(const std::string& address, const std::string& words, std::string& version) {
    const bool listed = std::find(asked_.begin(), asked_.end(), address) != asked_.end();
    if (version.empty() && !address.empty() && attempts_ < 3 && !listed) {
        version = retrieve(address);
        log(4, "The UDS server version returned from querying " + words + " '" + address + "' is: " + version);
    }
}

void VersionOracle::keep(const std::string& version) {
    if (environment_.refusesInMemory) {
        log(2, "ERROR: UDS version '" + version + "' was NOT set into In-Memory Config Store");
        return;
    }
    environment_.chain[L"HomeUdsVersion"] = std::wstring(version.begin(), version.end());
    log(4, "UDS version '" + version + "' is set into In-Memory Config Store");
}

std::uint32_t VersionOracle::ask(const ServerDetails& last) {
    requests_.clear();
    std::string version = printable(environment_.valueOf(L"HomeUdsVersion"));
    if (!version.empty() && isValid(version)) {
        log(4, "The UDS server version returned from config service key 'HomeUdsVersion' is: " + version);
        return leadingNumber(version);
    }
    const std::string primary = printable(environment_.valueOf(L"HubcipServer1"));
    if (!primary.empty()) {
        version = retrieve(primary);
        log(4, "The UDS server version returned from querying primary HUBCIP server '" + primary + "' is: " + version);
    }
    retrieveIfAllowed(printable(environment_.valueOf(L"HubcipServer2")), "backup HUBCIP server1", version);
    retrieveIfAllowed(printable(environment_.valueOf(L"HubcipServer3")), "backup HUBCIP server2", version);
    for (const std::wstring& server : {last.server1, last.server2, last.server3}) {
        retrieveIfAllowed(printable(server), "the tftp server", version);
    }
    if (version.empty() || !isValid(version)) {
        log(4, "The UDS version is invalid or empty: " + version);
        version.clear();
    } else {
        log(4, "The UDS version is valid. Setting In Memory config Store key to: " + version);
        keep(version);
    }
    log(4, "The UDS version query is complete. Version retrieved is: " + version);
    return leadingNumber(version);
}

}  // namespace simulation
