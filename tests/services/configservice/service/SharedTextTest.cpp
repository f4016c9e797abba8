#include "SharedText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

TEST(SharedText, IsEmptyAtFirst) {
    EXPECT_EQ(SharedText().text(), L"");
    EXPECT_EQ(SharedText(L"").text(), L"");
}

TEST(SharedText, KeepsEqualTextsOnceWhateverIsAskedForInBetween) {
    const SharedText first(L"LocalFileConfigStore");
    const SharedText same(L"LocalFileConfigStore");
    const SharedText other(L"TFTPConfigStore");
    const SharedText again(L"LocalFileConfigStore");
    EXPECT_EQ(first.text(), L"LocalFileConfigStore");
    EXPECT_EQ(other.text(), L"TFTPConfigStore");
    EXPECT_EQ(&first.text(), &same.text());
    EXPECT_EQ(&first.text(), &again.text());
    EXPECT_NE(&first.text(), &other.text());
}

TEST(SharedText, MindsTheCase) { EXPECT_NE(&SharedText(L"Store").text(), &SharedText(L"store").text()); }

TEST(SharedText, StaysWhileItIsUsedHoweverManyOthersComeAndGo) {
    const SharedText kept(L"kept");
    for (int number = 0; number < 1000; ++number) {
        const SharedText passing(L"store " + std::to_wstring(number));
        EXPECT_EQ(passing.text(), L"store " + std::to_wstring(number));
    }
    EXPECT_EQ(kept.text(), L"kept");
    EXPECT_EQ(&kept.text(), &SharedText(L"kept").text());
}
