#include "comparing/Delta.h"

#include "comparing/DeltaTypes.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

HeldValue held(const std::wstring& key, const std::string& value) {
    return {key, std::string(key.begin(), key.end()), false, value, false};
}

HeldValue heldAs(const std::string& oldName, const std::wstring& key, const std::string& value) {
    return {key, oldName, true, value, false};
}

Layer readOnly(const std::string& store, std::vector<HeldValue> entries) { return {store, true, std::move(entries)}; }

Layer writable(const std::string& store, std::vector<HeldValue> entries) { return {store, false, std::move(entries)}; }

/// "type key store" of each row.
std::vector<std::string> told(const std::vector<DeltaRow>& rows) {
    std::vector<std::string> texts;
    for (const DeltaRow& row : rows) {
        texts.push_back(nameOf(row.type) + " " + std::string(row.key.begin(), row.key.end()) + " " + row.store);
    }
    return texts;
}

}  // namespace

TEST(Delta, OfNothingIsEmpty) {
    EXPECT_THAT(deltaOf({}), IsEmpty());
    EXPECT_THAT(deltaOf({readOnly("Top", {})}), IsEmpty());
}

TEST(Delta, CallsAHolderWithoutOneBelowExtended) {
    const auto rows = deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Base", {held(L"B", "2")})});
    EXPECT_THAT(told(rows), ElementsAre("extended A Top", "extended B Base"));
    EXPECT_EQ(rows[0].belowStore, std::nullopt);
}

TEST(Delta, CallsAHolderOverAnotherValueOverridden) {
    const auto rows = deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Base", {held(L"a", "2")})});
    EXPECT_THAT(told(rows), ElementsAre("overridden A Top", "extended A Base"));
    EXPECT_EQ(rows[0].value, "1");
    EXPECT_EQ(rows[0].belowStore, "Base");
    EXPECT_EQ(rows[0].belowValue, "2");
}

TEST(Delta, CallsAHolderOverTheSameValueEqual) {
    EXPECT_THAT(told(deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Base", {held(L"A", "1")})})),
                ElementsAre("equal A Top", "extended A Base"));
}

TEST(Delta, ComparesValuesLetterByLetter) {
    EXPECT_THAT(told(deltaOf({readOnly("Top", {held(L"A", "true")}), readOnly("Base", {held(L"A", "True")})})),
                ElementsAre("overridden A Top", "extended A Base"));
}

TEST(Delta, ComparesWithTheNextHolderNotWithTheNextStore) {
    const auto rows = deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Middle", {held(L"B", "x")}),
                               readOnly("Base", {held(L"A", "1")})});
    EXPECT_THAT(told(rows), ElementsAre("equal A Top", "extended A Base", "extended B Middle"));
    EXPECT_EQ(rows[0].belowStore, "Base");
}

TEST(Delta, CallsAWritableStoreThatDoesNotWinShadowed) {
    const auto rows = deltaOf(
        {readOnly("Top", {held(L"A", "1")}), writable("User", {held(L"A", "2")}), readOnly("Base", {held(L"A", "2")})});
    EXPECT_THAT(told(rows), ElementsAre("overridden A Top", "shadowed A User", "extended A Base"));
    EXPECT_EQ(rows[1].winningStore, "Top");
    EXPECT_EQ(rows[1].winningValue, "1");
    EXPECT_EQ(rows[1].belowStore, "Base");
}

TEST(Delta, CallsAShadowedHolderSoWithNothingBelowAndWithTheWinnersValue) {
    EXPECT_THAT(told(deltaOf({readOnly("Top", {held(L"A", "1")}), writable("User", {held(L"A", "1")})})),
                ElementsAre("equal A Top", "shadowed A User"));
}

TEST(Delta, CallsAWritableStoreThatWinsAsAnyOther) {
    EXPECT_THAT(told(deltaOf({writable("User", {held(L"A", "1")}), readOnly("Base", {held(L"A", "2")})})),
                ElementsAre("overridden A User", "extended A Base"));
}

TEST(Delta, CallsAReadOnlyStoreThatDoesNotWinByWhatLiesBelow) {
    EXPECT_THAT(told(deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Middle", {held(L"A", "2")}),
                              readOnly("Base", {held(L"A", "3")})})),
                ElementsAre("overridden A Top", "overridden A Middle", "extended A Base"));
}

TEST(Delta, PutsACurrentNameAheadOfAnOldOneWhateverTheStores) {
    const auto rows = deltaOf({writable("User", {heldAs("TftpServer1", L"TFTPPrimaryServer", "old")}),
                               readOnly("Base", {held(L"TFTPPrimaryServer", "new")})});
    EXPECT_THAT(told(rows), ElementsAre("overridden TFTPPrimaryServer Base", "shadowed TFTPPrimaryServer User"));
    EXPECT_EQ(rows[0].belowStore, "User");
    EXPECT_EQ(rows[1].name, "TftpServer1");
}

TEST(Delta, TakesBothNamesInOneStoreForTwoHolders) {
    EXPECT_THAT(told(deltaOf({readOnly(
                    "One", {held(L"TFTPPrimaryServer", "new"), heldAs("TftpServer1", L"TFTPPrimaryServer", "old")})})),
                ElementsAre("overridden TFTPPrimaryServer One", "extended TFTPPrimaryServer One"));
}

TEST(Delta, MarksEveryHolderOfAKeyThatIsSensitiveInOne) {
    HeldValue secret = held(L"A", "1");
    secret.isSensitive = true;
    const auto rows = deltaOf({readOnly("Top", {held(L"A", "1")}), readOnly("Base", {secret})});
    EXPECT_TRUE(rows[0].isSensitive);
    EXPECT_TRUE(rows[1].isSensitive);
}

TEST(Delta, KeepsTheOrderOfTheKeys) {
    EXPECT_THAT(told(deltaOf({readOnly("One", {held(L"b", ""), held(L"C", ""), held(L"A", "")})})),
                ElementsAre("extended A One", "extended b One", "extended C One"));
}

TEST(Delta, TakesTenThousandKeysInEightStores) {
    std::vector<Layer> layers;
    for (int store = 0; store < 8; ++store) {
        Layer layer = readOnly("Store" + std::to_string(store), {});
        for (int key = 0; key < 10'000; ++key) {
            layer.entries.push_back(held(L"Key" + std::to_wstring(key), std::to_string(key % (store + 1))));
        }
        layers.push_back(std::move(layer));
    }
    EXPECT_EQ(deltaOf(layers).size(), 80'000u);
}

TEST(DeltaTypes, AreAllButExtendedWhereNoneIsNamed) {
    EXPECT_THAT(chosenDeltaTypes({}), ElementsAre(DeltaType::Overridden, DeltaType::Shadowed, DeltaType::Equal));
}

TEST(DeltaTypes, MayBeNamedOneByOneAndInLists) {
    EXPECT_THAT(chosenDeltaTypes({"extended", "equal,shadowed"}),
                ElementsAre(DeltaType::Shadowed, DeltaType::Equal, DeltaType::Extended));
    EXPECT_EQ(wrongDeltaType({"extended", "equal,shadowed", "overridden"}), std::nullopt);
}

TEST(DeltaTypes, FindsTheFirstWordThatIsNone) {
    EXPECT_EQ(wrongDeltaType({"equal,Extended"}), "Extended");
    EXPECT_EQ(wrongDeltaType({"equal,"}), "");
    EXPECT_EQ(wrongDeltaType({""}), "");
}
