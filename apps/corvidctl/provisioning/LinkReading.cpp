#include "provisioning/LinkReading.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::caseInsensitiveStringEquals;
using QuillCoreUtils::trim;

bool isKeyOfLinks(const std::wstring& key) {
    const auto& known = ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY;
    return std::any_of(known.begin(), known.end(),
                       [&key](const std::wstring& name) { return caseInsensitiveStringEquals(name, key); });
}

PartFate fateOf(const LinkPart& part) {
    switch (std::count(part.text.begin(), part.text.end(), L'=')) {
    case 0:
        return trim(part.text).empty() ? PartFate::Empty : PartFate::NoEqualsSign;
    case 1:
        break;
    default:
        return PartFate::SeveralEqualsSigns;
    }
    if (part.key.empty()) {
        return PartFate::NoKey;
    }
    return isKeyOfLinks(part.key) ? PartFate::Taken : PartFate::UnknownKey;
}

LinkPart readPart(std::size_t number, const std::wstring& text) {
    LinkPart part;
    part.number = number;
    part.text = text;
    const std::size_t equals = text.find(L'=');
    if (equals != std::wstring::npos) {
        part.key = trim(text.substr(0, equals));
    }
    part.fate = fateOf(part);
    if (part.fate == PartFate::Taken) {
        part.value = trim(text.substr(equals + 1));
    }
    return part;
}

/// Of several parts for one key the last one counts, with the spelling of the first.
void markOverwritten(std::vector<LinkPart>& parts) {
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        for (auto earlier = std::next(part); part->fate == PartFate::Taken && earlier != parts.rend(); ++earlier) {
            if (earlier->fate == PartFate::Taken && caseInsensitiveStringEquals(earlier->key, part->key)) {
                earlier->fate = PartFate::Overwritten;
                part->key = earlier->key;
            }
        }
    }
}

LinkFlaw flawOf(const std::wstring& link) {
    if (link.empty()) {
        return LinkFlaw::Empty;
    }
    if (link.size() >= LINK_LENGTH_LIMIT) {
        return LinkFlaw::TooLong;
    }
    const std::size_t mark = link.find(L'?');
    if (mark == std::wstring::npos) {
        return LinkFlaw::NoQuestionMark;
    }
    return mark == link.size() - 1 ? LinkFlaw::NothingBehindIt : LinkFlaw::None;
}

}  // namespace

LinkReading readLink(const std::wstring& link) {
    LinkReading reading;
    reading.length = link.size();
    reading.flaw = flawOf(link);
    if (reading.flaw != LinkFlaw::None) {
        return reading;
    }
    std::vector<std::wstring> texts;
    QuillCoreUtils::split(link.substr(link.find(L'?') + 1), texts, L"&");
    for (const std::wstring& text : texts) {
        reading.parts.push_back(readPart(reading.parts.size() + 1, text));
    }
    markOverwritten(reading.parts);
    const bool anyTaken = std::any_of(reading.parts.begin(), reading.parts.end(),
                                      [](const LinkPart& part) { return part.fate == PartFate::Taken; });
    reading.flaw = anyTaken ? LinkFlaw::None : LinkFlaw::NoKeyTaken;
    return reading;
}

std::string reasonFor(const LinkReading& reading) {
    switch (reading.flaw) {
    case LinkFlaw::None:
        break;
    case LinkFlaw::Empty:
        return "it is empty";
    case LinkFlaw::TooLong:
        return "it has " + std::to_string(reading.length) + " characters, and " +
               std::to_string(LINK_LENGTH_LIMIT - 1) + " is the most";
    case LinkFlaw::NoQuestionMark:
        return "it has no question mark, behind which its settings would stand";
    case LinkFlaw::NothingBehindIt:
        return "nothing stands behind its question mark";
    case LinkFlaw::NoKeyTaken:
        return "none of its parts sets a key that a link may set";
    }
    return {};
}

std::string reasonFor(PartFate fate) {
    switch (fate) {
    case PartFate::Taken:
        break;
    case PartFate::Empty:
        return "it is empty";
    case PartFate::NoEqualsSign:
        return "it has no equals sign";
    case PartFate::SeveralEqualsSigns:
        return "it has more than one equals sign";
    case PartFate::NoKey:
        return "no key stands before its equals sign";
    case PartFate::UnknownKey:
        return "no link may set this key";
    case PartFate::Overwritten:
        return "a later part sets the same key";
    }
    return {};
}

std::string keysOfLinks() {
    std::string names;
    for (const std::wstring& key : ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY) {
        names += (names.empty() ? "" : ", ") + QuillCoreUtils::toString(key);
    }
    return names;
}

}  // namespace corvidctl
