#include "comparing/PolicyErasure.h"

#include <algorithm>

#include "ServerPolicy.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

bool forbids(const ValueView& policy) { return policy.isDefined && forbidsCustomServers(toWideString(policy.value)); }

}  // namespace

std::string policyAgainst(const std::wstring& key, const ChainReader& reader) {
    for (const ServerPolicy& policy : serverPolicies()) {
        const bool isAbout = std::any_of(policy.erasedKeys.begin(), policy.erasedKeys.end(), [&](const auto& erased) {
            return caseInsensitiveStringEquals(reader.currentName(erased), reader.currentName(key));
        });
        const ValueView says = reader.describe(policy.policyKey);
        if (isAbout && forbids(says)) {
            return says.key + " is \"" + says.value + "\", from " + says.valueStoreName;
        }
    }
    return {};
}

std::vector<std::string> keysErasedBy(const std::wstring& policyKey, const ChainReader& reader) {
    std::vector<std::string> keys;
    for (const ServerPolicy& policy : serverPolicies()) {
        const bool isThis =
            caseInsensitiveStringEquals(reader.currentName(policy.policyKey), reader.currentName(policyKey));
        if (!isThis || !forbids(reader.describe(policy.policyKey))) {
            continue;
        }
        for (const std::wstring& erased : policy.erasedKeys) {
            const std::string name = toString(reader.currentName(erased));
            if (!reader.writableHolders(erased).empty() && std::find(keys.begin(), keys.end(), name) == keys.end()) {
                keys.push_back(name);
            }
        }
    }
    return keys;
}

}  // namespace corvidctl
