#include "PriorityList.h"

#include "ConfigAdapter.h"

TEST(PriorityList, OfAnEmptyTextIsEmpty) {
    EXPECT_TRUE(PriorityList::parse(L"").entries().empty());
    EXPECT_EQ(PriorityList().toText(), L"");
}

TEST(PriorityList, ReadsNameColonPrioritySemicolon) {
    const PriorityList list = PriorityList::parse(L"TFTPConfigStore:240;HcmStore:230;");
    EXPECT_EQ(list.entries(), (ConfigMap{{L"TFTPConfigStore", L"240"}, {L"HcmStore", L"230"}}));
}

TEST(PriorityList, DropsAnEntryWithoutAColonOrWithTwo) {
    const PriorityList list = PriorityList::parse(L"bare;a:1:2;b::240;good:7;");
    EXPECT_EQ(list.entries(), (ConfigMap{{L"good", L"7"}}));
}

TEST(PriorityList, KeepsAPriorityThatIsNoNumber) {
    EXPECT_EQ(PriorityList::parse(L"a:abc;").entries(), (ConfigMap{{L"a", L"abc"}}));
}

TEST(PriorityList, CountsTheLaterOfTwoEntriesForOneNameWithoutRegardToCase) {
    EXPECT_EQ(PriorityList::parse(L"Store:1;STORE:2;").toText(), L"Store:2;");
}

TEST(PriorityList, WritesInTheMapsOrderAndEndsEveryEntry) {
    PriorityList list = PriorityList::parse(L"b:2;C:3;a:1");
    list.set(L"TFTPConfigStore", 240);
    EXPECT_EQ(list.toText(), L"a:1;b:2;C:3;TFTPConfigStore:240;");
}

TEST(PriorityList, ReplacesTheEntryOfAListedStoreAndTheSpellingOfItsName) {
    PriorityList list = PriorityList::parse(L"tftpconfigstore:1;Z:2;");
    list.set(L"TFTPConfigStore", 240);
    EXPECT_EQ(list.toText(), L"TFTPConfigStore:240;Z:2;");
}

TEST(PriorityList, TextWithoutAnEntryIgnoresCaseAndKeepsTheRest) {
    EXPECT_EQ(PriorityList::textWithout(L"a:1;TFTPConfigStore:240;bad;", L"tftpCONFIGstore"), L"a:1;bad;");
}

TEST(PriorityList, TextWithoutALastEntryThatIsNotEndedRunsToTheEnd) {
    EXPECT_EQ(PriorityList::textWithout(L"a:1;b:2", L"b"), L"a:1;");
}

TEST(PriorityList, TextWithoutAnUnknownNameIsTheText) {
    EXPECT_EQ(PriorityList::textWithout(L"a:1;;x", L"unknown"), L"a:1;;x");
}

TEST(PriorityList, TextWithoutANameThatIsTheTailOfAnotherCutsThatEntry) {
    EXPECT_EQ(PriorityList::textWithout(L"MyStore:1;Store:2;", L"Store"), L"MyStore:2;");
}

TEST(CachedConfigStoreMap, IsTheParsedPriorityList) {
    EXPECT_EQ(ConfigAdapter::getCachedConfigStorePrioityMap(L"a:1;bad;"), (ConfigMap{{L"a", L"1"}}));
}
