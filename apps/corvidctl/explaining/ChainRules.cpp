#include <algorithm>
#include <array>
#include <string_view>

#include "ConfigStoreConstants.h"
#include "ServerPolicy.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "explaining/KeyRules.h"
#include "explaining/Moments.h"
#include "output/Output.h"
#include "quill/StringUtils.h"
#include "reading/ClientKeys.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

using Sentences = std::vector<std::string>;

Sentences onlyIf(bool spoke, const std::string& sentence) { return spoke ? Sentences{sentence} : Sentences(); }

bool isKey(const Explanation& key, std::wstring_view name) {
    return caseInsensitiveStringEquals(toWideString(key.value.key), name);
}

const KeyLayer* winnerOf(const Explanation& key) {
    const auto winner =
        std::find_if(key.layers.begin(), key.layers.end(), [](const KeyLayer& layer) { return layer.wins; });
    return winner == key.layers.end() ? nullptr : &*winner;
}

/// The first read-only store that holds the key.
const KeyLayer* firstOfAdministrator(const Explanation& key) {
    const auto first = std::find_if(key.layers.begin(), key.layers.end(),
                                    [](const KeyLayer& layer) { return layer.holdsKey && layer.isReadOnly; });
    return first == key.layers.end() ? nullptr : &*first;
}

/// The client's memory, if it holds the key.
const KeyLayer* inMemory(const Explanation& key) {
    const auto memory = std::find_if(key.layers.begin(), key.layers.end(), [](const KeyLayer& layer) {
        return layer.holdsKey && layer.store == ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME;
    });
    return memory == key.layers.end() ? nullptr : &*memory;
}

Sentences oldNameAsked(const Explanation& key) {
    return onlyIf(!key.alias.empty() && caseInsensitiveStringEquals(key.asked, key.oldName),
                  key.asked + " is the old name of " + key.value.key + ".");
}

Sentences oldNameTried(const Explanation& key) {
    return key.lookedUp.size() < 2 ? Sentences()
                                   : Sentences{"No store holds " + key.lookedUp.front() + ", so its old name " +
                                               key.lookedUp.back() + " was looked up too."};
}

Sentences oldNameNotTried(const Explanation& key) {
    Sentences sentences;
    for (const HiddenPlace& place : key.heldUnderOldName) {
        sentences.push_back(place.store + inBrackets(place) + " holds the old name " + key.oldName +
                            ", which counts only while no store holds " + key.value.key + ".");
    }
    return sentences;
}

Sentences fipsMode(const Explanation& key) {
    Sentences sentences =
        onlyIf(key.fipsRuleSpoke, "FIPS mode is on: peer-to-peer calling reads as \"false\" whatever the stores hold.");
    for (const KeyLayer& layer : key.layers) {
        const bool differs = layer.inFile && layer.inFile->behindFipsRule && *layer.inFile->behindFipsRule != "false";
        if (key.fipsRuleSpoke && differs && !key.isHidden) {
            sentences.push_back(layer.origin.shownFile + ", line " + std::to_string(layer.inFile->line) + ", says " +
                                quoted(*layer.inFile->behindFipsRule) + ".");
        }
    }
    return sentences;
}

Sentences customServersForbidden(const Explanation& key) {
    if (!key.policy) {
        return {};
    }
    Sentences sentences = {key.policy->key + " is \"false\", from " + key.policy->store +
                           ": a server of the user's own is erased whenever the client starts."};
    for (const HiddenPlace& place : key.policy->erased) {
        sentences.push_back("This start has erased it from " + place.store + inBrackets(place) + ".");
    }
    return sentences;
}

Sentences onlyFalseForbids(const Explanation& key) {
    const auto isPolicy = [&key](const ServerPolicy& policy) { return isKey(key, policy.policyKey); };
    const std::vector<ServerPolicy>& policies = serverPolicies();
    const std::wstring value = toWideString(key.value.value);
    const std::wstring word = QuillCoreUtils::toLowercase(QuillCoreUtils::trim(value));
    const bool looksForbidding = word == L"false" || word == L"no" || word == L"off" || word == L"0";
    return onlyIf(
        std::any_of(policies.begin(), policies.end(), isPolicy) && looksForbidding && !forbidsCustomServers(value),
        "Only the word \"false\", without blanks, forbids servers of the user's own: this value allows them.");
}

Sentences workedOutFlag(const Explanation& key) {
    const bool isFlag =
        isKey(key, L"Telephony_Enabled") || isKey(key, L"Voicemail_Enabled") || isKey(key, L"Meetings_Enabled");
    const KeyLayer* const first = firstOfAdministrator(key);
    const bool onlyDefaults = first != nullptr && first->store == ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME;
    if (!isFlag || !onlyDefaults) {
        return {};
    }
    return {inMemory(key) != nullptr
                ? "The client worked it out from the configured servers and holds that in memory, since no "
                  "administrator's store but the defaults sets it."
                : "Once the server's file has arrived, a client works it out from the configured servers and holds "
                  "that in memory, since no administrator's store but the defaults sets it."};
}

Sentences versionAnswered(const Explanation& key) {
    return onlyIf(isKey(key, ConfigStoreConstants::HOME_UDS_VERSION) && inMemory(key) != nullptr,
                  "The version that a server answered with is held in memory for this run.");
}

Sentences listOfCopies(const Explanation& key) {
    return onlyIf(isKeptByClient(key.value.key) && key.value.isDefined,
                  "The client keeps this list itself: the stores of which it keeps a copy, with the priority of each.");
}

