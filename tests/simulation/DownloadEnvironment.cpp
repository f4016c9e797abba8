#include "DownloadEnvironment.h"

namespace simulation {

std::string logEvent(int level, const std::string& logger, const std::string& text) {
    return "log " + std::to_string(level) + " " + logger + ": " + text;
}

const std::vector<std::wstring>& sensitiveFromTheStart() {
    static const std::vector<std::wstring> keys = {L"connectionpassword", L"bdiconnectionpassword"};
    return keys;
}

std::wstring DownloadEnvironment::valueOf(const std::wstring& key) const {
    const auto found = chain.find(key);
    return found == chain.end() ? std::wstring() : found->second;
}

ServerDetails DownloadEnvironment::details() const {
    return {valueOf(L"TFTPPrimaryServer"), valueOf(L"TFTPBackupServer1"), valueOf(L"TFTPBackupServer2"),
            valueOf(L"configurationfile")};
}

void DownloadEnvironment::holdDetails(const ServerDetails& details) {
    chain[L"TFTPPrimaryServer"] = details.server1;
    chain[L"TFTPBackupServer1"] = details.server2;
    chain[L"TFTPBackupServer2"] = details.server3;
    chain[L"configurationfile"] = details.file;
}

void DownloadEnvironment::log(int level, const std::string& logger, const std::string& text) {
    if (level < 5 || debug) {
        events.push_back(logEvent(level, logger, text));
    }
}

}  // namespace simulation
