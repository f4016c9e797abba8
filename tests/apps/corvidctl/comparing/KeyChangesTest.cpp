#include "comparing/KeyChanges.h"

using namespace corvidctl;
using testing::IsEmpty;

namespace {

using ChangeKind = KeyChange::Kind;

ValueView value(const std::string& text, const std::string& store) {
    ValueView view;
    view.key = "Key";
    view.value = view.originalValue = text;
    view.valueStoreName = view.originalValueStoreName = store;
    view.isDefined = true;
    return view;
}

/// The change of the one key; a test fails if there is none or another one.
KeyChange changeOf(const EffectiveValues& before, const EffectiveValues& after, bool reveal = false) {
    const std::vector<KeyChange> changes = changesBetween(before, after, reveal);
    EXPECT_EQ(changes.size(), 1u);
    return changes.empty() ? KeyChange() : changes.front();
}

}  // namespace

TEST(KeyChanges, TellNothingOfAKeyThatReadsTheSame) {
    EXPECT_THAT(changesBetween({{L"Key", value("1", "S")}}, {{L"Key", value("1", "S")}}, false), IsEmpty());
    EXPECT_THAT(changesBetween({}, {}, false), IsEmpty());
}

TEST(KeyChanges, TellAKeyThatComes) {
    const KeyChange change = changeOf({}, {{L"Key", value("1", "S")}});
    EXPECT_EQ(change.kind, ChangeKind::Added);
    EXPECT_FALSE(change.before.isDefined);
    EXPECT_EQ(change.before.key, "Key");
    EXPECT_EQ(change.after.value, "1");
}

TEST(KeyChanges, TellAKeyThatGoes) {
    const KeyChange change = changeOf({{L"Key", value("1", "S")}}, {});
    EXPECT_EQ(change.kind, ChangeKind::Removed);
    EXPECT_EQ(change.before.value, "1");
    EXPECT_EQ(change.after.key, "Key");
}

TEST(KeyChanges, TellANewValueFromAnotherStoreAsChanged) {
    EXPECT_EQ(changeOf({{L"Key", value("1", "S")}}, {{L"key", value("2", "T")}}).kind, ChangeKind::Changed);
}

TEST(KeyChanges, TellTheSameValueFromAnotherStoreAsMoved) {
    EXPECT_EQ(changeOf({{L"Key", value("1", "S")}}, {{L"Key", value("1", "T")}}).kind, ChangeKind::Moved);
}

TEST(KeyChanges, TellWhatChangesBehindTheValue) {
    ValueView other = value("1", "S");
    other.originalValue = "2";
    EXPECT_EQ(changeOf({{L"Key", value("1", "S")}}, {{L"Key", other}}).kind, ChangeKind::Original);
    other = value("1", "S");
    other.originalValueStoreName = "T";
    EXPECT_EQ(changeOf({{L"Key", value("1", "S")}}, {{L"Key", other}}).kind, ChangeKind::Original);
    other = value("1", "S");
    other.isOverridden = true;
    EXPECT_EQ(changeOf({{L"Key", value("1", "S")}}, {{L"Key", other}}).kind, ChangeKind::Original);
}

TEST(KeyChanges, CompareSecretsAndHideThemAfterwards) {
    ValueView before = value("one", "S");
    ValueView after = value("two", "S");
    after.isSensitive = true;
    const KeyChange hidden = changeOf({{L"Key", before}}, {{L"Key", after}});
    EXPECT_EQ(hidden.kind, ChangeKind::Changed);
    EXPECT_TRUE(hidden.isSensitive);
    for (const ValueView& view : {hidden.before, hidden.after}) {
        EXPECT_EQ(view.value, "VALUE_HIDDEN");
        EXPECT_EQ(view.originalValue, "VALUE_HIDDEN");
    }
    EXPECT_EQ(changeOf({{L"Key", before}}, {{L"Key", after}}, true).after.value, "two");
}

TEST(KeyChanges, LeaveTheTextOfAnUndefinedKeyEmpty) {
    ValueView secret = value("one", "S");
    secret.isSensitive = true;
    EXPECT_EQ(changeOf({{L"Key", secret}}, {}).after.value, "");
}

TEST(KeyChanges, AreSummedUpByKind) {
    const EffectiveValues before = {{L"A", value("1", "S")}, {L"B", value("1", "S")}, {L"C", value("1", "S")}};
    const EffectiveValues after = {{L"A", value("2", "S")}, {L"B", value("1", "T")}, {L"D", value("1", "S")}};
    EXPECT_EQ(summaryOf(changesBetween(before, after, false)),
              "4 keys would change: 1 added, 1 removed, 1 changed, 1 moved.");
    EXPECT_EQ(summaryOf(changesBetween({}, {{L"D", value("1", "S")}}, false)), "1 key would change: 1 added.");
    EXPECT_EQ(summaryOf({}), "No key would change.");
}

TEST(KeyChanges, OfTenThousandKeysTakeOnePass) {
    EffectiveValues before;
    EffectiveValues after;
    for (int key = 0; key < 10'000; ++key) {
        before[L"Key" + std::to_wstring(key)] = value(std::to_string(key), "S");
        after[L"Key" + std::to_wstring(key)] = value(std::to_string(key % 9'000), "S");
    }
    EXPECT_EQ(changesBetween(before, after, false).size(), 1'000u);
}

TEST(KeyChanges, TakeAStoreAndItsKeptCopyForOnePlace) {
    const EffectiveValues before = {{L"A", value("1", "cachedS.xml")}, {L"B", value("1", "cachedS.xml")}};
    const EffectiveValues after = {{L"A", value("1", "S")}, {L"B", value("1", "S")}};
    EXPECT_THAT(changesBetween(before, after, false), IsEmpty());
    EXPECT_EQ(movesFromKeptCopies(before, after), "2 keys come from S instead of its kept copy.");
    EXPECT_EQ(movesFromKeptCopies(after, after), "");
    EXPECT_EQ(changeOf(before, {{L"A", value("1", "S")}, {L"B", value("1", "T")}}).kind, ChangeKind::Moved);
    EXPECT_EQ(movesFromKeptCopies(before, {{L"A", value("1", "S")}, {L"B", value("2", "S")}}),
              "1 more comes from S instead of its kept copy.");
}

TEST(KeyChanges, OfAKeptCopyCountWhereTheAdministratorsValueIsAnotherOne) {
    ValueView other = value("1", "S");
    other.originalValue = "2";
    EXPECT_EQ(changeOf({{L"Key", value("1", "cachedS.xml")}}, {{L"Key", other}}).kind, ChangeKind::Original);
}
