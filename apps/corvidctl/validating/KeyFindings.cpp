#include "validating/KeyFindings.h"

#include <algorithm>
#include <utility>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;

bool isSettableByLink(const std::wstring& key) {
    const auto& keys = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
    return std::any_of(keys.begin(), keys.end(),
                       [&key](const std::wstring& settable) { return caseInsensitiveStringEquals(key, settable); });
}

}  // namespace

KeyFindings::KeyFindings(const std::vector<Entry>& entries, FilePlace place, bool reveal)
    : entries_(entries), place_(place), reveal_(reveal) {}

std::vector<Finding> KeyFindings::find() {
    findings_.clear();
    for (const Entry& entry : entries_) {
        noticeUnknownKey(entry);
        noticeOldName(entry);
        noticeSensitivity(entry);
        noticePlace(entry);
    }
    return std::move(findings_);
}

void KeyFindings::noticeUnknownKey(const Entry& entry) {
    if (const std::optional<std::string> meant = known_.meantBy(entry.key)) {
        add(Severity::Warning, FindingKind::UnknownKey, entry,
            "key is not known: " + shownKey(entry.name, reveal_) + ", did you mean " + *meant + "?");
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

void KeyFindings::noticePlace(const Entry& entry) {
    if (place_ == FilePlace::ProvisioningCache && !isSettableByLink(entry.key)) {
        add(Severity::Warning, FindingKind::NotProvisionable, entry,
            "no provisioning link can have set this key: " + shownKey(entry.name, reveal_));
    }
}

const DocumentReport::Entry* KeyFindings::entryOf(const std::wstring& key) const {
    const auto found = std::find_if(entries_.begin(), entries_.end(),
                                    [&key](const Entry& entry) { return caseInsensitiveStringEquals(entry.key, key); });
    return found == entries_.end() ? nullptr : &*found;
}

void KeyFindings::add(Severity severity, const char* kind, const Entry& entry, std::string text) {
    findings_.push_back({severity, kind, entry.line, 0, shownKey(entry.key, reveal_), std::move(text)});
}

}  // namespace corvidctl
