#include "chain/ReplaceText.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(ReplaceText, LeavesNothingOfALongerTextBehindTheEnd) {
    for (const std::wstring& value : {std::wstring(), std::wstring(L"short"), std::wstring(20, L'n')}) {
        std::wstring text(20, L's');
        replaceText(text, value);
        EXPECT_EQ(text, value);
        // What was there, and still belongs to the text.
        EXPECT_EQ(std::count(text.data(), text.data() + 20, L's'), value == L"short" ? 1 : 0);
    }
}

TEST(ReplaceText, TakesALongerTextAndItself) {
    std::wstring text(L"short");
    replaceText(text, std::wstring(20, L'n'));
    replaceText(text, text);
    EXPECT_EQ(text, std::wstring(20, L'n'));
}

}  // namespace
