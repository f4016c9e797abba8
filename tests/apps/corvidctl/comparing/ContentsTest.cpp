#include "comparing/Contents.h"

#include <random>

#include "comparing/SortedMerge.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ContentsKind = ContentsDifference::Kind;

Contents contents(const std::map<std::wstring, std::string>& values) {
    Contents result;
    for (const auto& [key, value] : values) {
        result[key] = {value, {}, false};
    }
    return result;
}

std::vector<std::pair<std::wstring, ContentsKind>> told(const std::vector<ContentsDifference>& differences) {
    std::vector<std::pair<std::wstring, ContentsKind>> pairs;
    for (const ContentsDifference& difference : differences) {
        pairs.emplace_back(difference.key, difference.kind);
    }
    return pairs;
}

}  // namespace

TEST(Contents, TellEveryKeyOfEitherSideInOrder) {
    const auto differences = differencesOf(contents({{L"Both", "1"}, {L"Left", "2"}, {L"Other", "3"}}),
                                           contents({{L"Both", "1"}, {L"Other", "4"}, {L"Right", "5"}}));
    EXPECT_THAT(told(differences),
                ElementsAre(std::pair(L"Both", ContentsKind::Equal), std::pair(L"Left", ContentsKind::OnlyInA),
                            std::pair(L"Other", ContentsKind::Different), std::pair(L"Right", ContentsKind::OnlyInB)));
    EXPECT_EQ(differences[1].a->value, "2");
    EXPECT_EQ(differences[1].b, std::nullopt);
    EXPECT_EQ(differences[2].a->value, "3");
    EXPECT_EQ(differences[2].b->value, "4");
    EXPECT_EQ(differences[3].a, std::nullopt);
}

TEST(Contents, TakeKeysOfAnyCaseForOne) {
    EXPECT_THAT(told(differencesOf(contents({{L"KEY", "1"}}), contents({{L"key", "1"}}))),
                ElementsAre(std::pair(L"KEY", ContentsKind::Equal)));
}

TEST(Contents, TellAnEmptyValueFromNone) {
    EXPECT_THAT(told(differencesOf(contents({{L"A", ""}}), contents({}))),
                ElementsAre(std::pair(L"A", ContentsKind::OnlyInA)));
    EXPECT_THAT(differencesOf({}, {}), IsEmpty());
}

TEST(Contents, AreSensitiveIfEitherSideIs) {
    Contents secret = contents({{L"A", "1"}});
    secret[L"A"].isSensitive = true;
    EXPECT_TRUE(differencesOf(secret, contents({{L"A", "1"}})).front().isSensitive());
    EXPECT_TRUE(differencesOf(contents({{L"A", "1"}}), secret).front().isSensitive());
    EXPECT_FALSE(differencesOf(contents({{L"A", "1"}}), contents({})).front().isSensitive());
}

TEST(Contents, OfAStoreCountTheCurrentNameOfAKey) {
    const Contents one = contentsOf(Layer{"Store",
                                          true,
                                          {{L"Current", "Old", true, "old", false},
                                           {L"Current", "Current", false, "current", false},
                                           {L"Other", "OldOther", true, "alone", true}}});
    EXPECT_EQ(one.at(L"Current").value, "current");
    EXPECT_EQ(one.at(L"Other").value, "alone");
    EXPECT_TRUE(one.at(L"Other").isSensitive);
}

TEST(Contents, OfAChainAreItsDefinedKeys) {
    EffectiveValues values;
    values[L"A"].isDefined = true;
    values[L"A"].value = "1";
    values[L"A"].valueStoreName = "Store";
    values[L"B"].isDefined = false;
    const Contents all = contentsOf(values);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all.at(L"a").value, "1");
    EXPECT_EQ(all.at(L"a").store, "Store");
}

TEST(Contents, AgreeWithALookupOfEachKeyWhateverTheSides) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto side = [&random] {
        Contents result;
        for (auto i = random() % 30; i > 0; --i) {
            std::wstring key(1 + random() % 2, L'a');
            for (wchar_t& letter : key) {
                letter = L"aAbBcC\u00e4\u00c4"[random() % 8];
            }
            result[key] = {std::to_string(random() % 3), {}, false};
        }
        return result;
    };
    for (int round = 0; round < 300; ++round) {
        const Contents a = side();
        const Contents b = side();
        Contents rest = a;
        rest.insert(b.begin(), b.end());
        for (const ContentsDifference& difference : differencesOf(a, b)) {
            ASSERT_EQ(difference.a.has_value(), a.count(difference.key) == 1);
            ASSERT_EQ(difference.b.has_value(), b.count(difference.key) == 1);
            const bool isEqual = difference.a && difference.b && difference.a->value == difference.b->value;
            ASSERT_EQ(difference.kind == ContentsKind::Equal, isEqual);
            ASSERT_EQ(rest.erase(difference.key), 1u);
        }
        ASSERT_THAT(rest, IsEmpty());
    }
}
