#include "xml/EntryList.h"

#include "StoreTestSupport.h"

namespace storetests {
namespace {

class EntryLists : public testing::Test {
protected:
    void add(const std::wstring& key, std::wstring value, bool isSensitive = false) {
        entries_.add(key, std::move(value), isSensitive);
    }

    EntryList entries_;
    ConfigMap values_;
    SensitiveKeySet sensitiveKeys_;
};

TEST_F(EntryLists, GoIntoAMapWhateverTheirOrder) {
    add(L"b", L"2");
    add(L"d", L"4");
    add(L"a", L"1");
    add(L"c", L"3");
    entries_.moveTo(values_, sensitiveKeys_);
    EXPECT_EQ(plain(values_), (Map{{L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"}, {L"d", L"4"}}));
}

TEST_F(EntryLists, GiveTheFirstOfAKeyAndItsMark) {
    add(L"z", L"");
    for (int turn = 0; turn < 100; ++turn) {
        add(L"a", std::to_wstring(turn), turn != 0);
        add(L"b", std::to_wstring(turn), turn == 0);
    }
    entries_.moveTo(values_, sensitiveKeys_);
    EXPECT_EQ(plain(values_), (Map{{L"a", L"0"}, {L"b", L"0"}, {L"z", L""}}));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"b"));
}

TEST_F(EntryLists, LeaveAloneWhatTheMapHolds) {
    values_ = {{L"B", L"kept"}, {L"D", L"kept"}};
    sensitiveKeys_ = {L"old"};
    for (const wchar_t* const key : {L"e", L"d", L"c", L"b", L"a"}) {
        add(key, L"new", true);
    }
    entries_.moveTo(values_, sensitiveKeys_);
    EXPECT_EQ(plain(values_), (Map{{L"a", L"new"}, {L"B", L"kept"}, {L"c", L"new"}, {L"D", L"kept"}, {L"e", L"new"}}));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"a", L"c", L"e", L"old"));
}

TEST_F(EntryLists, AreEmptyWhenTheyHaveGone) {
    add(L"a", L"1");
    entries_.moveTo(values_, sensitiveKeys_);
    values_.clear();
    entries_.moveTo(values_, sensitiveKeys_);
    EXPECT_TRUE(values_.empty());
}

TEST_F(EntryLists, DropTheirEntries) {
    add(L"a", L"1", true);
    entries_.clear();
    entries_.moveTo(values_, sensitiveKeys_);
    EXPECT_TRUE(values_.empty());
    EXPECT_TRUE(sensitiveKeys_.empty());
}

TEST_F(EntryLists, LeaveNothingOfAValueBehind) {
    for (const std::wstring& secret : {std::wstring(L"pin"), std::wstring(L"a long secret that needs memory")}) {
        std::wstring value = secret;
        const wchar_t* const letters = value.data();
        entries_.add(L"a", std::move(value), false);
        if (secret.size() == 3) {
            EXPECT_EQ(std::wstring(letters, 3), std::wstring(3, L'\0')) << "where the value was";
        }
    }
}

}  // namespace
}  // namespace storetests
