#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"
#include "ConfigStoreConstants.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class ProvisioningLink : public testing::Test {
protected:
    bool parse(const std::wstring& url) { return ConfigStoreManager::parseUrlProvisioningData(url, values); }

    /// A link of that length in all, with one known key at its end.
    static std::wstring linkOfLength(std::size_t length) {
        const std::wstring end = L"?ServicesDomain=a";
        return std::wstring(length - end.size(), L'x') + end;
    }

    ConfigMap values;
};

TEST_F(ProvisioningLink, GivesTheKnownKeysOfItsQuery) {
    EXPECT_TRUE(parse(L"corvid://provision?ServicesDomain=example.com&Telephony_Enabled=false"));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"example.com"), Pair(L"Telephony_Enabled", L"false")));
}

TEST_F(ProvisioningLink, KnowsEachOfTheFourteenKeys) {
    for (const std::wstring& key : ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY) {
        values.clear();
        EXPECT_TRUE(parse(L"x?" + key + L"=1"));
        EXPECT_THAT(values, ElementsAre(Pair(key, L"1")));
    }
}

TEST_F(ProvisioningLink, MayHave999UnitsAndNotAThousand) {
    EXPECT_TRUE(parse(linkOfLength(999)));
    values.clear();
    EXPECT_FALSE(parse(linkOfLength(1000)));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ProvisioningLink, CountsACharacterBeyondAsciiAsOneUnit) {
    std::wstring link = linkOfLength(999);
    link[0] = L'\U0001F600';
    EXPECT_TRUE(parse(link));
}

TEST_F(ProvisioningLink, CountsItsUnitsAndNotItsBytes) {
    const std::wstring end = L"?ServicesDomain=a";
    EXPECT_TRUE(parse(std::wstring(999 - end.size(), L'\U0001F600') + end));
    values.clear();
    EXPECT_FALSE(parse(std::wstring(1000 - end.size(), L'\u00e4') + end));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ProvisioningLink, GivesADuplicateTheSpellingOfItsFirstPart) {
    EXPECT_TRUE(parse(L"x?SERVICESdomain=1&servicesdomain=2&ServicesDomain=3"));
    EXPECT_THAT(values, ElementsAre(Pair(L"SERVICESdomain", L"3")));
}

TEST_F(ProvisioningLink, IsReadInSilence) {
    const fakes::ScopedRecordingLog log;
    EXPECT_FALSE(parse(L"nonsense"));
    EXPECT_FALSE(parse(L"x?Unknown=a&b&c=d=e"));
    EXPECT_TRUE(parse(L"x?ServicesDomain=a&Unknown=b"));
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(ProvisioningLink, IsRefusedEmptyOrWithoutAQuery) {
    EXPECT_FALSE(parse(L""));
    EXPECT_FALSE(parse(L"ServicesDomain=example.com"));
    EXPECT_FALSE(parse(L"corvid://provision?"));
    EXPECT_FALSE(parse(L"?"));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ProvisioningLink, MayStartWithItsQuestionMark) { EXPECT_TRUE(parse(L"?ServicesDomain=a")); }

TEST_F(ProvisioningLink, EndsAtItsFirstQuestionMark) {
    EXPECT_TRUE(parse(L"x?ServicesDomain=a?b&TelemetryEnabled=true"));
    EXPECT_EQ(values[L"ServicesDomain"], L"a?b");
    values.clear();
    EXPECT_FALSE(parse(L"x?y?ServicesDomain=a"));
}

TEST_F(ProvisioningLink, TakesAKnownKeyInAnotherCaseWithItsOwnSpelling) {
    EXPECT_TRUE(parse(L"x?SERVICESdomain=a"));
    EXPECT_THAT(values, ElementsAre(Pair(L"SERVICESdomain", L"a")));
}

TEST_F(ProvisioningLink, DropsUnknownKeys) {
    EXPECT_TRUE(parse(L"x?ServicesDomain=a&Unknown=b"));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"a")));
}

TEST_F(ProvisioningLink, WithUnknownKeysOnlyIsRefused) {
    EXPECT_FALSE(parse(L"x?Unknown=a&AllowUrlProvisioning=true"));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ProvisioningLink, DropsParametersWithNoOrTwoEqualsSigns) {
    EXPECT_TRUE(parse(L"x?ServicesDomain&VoiceServicesDomain=a=b&TelemetryEnabled=true"));
    EXPECT_THAT(values, ElementsAre(Pair(L"TelemetryEnabled", L"true")));
}

TEST_F(ProvisioningLink, DropsEmptyParametersAndEmptyKeys) {
    EXPECT_TRUE(parse(L"x?&&=a& =b&ServicesDomain=c&"));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"c")));
}

TEST_F(ProvisioningLink, TakesAnEmptyValue) {
    EXPECT_TRUE(parse(L"x?ServicesDomain="));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"")));
}

TEST_F(ProvisioningLink, RemovesBlanksAroundKeyAndValue) {
    EXPECT_TRUE(parse(L"x? ServicesDomain\t = \n a b \r"));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"a b")));
}

TEST_F(ProvisioningLink, LetsALaterDuplicateWinInAnyCase) {
    EXPECT_TRUE(parse(L"x?ServicesDomain=first&servicesdomain=second"));
    EXPECT_THAT(values, ElementsAre(Pair(L"ServicesDomain", L"second")));
}

TEST_F(ProvisioningLink, DecodesNothing) {
    EXPECT_TRUE(parse(L"x?ServicesDomain=a%20b+c"));
    EXPECT_EQ(values[L"ServicesDomain"], L"a%20b+c");
}

TEST_F(ProvisioningLink, AddsToTheValuesThatItIsGiven) {
    values[L"present"] = L"yes";
    EXPECT_TRUE(parse(L"x?Unknown=a"));
    EXPECT_TRUE(parse(L"x?ServicesDomain=a"));
    EXPECT_EQ(values.size(), 2u);
}

}  // namespace
