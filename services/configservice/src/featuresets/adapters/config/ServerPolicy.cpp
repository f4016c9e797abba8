#include "ServerPolicy.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

const std::vector<ServerPolicy>& serverPolicies() {
    static const std::vector<ServerPolicy> policies = {
        {ConfigStoreConstants::CUSTOMIZE_VOICEMAIL_SERVER, {L"VoicemailPrimaryServer"}},
        {ConfigStoreConstants::CUSTOMIZE_PHONE_SERVER,
         {ConfigStoreConstants::TFTP_SERVER_1_KEY, ConfigStoreConstants::CTI_SERVER_1_KEY,
          ConfigStoreConstants::HUBCIP_SERVER_1_KEY}},
    };
    return policies;
}

bool forbidsCustomServers(const std::wstring& policyValue) {
    return QuillCoreUtils::caseInsensitiveStringEquals(policyValue, L"false");
}
