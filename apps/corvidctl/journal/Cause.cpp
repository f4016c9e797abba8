#include "journal/Cause.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "journal/JournalBatch.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

namespace names = ConfigStoreConstants;

constexpr auto TEXTS = std::to_array<std::pair<Cause, const char*>>({
    {Cause::Start, "start"},
    {Cause::File, "file"},
    {Cause::Download, "download"},
    {Cause::Set, "set"},
    {Cause::Reset, "reset"},
    {Cause::Provisioning, "provisioning"},
});

bool isServers(const std::string& store) {
    return store == names::TFTP_CONFIG_STORE_NAME || store == CacheFiles::nameFor(names::TFTP_CONFIG_STORE_NAME);
}

bool isUsers(const std::string& store) { return store == names::LOCAL_FILE_STORE_NAME; }

bool touches(const JournalChange& change, const std::string& store) {
    return change.oldStore == store || change.newStore == store;
}

/// A user's value that comes before the server's, or gives way to it, tells nothing of the server.
bool isOfTheServer(const JournalChange& change) {
    const bool isOfTheUser = isUsers(change.oldStore) || isUsers(change.newStore);
    return !isOfTheUser && (isServers(change.oldStore) || isServers(change.newStore));
}

/// The version that a server answers with is kept in memory, before its file arrives.
bool isServersVersion(const JournalChange& change) {
    return change.newStore == names::IN_MEMORY_CONFIG_STORE_NAME &&
           QuillCoreUtils::caseInsensitiveStringEquals(QuillCoreUtils::toWideString(change.key),
                                                       names::HOME_UDS_VERSION);
}

bool staysInMemory(const JournalChange& change) { return touches(change, names::IN_MEMORY_CONFIG_STORE_NAME); }

/// What the user's own store gained and lost. A file that is read again brings several values, a person one.
Cause causeByTheUser(const std::vector<JournalChange>& changes) {
    const auto gained = std::count_if(changes.begin(), changes.end(),
                                      [](const JournalChange& change) { return isUsers(change.newStore); });
    const bool lost = std::any_of(changes.begin(), changes.end(),
                                  [](const JournalChange& change) { return isUsers(change.oldStore); });
    if (gained == 0 && lost) {
        return Cause::Reset;
    }
    if (gained == 1) {
        return Cause::Set;
    }
    const bool isOnlyInMemory = std::all_of(changes.begin(), changes.end(), staysInMemory);
    return gained == 0 && isOnlyInMemory ? Cause::Set : Cause::File;
}

}  // namespace

const char* textOf(Cause cause) {
    return std::find_if(TEXTS.begin(), TEXTS.end(), [cause](const auto& entry) { return entry.first == cause; })
        ->second;
}

std::optional<Cause> causeCalled(std::string_view text) {
    const auto* const found =
        std::find_if(TEXTS.begin(), TEXTS.end(), [text](const auto& entry) { return entry.second == text; });
    return found == TEXTS.end() ? std::nullopt : std::optional<Cause>(found->first);
}

Cause workedOutCause(const std::vector<JournalChange>& changes) {
    const auto any = [&changes](const auto& test) { return std::any_of(changes.begin(), changes.end(), test); };
    // No download and no user changes what the administrator's own file answers.
    if (any([](const JournalChange& change) { return touches(change, names::TFTP_OVERRIDE_CONFIG_STORE_NAME); })) {
        return Cause::File;
    }
    // Both of these store values of the user's, or take some away, in the same piece of work.
    if (any(isOfTheServer) || any(isServersVersion)) {
        return Cause::Download;
    }
    if (any([](const JournalChange& change) { return touches(change, names::URL_PROVISIONING_CONFIG_STORE_NAME); })) {
        return Cause::Provisioning;
    }
    return causeByTheUser(changes);
}

}  // namespace corvidctl
