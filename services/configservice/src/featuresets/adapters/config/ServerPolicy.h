#pragma once

#include <string>
#include <vector>

/// The administrator's policy that forbids servers of the user's own.
struct ServerPolicy {
    std::wstring policyKey;                ///< the key that allows or forbids
    std::vector<std::wstring> erasedKeys;  ///< what goes when it forbids, in this order
};

/// Every policy there is, in the order in which they are applied. Backup servers are left alone on purpose.
const std::vector<ServerPolicy>& serverPolicies();

/// True for "false" in any case, and for nothing else: no blank, no "no", no "0".
bool forbidsCustomServers(const std::wstring& policyValue);
