#include "LinkOracle.h"

#include <cstddef>
#include <map>

#include "chain/ConfigStoreManager.h"

namespace link_oracle {
namespace {

using Values = std::map<std::wstring, std::wstring>;  // by the key in small letters

constexpr const wchar_t* KNOWN_KEYS[] = {L"servicesdomain",
                                         L"voiceservicesdomain",
                                         L"servicediscoveryexcludedservices",
                                         L"servicesdomainssoemailprompt",
                                         L"telephony_enabled",
                                         L"telemetryenabled",
                                         L"sso_enabled",
                                         L"edgessoprecedence",
                                         L"meetings_enabled",
                                         L"telephony_p2p_enabled",
                                         L"alphap2penabled",
                                         L"invalidcertificatebehavior",
                                         L"enableprtencryption",
                                         L"prtcertificatename"};

/// Of all characters beyond ASCII only these two are the same as a letter of the known keys in another case.
wchar_t small(wchar_t character) {
    if (character >= L'A' && character <= L'Z') {
        return static_cast<wchar_t>(character - L'A' + L'a');
    }
    return character == L'\u017F' ? L's' : (character == L'\u212A' ? L'k' : character);
}

bool isBlank(wchar_t character) { return character == L' ' || (character >= L'\t' && character <= L'\r'); }

std::wstring smallLetters(std::wstring text) {
    for (wchar_t& character : text) {
        character = small(character);
    }
    return text;
}

std::wstring withoutBlanksAround(std::wstring text) {
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    return text;
}

void readParameter(const std::wstring& parameter, Values& values) {
    const std::size_t equals = parameter.find(L'=');
    if (equals == std::wstring::npos || parameter.find(L'=', equals + 1) != std::wstring::npos) {
        return;
    }
    const std::wstring key = smallLetters(withoutBlanksAround(parameter.substr(0, equals)));
    for (const wchar_t* const known : KNOWN_KEYS) {
        if (key == known) {
            values[key] = withoutBlanksAround(parameter.substr(equals + 1));
        }
    }
}

/// The rules once more, one character after the other.
Values plainReading(const std::wstring& link) {
    Values values;
    if (link.size() >= 1000) {
        return values;
    }
    bool inQuery = false;
    std::wstring parameter;
    for (const wchar_t character : link) {
        if (!inQuery) {
            inQuery = character == L'?';
        } else if (character == L'&') {
            readParameter(parameter, values);
            parameter.clear();
        } else {
            parameter += character;
        }
    }
    readParameter(parameter, values);
    return values;
}

}  // namespace

std::string disagreement(const std::wstring& link) {
    ConfigMap taken;
    const bool accepted = ConfigStoreManager::parseUrlProvisioningData(link, taken);
    const Values expected = plainReading(link);
    if (accepted == taken.empty()) {
        return "the verdict differs from what was taken";
    }
    if (taken.size() != expected.size()) {
        return "another number of keys than the rules give";
    }
    for (const auto& [key, value] : taken) {
        const auto entry = expected.find(smallLetters(key));
        if (entry == expected.end()) {
            return "a key that no link may set";
        }
        if (entry->second != value) {
            return "another value than the rules give";
        }
        if (link.find(key) == std::wstring::npos) {
            return "a key in a spelling that is not the link's";
        }
    }
    return {};
}

}  // namespace link_oracle
