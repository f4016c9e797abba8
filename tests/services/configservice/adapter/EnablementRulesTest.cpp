#include "EnablementRules.h"

TEST(MeetingsServerSettingOk, IsFalseWithoutAnAddress) {
    EXPECT_FALSE(meetingsServerSettingOk(L"", L"Lumex"));
    EXPECT_FALSE(meetingsServerSettingOk(L"", L""));
}

TEST(MeetingsServerSettingOk, TakesLumexInAnyCase) {
    EXPECT_TRUE(meetingsServerSettingOk(L"host", L"Lumex"));
    EXPECT_TRUE(meetingsServerSettingOk(L"host", L"lUMEX"));
}

TEST(MeetingsServerSettingOk, TakesAServerWithoutAType) { EXPECT_TRUE(meetingsServerSettingOk(L"host", L"")); }

TEST(MeetingsServerSettingOk, RefusesAnotherType) {
    EXPECT_FALSE(meetingsServerSettingOk(L"host", L"Other"));
    EXPECT_FALSE(meetingsServerSettingOk(L"host", L"Lumex "));
}

TEST(OnlyDefaultSpeaks, ForTheDefaultsStoreInAnyCase) {
    EXPECT_TRUE(onlyDefaultSpeaks(L"corvid-config-defaults.xml"));
    EXPECT_TRUE(onlyDefaultSpeaks(L"Corvid-Config-Defaults.XML"));
}

TEST(OnlyDefaultSpeaks, NotForAnotherStoreNorForNone) {
    EXPECT_FALSE(onlyDefaultSpeaks(L"TFTPConfigStore"));
    EXPECT_FALSE(onlyDefaultSpeaks(L""));
}

TEST(AnyServerConfigured, TakesEither) {
    EXPECT_TRUE(anyServerConfigured(L"a", L""));
    EXPECT_TRUE(anyServerConfigured(L"", L"b"));
    EXPECT_FALSE(anyServerConfigured(L"", L""));
}
