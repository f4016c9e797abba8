#include "ServerPolicy.h"

TEST(ServerPolicy, ListsTheVoicemailPolicyFirst) {
    ASSERT_EQ(serverPolicies().size(), 2U);
    EXPECT_EQ(serverPolicies()[0].policyKey, L"Customize_Voicemail_Server");
    EXPECT_THAT(serverPolicies()[0].erasedKeys, testing::ElementsAre(L"VoicemailPrimaryServer"));
}

TEST(ServerPolicy, ListsTheFirstServersOfThePhonePolicyInOrder) {
    EXPECT_EQ(serverPolicies()[1].policyKey, L"Customize_Phone_Server");
    EXPECT_THAT(serverPolicies()[1].erasedKeys,
                testing::ElementsAre(L"TFTPPrimaryServer", L"CtiServer1", L"HubcipServer1"));
}

TEST(ServerPolicy, ForbidsByFalseInAnyCase) {
    EXPECT_TRUE(forbidsCustomServers(L"false"));
    EXPECT_TRUE(forbidsCustomServers(L"FALSE"));
    EXPECT_TRUE(forbidsCustomServers(L"False"));
}

TEST(ServerPolicy, AllowsByEverythingElse) {
    for (const wchar_t* const value : {L"", L"no", L"0", L"false ", L" false", L"true"}) {
        EXPECT_FALSE(forbidsCustomServers(value)) << value;
    }
}