Sentences latchOfLinks(const Explanation& key) {
    const KeyLayer* const winner = winnerOf(key);
    return onlyIf(isKey(key, ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY) && winner != nullptr &&
                      !winner->isReadOnly && caseInsensitiveStringEquals(key.value.value, "false"),
                  "The client stores this when it has taken a provisioning link; corvidctl provision --reopen allows "
                  "another.");
}

Sentences keptCopy(const Explanation& key) {
    Sentences sentences;
    for (const KeyLayer& layer : key.layers) {
        if (layer.holdsKey && layer.origin.isCached) {
            sentences.push_back(sentenceOnCopy(layer.store, layer.origin) + "; its priority, " +
                                std::to_string(layer.priority) + ", comes from PrimaryConfigStores.");
        }
    }
    return sentences;
}

Sentences unreadCopy(const Explanation& key) {
    Sentences sentences;
    for (const HiddenPlace& place : key.unreadCopies) {
        sentences.push_back(place.file + ", line " + std::to_string(place.line) +
                            ", holds it too, and is not read: PrimaryConfigStores does not list its store.");
    }
    return sentences;
}

Sentences lostEntry(const Explanation& key) {
    Sentences sentences;
    for (const HiddenPlace& place : key.lost) {
        sentences.push_back(place.file + ", line " + std::to_string(place.line) +
                            ", has it outside any group, so it is lost.");
    }
    return sentences;
}

Sentences meantKey(const Explanation& key) { return onlyIf(!key.meant.empty(), "Did you mean " + key.meant + "?"); }

Sentences secretsWouldNotBeKept(const Explanation& key) {
    const auto isCopy = [](const KeyLayer& layer) { return layer.origin.isCached && !layer.origin.isMissing; };
    const auto isLive = [](const KeyLayer& layer) { return layer.origin.isLive; };
    return onlyIf(!key.value.isDefined && !key.value.isSensitive &&
                      std::any_of(key.layers.begin(), key.layers.end(), isCopy) &&
                      std::none_of(key.layers.begin(), key.layers.end(), isLive),
                  "A value that the server marks as sensitive would not be in the kept copy.");
}

Sentences secretsAreNotKept(const Explanation& key) {
    const auto hasCopy = [](const KeyLayer& layer) { return layer.origin.isCached && !layer.holdsKey; };
    const auto isLive = [](const KeyLayer& layer) { return layer.origin.isLive; };
    return onlyIf(key.value.isSensitive && std::any_of(key.layers.begin(), key.layers.end(), hasCopy) &&
                      std::none_of(key.layers.begin(), key.layers.end(), isLive),
                  "Sensitive values are left out of the kept copy: what the server's file says is not known before the "
                  "next fetch.");
}

Sentences sealedPassword(const Explanation& key) {
    const auto& sealed = SensitiveKeySecuringUtility::WELL_KNOWN_SENSITIVE_KEYS;
    const bool isSealed = std::any_of(std::begin(sealed), std::end(sealed),
                                      [&key](const std::wstring& name) { return isKey(key, name); });
    const auto comesFromServer = [](const KeyLayer& layer) { return layer.origin.isLive && layer.holdsKey; };
    return onlyIf(isSealed && std::any_of(key.layers.begin(), key.layers.end(), comesFromServer),
                  "The password of the server's file is kept enciphered, and reads as the enciphered text.");
}

Sentences hidden(const Explanation& key) {
    return onlyIf(key.isHidden, "The key is sensitive, so its values are hidden; --reveal shows them.");
}

Sentences emptyValueWins(const Explanation& key) {
    const KeyLayer* const winner = winnerOf(key);
    const auto waits = [](const KeyLayer& layer) { return layer.state == LayerState::Shadowed; };
    return onlyIf(winner != nullptr && winner->value.empty() && !key.isHidden &&
                      std::any_of(key.layers.begin(), key.layers.end(), waits),
                  "An empty value is a value: the stores behind it do not answer.");
}

Sentences emptyOriginalPassedOver(const Explanation& key) {
    const KeyLayer* const first = firstOfAdministrator(key);
    const bool passedOver = first != nullptr && !key.isHidden && !key.value.originalValueStoreName.empty() &&
                            first->store != key.value.originalValueStoreName;
    return !passedOver
               ? Sentences()
               : Sentences{"In the search for the administrator's value an empty one does not count, so that of " +
                           first->store + " was passed over."};
}

Sentences renamedNotOverridden(const Explanation& key) {
    const KeyLayer* const winner = winnerOf(key);
    const bool spoke = winner != nullptr && !winner->isReadOnly && !key.value.isOverridden && !key.oldName.empty();
    return onlyIf(spoke,
                  "It does not count as overridden: of a renamed key whose current name no administrator's store "
                  "holds, the old name decides.");
}

}  // namespace

std::string sentenceOnCopy(const std::string& store, const StoreOrigin& origin) {
    return origin.url.empty() || !origin.time
               ? store + " is the copy that was kept when the server delivered last"
               : store + " is the copy of " + origin.url + ", fetched at " + isoTime(*origin.time);
}

const std::vector<KeyRule>& chainRules() {
    static const std::vector<KeyRule> rules = {
        oldNameAsked,
        oldNameTried,
        oldNameNotTried,
        fipsMode,
        customServersForbidden,
        onlyFalseForbids,
        workedOutFlag,
        versionAnswered,
        listOfCopies,
        latchOfLinks,
        keptCopy,
        unreadCopy,
        lostEntry,
        meantKey,
        secretsWouldNotBeKept,
        secretsAreNotKept,
        sealedPassword,
        emptyValueWins,
        emptyOriginalPassedOver,
        renamedNotOverridden,
        hidden,
    };
    return rules;
}

}  // namespace corvidctl
