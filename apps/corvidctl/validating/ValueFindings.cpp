#include "validating/ValueFindings.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "ConfigStoreConstants.h"
#include "EnablementRules.h"
#include "ServerPolicy.h"
#include "quill/StringUtils.h"
#include "tessel/FipsUtils.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;

/// The module forbids on "false" alone; whoever writes one of these most likely meant the same.
bool looksLikeNo(const std::wstring& value) {
    const std::wstring word = QuillCoreUtils::toLowercase(QuillCoreUtils::trim(value));
    return word == L"false" || word == L"no" || word == L"off" || word == L"0";
}

/// Whether a value is a no for people and a yes for the module.
bool isMissedNo(const std::wstring& value) { return looksLikeNo(value) && !forbidsCustomServers(value); }

bool isNumber(const std::wstring& text) {
    return QuillCoreUtils::toInt(text, 0) == QuillCoreUtils::toInt(text, 1);  // the fallback differs
}

std::string listed(const std::vector<std::wstring>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const char* const before = i == 0 ? "" : i + 1 == names.size() ? " and " : ", ";
        text += before + toString(names[i]);
    }
    return text;
}

}  // namespace

ValueFindings::ValueFindings(const std::vector<Entry>& entries, FilePlace place) : entries_(entries), place_(place) {}

std::vector<Finding> ValueFindings::find() {
    findings_.clear();
    for (const Entry& entry : entries_) {
        noticeFipsRule(entry);
        noticeLinkPolicy(entry);
        noticeServerPolicy(entry);
        noticeStoreList(entry);
        noticeMeetingsType(entry);
    }
    return std::move(findings_);
}

void ValueFindings::noticeFipsRule(const Entry& entry) {
    constexpr const wchar_t* fipsKey = L"Telephony_P2P_Enabled";
    if (caseInsensitiveStringEquals(entry.key, fipsKey) && tessel::common::FipsUtils::isFipsEnabled()) {
        add(Severity::Info, FindingKind::FipsRule, entry, "value always reads as \"false\" in FIPS mode");
    }
}

void ValueFindings::noticeLinkPolicy(const Entry& entry) {
    const bool isPolicy = caseInsensitiveStringEquals(entry.key, ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY);
    if (isPolicy && isMissedNo(entry.value)) {
        add(Severity::Warning, FindingKind::PolicyValue, entry,
            "only \"false\" refuses provisioning links, this value allows them");
    }
}

void ValueFindings::noticeServerPolicy(const Entry& entry) {
    for (const ServerPolicy& policy : serverPolicies()) {
        if (!caseInsensitiveStringEquals(entry.key, policy.policyKey)) {
            continue;
        }
        if (forbidsCustomServers(entry.value)) {
            add(Severity::Info, FindingKind::Policy, entry, "erases from the user's file " + listed(policy.erasedKeys));
            noticeErasedServers(entry, policy.erasedKeys);
        } else if (isMissedNo(entry.value)) {
            add(Severity::Warning, FindingKind::PolicyValue, entry,
                "only \"false\" forbids servers of the user's own, this value allows them");
        }
    }
}

void ValueFindings::noticeErasedServers(const Entry& policy, const std::vector<std::wstring>& servers) {
    if (place_ != FilePlace::UserFile) {
        return;
    }
    const auto currentName = [this](const std::wstring& key) { return known_.currentNameOf(key).value_or(key); };
    for (const Entry& entry : entries_) {
        const bool isErased = std::any_of(servers.begin(), servers.end(), [&](const std::wstring& server) {
            return caseInsensitiveStringEquals(currentName(server), currentName(entry.key));
        });
        if (isErased) {
            add(Severity::Warning, FindingKind::ErasedServer, entry,
                "value is erased when the client starts, as line " + std::to_string(policy.line) + " (" +
                    toString(policy.name) + ") forbids servers of the user's own");
        }
    }
}

void ValueFindings::noticeStoreList(const Entry& entry) {
    if (!caseInsensitiveStringEquals(entry.key, ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY)) {
        return;
    }
    std::vector<std::wstring> pieces;
    QuillCoreUtils::split(entry.value, pieces, L";");
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        std::vector<std::wstring> parts;
        QuillCoreUtils::split(pieces[i], parts, L":");
        const std::string place = "part " + std::to_string(i + 1) + " of the list ";
        if (parts.size() != 2 && !pieces[i].empty()) {
            add(Severity::Warning, FindingKind::ListPart, entry, place + "is not read, expected STORE:PRIORITY");
        } else if (parts.size() == 2 && !isNumber(parts[1])) {
            add(Severity::Warning, FindingKind::ListPart, entry, place + "has a priority that is no number");
        }
    }
}

void ValueFindings::noticeMeetingsType(const Entry& entry) {
    const bool isType = QuillCoreUtils::toLowercase(entry.key).starts_with(L"meeting_server_type");
    const std::wstring anyAddress = L"address";
    if (isType && known_.contains(entry.key) && !meetingsServerSettingOk(anyAddress, entry.value)) {
        add(Severity::Warning, FindingKind::ServerType, entry,
            "a meetings server of this type does not count, expected no type or \"Lumex\"");
    }
}

void ValueFindings::add(Severity severity, const char* kind, const Entry& entry, const std::string& text) {
    findings_.push_back({severity, kind, entry.line, 0, toString(entry.key), text + ": " + toString(entry.name)});
}

}  // namespace corvidctl
