#include "validating/KeyFindings.h"

#include <algorithm>
#include <utility>

#include "ConfigStoreConstants.h"
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

bool isSettableByLink(const std::wstring& key) {
    const auto& keys = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
    return std::any_of(keys.begin(), keys.end(),
                       [&key](const std::wstring& settable) { return caseInsensitiveStringEquals(key, settable); });
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

KeyFindings::KeyFindings(const std::vector<Entry>& entries, FilePlace place) : entries_(entries), place_(place) {}

std::vector<Finding> KeyFindings::find() {
    findings_.clear();
    for (const Entry& entry : entries_) {
        noticeUnknownKey(entry);
        noticeOldName(entry);
        noticeSensitivity(entry);
        noticeFipsRule(entry);
        noticePlace(entry);
        noticePolicy(entry);
    }
    return std::move(findings_);
}

void KeyFindings::noticeUnknownKey(const Entry& entry) {
    if (const std::optional<std::string> meant = known_.meantBy(entry.key)) {
        add(Severity::Warning, FindingKind::UnknownKey, entry,
            "key is not known: " + toString(entry.name) + ", did you mean " + *meant + "?");
    }
}

void KeyFindings::noticeOldName(const Entry& entry) {
    const std::optional<std::wstring> current = known_.currentNameOf(entry.name);
    if (!current) {
        return;
    }
    const bool isMoved = caseInsensitiveStringEquals(entry.key, *current);
    const Entry* const better = isMoved ? nullptr : entryOf(*current);
    if (better != nullptr) {
        add(Severity::Warning, FindingKind::DuplicateKey, entry,
            "old name of " + toString(*current) + " is never asked for, line " + std::to_string(better->line) +
                " counts: " + toString(entry.name));
    } else {
        add(Severity::Info, FindingKind::OldName, entry,
            "old name, the key is called " + toString(*current) + " today: " + toString(entry.name));
    }
}

void KeyFindings::noticeSensitivity(const Entry& entry) {
    const std::string name = toString(entry.name);
    if (KnownKeys::isAlwaysSensitive(entry.key)) {
        const bool enciphered = place_ == FilePlace::ServerFile && KnownKeys::isEncipheredOnDownload(entry.key);
        add(Severity::Info, FindingKind::Sensitive, entry,
            (enciphered ? "value is always hidden, and enciphered once it is downloaded: "
                        : "value is always hidden: ") +
                name);
    } else if (entry.sensitive && place_ == FilePlace::ServerFile) {
        add(Severity::Info, FindingKind::Sensitive, entry, "value is hidden, as the document asks for: " + name);
    } else if (entry.sensitive) {
        add(Severity::Warning, FindingKind::MarkIgnored, entry,
            "mark \"sensitive\" counts in a file from a server alone, the client shows this value: " + name);
    }
}

void KeyFindings::noticeFipsRule(const Entry& entry) {
    constexpr const wchar_t* fipsKey = L"Telephony_P2P_Enabled";
    if (caseInsensitiveStringEquals(entry.key, fipsKey) && tessel::common::FipsUtils::isFipsEnabled()) {
        add(Severity::Info, FindingKind::FipsRule, entry,
            "value always reads as \"false\" in FIPS mode: " + toString(entry.name));
    }
}

void KeyFindings::noticePlace(const Entry& entry) {
    if (place_ == FilePlace::ProvisioningCache && !isSettableByLink(entry.key)) {
        add(Severity::Warning, FindingKind::NotProvisionable, entry,
            "no provisioning link can have set this key: " + toString(entry.name));
    }
}

void KeyFindings::noticePolicy(const Entry& entry) {
    const std::string name = toString(entry.name);
    const bool looksForbidden = looksLikeNo(entry.value);
    const bool isForbidden = forbidsCustomServers(entry.value);
    if (caseInsensitiveStringEquals(entry.key, ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY) && looksForbidden &&
        !isForbidden) {
        add(Severity::Warning, FindingKind::PolicyValue, entry,
            "only \"false\" refuses provisioning links, this value allows them: " + name);
    }
    for (const ServerPolicy& policy : serverPolicies()) {
        if (!caseInsensitiveStringEquals(entry.key, policy.policyKey)) {
            continue;
        }
        if (isForbidden) {
            add(Severity::Info, FindingKind::Policy, entry,
                "erases from the user's file " + listed(policy.erasedKeys) + ": " + name);
            noticeErasedServers(entry, policy.erasedKeys);
        } else if (looksForbidden) {
            add(Severity::Warning, FindingKind::PolicyValue, entry,
                "only \"false\" forbids servers of the user's own, this value allows them: " + name);
        }
    }
}

void KeyFindings::noticeErasedServers(const Entry& policy, const std::vector<std::wstring>& servers) {
    if (place_ != FilePlace::UserFile) {
        return;
    }
    for (const Entry& entry : entries_) {
        const std::wstring current = known_.currentNameOf(entry.key).value_or(entry.key);
        const bool isErased = std::any_of(servers.begin(), servers.end(), [&](const std::wstring& server) {
            return caseInsensitiveStringEquals(known_.currentNameOf(server).value_or(server), current);
        });
        if (isErased) {
            add(Severity::Warning, FindingKind::ErasedServer, entry,
                "value is erased when the client starts, as line " + std::to_string(policy.line) + " (" +
                    toString(policy.name) + ") forbids servers of the user's own: " + toString(entry.name));
        }
    }
}

const DocumentReport::Entry* KeyFindings::entryOf(const std::wstring& key) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&key](const Entry& entry) { return caseInsensitiveStringEquals(entry.key, key); });
    return found == entries_.end() ? nullptr : &*found;
}

void KeyFindings::add(Severity severity, const char* kind, const Entry& entry, std::string text) {
    findings_.push_back({severity, kind, entry.line, 0, toString(entry.key), std::move(text)});
}

}  // namespace corvidctl
