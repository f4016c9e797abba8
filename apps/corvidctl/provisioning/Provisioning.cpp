#include "provisioning/Provisioning.h"

#include <algorithm>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "chain/ConfigStoreManager.h"
#include "quill/StringUtils.h"
#include "reading/ClientKeys.h"
#include "tessel/FipsUtils.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlConfigParser.h"

namespace corvidctl {

namespace {

using ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY;
using QuillCoreUtils::toString;

bool isLatchClosed(ConfigStoreManager& chain) {
    std::wstring value;
    return chain.getValue(ALLOW_URL_PROVISIONING_KEY, value, false) &&
           QuillCoreUtils::caseInsensitiveStringEquals(value, L"false");
}

SensitiveKeySet keysOfTheStore(ConfigStoreManager& chain) {
    const auto store = chain.findStore(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME);
    const std::vector<std::wstring> keys = store == nullptr ? std::vector<std::wstring>() : store->getKeys();
    return {keys.begin(), keys.end()};
}

std::wstring textOnDisk(const std::wstring& text) { return QuillCoreUtils::toWideString(toXmlText(text).text); }

/// Whether the next start will read from the file what the link has set. It will know the keys in lower case. What FIPS
/// mode rules reads as the rule says, whatever stands there.
bool isCacheOnDisk(const std::vector<LinkPart>& parts) {
    ConfigMap onDisk;
    SensitiveKeySet sensitive;
    return XmlConfigParser::readFromFile(CacheFiles::provisioningPath(), onDisk, sensitive) &&
           std::all_of(parts.begin(), parts.end(), [&onDisk](const LinkPart& part) {
               const auto entry = onDisk.find(part.key);
               const bool isRuled = isRuledByFipsMode(part.key) && tessel::common::FipsUtils::isFipsEnabled();
               return part.fate != PartFate::Taken ||
                      (entry != onDisk.end() && (isRuled || entry->second == textOnDisk(part.value)));
           });
}

/// Turns a reading into what may be shown.
class PartsShown {
public:
    PartsShown(Session::Inside& inside, const LinkReading& reading, bool reveal)
        : inside_(inside), reading_(reading), reveal_(reveal) {}

    std::vector<ProvisionedKey> taken() const {
        std::vector<ProvisionedKey> keys;
        for (const LinkPart& part : reading_.parts) {
            if (part.fate == PartFate::Taken) {
                keys.push_back(describe(part));
            }
        }
        std::sort(keys.begin(), keys.end(), [](const ProvisionedKey& a, const ProvisionedKey& b) {
            return QuillCoreUtils::caseInsensitiveStringCompare(a.key, b.key) < 0;
        });
        return keys;
    }

    std::vector<DroppedPart> dropped() const {
        std::vector<DroppedPart> parts;
        for (const LinkPart& part : reading_.parts) {
            if (part.fate != PartFate::Taken) {
                parts.push_back(
                    {part.number, part.key.empty() ? shownText(part) : toString(part.key), reasonFor(part.fate)});
            }
        }
        return parts;
    }

private:
    ProvisionedKey describe(const LinkPart& part) const {
        ProvisionedKey view;
        view.key = toString(part.key);
        view.value = toString(masked(part.value, inside_.reader.isSensitive(part.key)));
        view.after = inside_.reader.describe(part.key);
        view.answers = view.after.valueStoreName == ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME &&
                       ChainReader(inside_.chain, true).describe(part.key).value == toString(part.value);
        view.isWhole = textOnDisk(part.value) == part.value;
        return view;
    }

    /// A part without a key may be the end of a secret with an ampersand in it.
    std::string shownText(const LinkPart& part) const {
        const bool anySecret = std::any_of(reading_.parts.begin(), reading_.parts.end(), [this](const LinkPart& one) {
            return !one.key.empty() && inside_.reader.isSensitive(one.key);
        });
        return part.fate == PartFate::Empty ? std::string() : toString(masked(part.text, anySecret));
    }

    std::wstring masked(const std::wstring& text, bool sensitive) const {
        return sensitive && !reveal_ ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : text;
    }

    Session::Inside& inside_;
    const LinkReading& reading_;
    const bool reveal_;
};

}  // namespace

bool hasReopened(const ProvisioningView& view) {
    // A link that is taken closes the latch again.
    return view.latchOnDisk && view.wasClosed && !view.latchRefused && (!view.isClosed || view.accepted);
}

void reopenLatch(Session::Inside& inside, ProvisioningView& view) {
    view.wasClosed = isLatchClosed(inside.chain);
    inside.featureSet.resetAllowUriProvisioningData();
    view.isClosed = isLatchClosed(inside.chain);
    view.latch = inside.reader.describe(ALLOW_URL_PROVISIONING_KEY);
}

void applyLink(Session::Inside& inside, const std::wstring& link, bool reveal, ProvisioningView& view) {
    const LinkReading reading = readLink(link);
    const SensitiveKeySet before = keysOfTheStore(inside.chain);
    view.latchRefused = isLatchClosed(inside.chain);
    view.accepted = inside.featureSet.setUrlProvisioningData(link);
    view.isClosed = isLatchClosed(inside.chain);
    view.latch = inside.reader.describe(ALLOW_URL_PROVISIONING_KEY);

    const PartsShown shown(inside, reading, reveal);
    view.dropped = shown.dropped();
    if (!view.accepted) {
        view.reason = reasonFor(reading);
        view.namesNoKnownKey = reading.flaw == LinkFlaw::NoKeyTaken;
        return;
    }
    view.keys = shown.taken();
    const SensitiveKeySet after = keysOfTheStore(inside.chain);
    for (const std::wstring& key : before) {
        if (after.count(key) == 0) {
            view.gone.push_back(toString(key));
        }
    }
    view.cacheOnDisk = isCacheOnDisk(reading.parts);
}

}  // namespace corvidctl
