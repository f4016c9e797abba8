#include "explaining/ExplanationText.h"

#include <sstream>

using namespace corvidctl;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

const Moment NOW{1795339800s};

KeyLayer layer(const std::string& store, std::int32_t priority, bool isReadOnly) {
    KeyLayer made;
    made.store = store;
    made.priority = priority;
    made.isReadOnly = isReadOnly;
    made.key = "Key";
    made.origin.shownFile = store + ".xml";
    return made;
}

KeyLayer holding(KeyLayer made, const std::string& value, bool wins) {
    made.holdsKey = true;
    made.value = value;
    made.wins = wins;
    made.state = wins ? LayerState::Wins : LayerState::Shadowed;
    return made;
}

/// Overridden by the first layer, which is the user's.
Explanation overridden() {
    Explanation key;
    key.asked = "Key";
    key.value.key = "Key";
    key.value.isDefined = true;
    key.value.value = "mine";
    key.value.valueStoreName = "LocalFileConfigStore";
    key.value.originalValue = "theirs";
    key.value.originalValueStoreName = "Defaults";
    key.value.isOverridden = true;
    key.lookedUp = {"Key"};
    key.layers = {holding(layer("LocalFileConfigStore", 20, false), "mine", true),
                  holding(layer("Defaults", 900, true), "theirs", false)};
    return key;
}

template <class... Arguments>
std::string printed(const Arguments&... arguments) {
    std::ostringstream out;
    std::ostringstream error;
    Output output{out, error, false, false};
    print(arguments..., output);
    return out.str();
}

const char* const IS_MINE = "Key is \"mine\", from LocalFileConfigStore (writable): it has the smallest priority "
                            "number of the stores that hold the key.";

}  // namespace

TEST(Verdict, TellsThatTheUserOverrides) {
    Explanation key = overridden();
    EXPECT_THAT(verdictOn(key), ElementsAre(IS_MINE, "The user overrides the administrator's \"theirs\", from "
                                                     "Defaults."));
    key.value.originalValueStoreName.clear();
    EXPECT_THAT(verdictOn(key), ElementsAre(IS_MINE, "Only the user has set it; the administrator has not."));
}

TEST(Verdict, TellsWhatIsSetForThisRun) {
    Explanation key = overridden();
    key.layers.front().store = "InMemoryConfigStore";
    EXPECT_THAT(verdictOn(key),
                ElementsAre(testing::_, "It is set for this run, over the administrator's \"theirs\", from Defaults."));
    key.value.originalValueStoreName.clear();
    EXPECT_THAT(verdictOn(key),
                ElementsAre(testing::_, "It is set for this run only; the administrator has not set it."));
}

TEST(Verdict, TellsWhatTheClientHasStored) {
    Explanation key = overridden();
    key.value.key = "PrimaryConfigStores";
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, "The client has stored it, over the administrator's "
                                                        "\"theirs\", from Defaults."));
    key.value.originalValueStoreName.clear();
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, "The client has stored it; the administrator has not set it."));
}

TEST(Verdict, TellsWhatWaitsBehindTheWinner) {
    Explanation key = overridden();
    key.value.isOverridden = false;
    key.value.shadowsUser = true;
    key.value.valueStoreName = key.value.originalValueStoreName;
    key.layers = {holding(layer("Override", 10, true), "theirs", true),
                  holding(layer("LocalFileConfigStore", 20, false), "mine", false),
                  holding(layer("InMemoryConfigStore", 600, false), "run", false)};
    const char* const user = "The user's value waits behind it.";
    const char* const run = "What is set for this run waits behind it.";
    const char* const theirs = "That is the administrator's value.";
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, theirs, user, run));
    key.layers.pop_back();
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, theirs, user));
    key.layers.back().store = "InMemoryConfigStore";
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, theirs, run));
    key.layers.pop_back();  // a rule tells what is held under a name that was not looked up
    EXPECT_THAT(verdictOn(key), ElementsAre(testing::_, theirs));
}

TEST(Verdict, OfAnUndefinedKeyIsOneSentence) {
    Explanation key;
    key.value.key = "Key";
    EXPECT_THAT(verdictOn(key), ElementsAre("Key is not defined: no store holds it."));
}

TEST(ExplanationForPeople, IsATableThenTheVerdictThenTheRules) {
    Explanation key = overridden();
    key.rules = {"A rule."};
    key.layers[0].inFile = KeySource();
    key.layers[0].inFile->line = 3;
    key.layers[0].origin.time = NOW - 2h;
    EXPECT_EQ(printed(key, NOW),
              "STATE     PRIORITY  STORE                 KIND                VALUE   WHERE                       AGE\n"
              "wins            20  LocalFileConfigStore  writable, profile   mine    LocalFileConfigStore.xml:3  2 h "
              "ago\n"
              "shadowed       900  Defaults              read-only, profile  theirs  Defaults.xml\n"
              "Key is \"mine\", from LocalFileConfigStore (LocalFileConfigStore.xml, line 3; writable): it has the "
              "smallest priority number of the stores that hold the key.\nThe user overrides the administrator's "
              "\"theirs\", from Defaults.\nA rule.\n");
}

TEST(ExplanationForPeople, KeepsTheLineNumberOnANarrowTerminal) {
    Explanation key = overridden();
    key.layers[0].inFile = KeySource();
    key.layers[0].inFile->line = 5;
    key.layers[0].origin.time = NOW - 2h;
    std::ostringstream out;
    std::ostringstream error;
    Output output{out, error, false, false};
    output.columns = 80;
    print(key, NOW, output);
    EXPECT_THAT(out.str(), testing::HasSubstr(".xml:5  2 h ago\n"));
}

TEST(ExplanationForPeople, TellsWhatKindOfCopyAStoreIs) {
    Explanation key = overridden();
    key.layers[0].origin.isLive = true;
    key.layers[0].origin.url = "https://server/file";
    key.layers[1].origin.isCached = true;
    key.layers[1].isLocal = true;
    const std::string out = printed(key, NOW);
    EXPECT_THAT(out, testing::HasSubstr("writable, profile, live"));
    EXPECT_THAT(out, testing::HasSubstr("  https://server/file\n"));
    EXPECT_THAT(out, testing::HasSubstr("read-only, local, cached"));
}

TEST(ExplanationForPeople, TellsWhereAStoreFailedToLoadAndWhatIsMissing) {
    Explanation key = overridden();
    key.layers.push_back(layer("Broken", 950, true));
    key.layers.back().state = LayerState::Failed;
    key.layers.back().origin.problemLine = 7;
    key.layers.push_back(layer("Gone", 960, true));
    key.layers.back().origin.isMissing = true;
    key.layers.push_back(layer("InMemoryConfigStore", 970, false));
    const std::string out = printed(key, NOW);
    EXPECT_THAT(out, testing::ContainsRegex("failed to load +950  Broken .* - +Broken.xml:7\n"));
    EXPECT_THAT(out, testing::ContainsRegex("absent +960  Gone .* - +Gone.xml, missing\n"));
    EXPECT_THAT(out, testing::ContainsRegex("absent +970  InMemoryConfigStore .* - +this run\n"));
}

TEST(ExplanationForPeople, CutsNoStateOnANarrowTerminal) {
    Explanation key = overridden();
    key.layers.push_back(layer(std::string(60, 'x'), 950, true));
    key.layers.back().state = LayerState::Failed;
    std::ostringstream out;
    Output output{out, out, false, true, nullptr, 80};
    print(key, NOW, output);
    EXPECT_THAT(out.str(), testing::HasSubstr("\nfailed to load  "));
}

TEST(ExplanationForPeople, ShowsTheNameThatWasLookedUpLast) {
    Explanation key = overridden();
    KeyLayer first = layer("LocalFileConfigStore", 20, false);
    first.key = "NewKey";
    key.layers.insert(key.layers.begin(), first);
    key.lookedUp = {"NewKey", "Key"};
    const std::string out = printed(key, NOW);
    EXPECT_THAT(out, testing::Not(testing::HasSubstr("absent")));
}

TEST(ExplanationForPeople, MakesWhatCouldActOnATerminalVisible) {
    Explanation key = overridden();
    key.rules = {"forged\x1b[31m\nline"};
    EXPECT_THAT(printed(key, NOW), testing::EndsWith("\nforged\\x1b[31m\\nline\n"));
}

TEST(StacksForPeople, HoldTheStoresThatHaveTheKey) {
    Explanation key = overridden();
    key.layers.push_back(layer("Absent", 950, true));
    Explanation other = overridden();
    other.value.key = "Other";
    other.oldName = "OldOther";
    other.heldUnderOldName = {{"Old", "Old.xml", 4}};
    EXPECT_EQ(printed(std::vector<Explanation>{key, other}),
              "KEY    STATE      VALUE   STORE                 WHERE\n"
              "Key    wins       mine    LocalFileConfigStore  LocalFileConfigStore.xml\n"
              "       shadowed   theirs  Defaults              Defaults.xml\n"
              "Other  wins       mine    LocalFileConfigStore  LocalFileConfigStore.xml\n"
              "       shadowed   theirs  Defaults              Defaults.xml\n"
              "       not tried  -       Old                   Old.xml:4, as OldOther\n");
}

TEST(StacksForPeople, TellOnceOfAStoreThatFailedToLoad) {
    KeyLayer broken = layer("Broken", 5, true);
    broken.state = LayerState::Failed;
    broken.origin.problem = "line 3: broken";
    broken.origin.problemLine = 3;
    Explanation key = overridden();
    key.layers.insert(key.layers.begin(), broken);
    Explanation renamed = overridden();
    broken.key = "OldKey";
    renamed.layers.insert(renamed.layers.begin(), broken);
    renamed.lookedUp = {"Key", "OldKey"};
    EXPECT_EQ(printed(std::vector<Explanation>{key, renamed}),
              "KEY  STATE     VALUE   STORE                 WHERE\n"
              "Key  wins      mine    LocalFileConfigStore  LocalFileConfigStore.xml\n"
              "     shadowed  theirs  Defaults              Defaults.xml\n"
              "Key  wins      mine    LocalFileConfigStore  LocalFileConfigStore.xml\n"
              "     shadowed  theirs  Defaults              Defaults.xml\n"
              "Broken failed to load: Broken.xml, line 3: broken.\n");
}

TEST(StacksForPeople, KeepTheLineNumberOnANarrowTerminal) {
    Explanation key = overridden();
    key.value.key = "AKeyOfALengthThatIsNotUnusual";
    key.layers[0].value = "a value that is rather long itself";
    key.layers[0].inFile = KeySource();
    key.layers[0].inFile->line = 5;
    std::ostringstream out;
    std::ostringstream error;
    Output output{out, error, false, false};
    output.columns = 80;
    print(std::vector<Explanation>{key}, output);
    EXPECT_THAT(out.str(), testing::HasSubstr(".xml:5\n"));
}

TEST(StoresForPeople, TellWhereAKeptCopyCameFrom) {
    StoreReport copy;
    copy.name = "Copy";
    copy.origin.shownFile = "Copy.xml";
    copy.origin.file = "/Copy.xml";
    copy.origin.isCached = true;
    copy.origin.url = "https://server/file";
    copy.origin.time = NOW;
    const std::string out = printed(std::vector<StoreReport>{copy}, NOW);
    EXPECT_THAT(out, testing::HasSubstr("  Copy.xml  just now\n"));
    EXPECT_THAT(out,
                testing::EndsWith("\nCopy is the copy of https://server/file, fetched at 2026-11-22T09:30:00Z.\n"));
}

TEST(StoresForPeople, TellHowEachFares) {
    StoreReport loaded;
    loaded.name = "Loaded";
    loaded.priority = 10;
    loaded.isReadOnly = true;
    loaded.isLocal = true;
    loaded.state = StoreState::Loaded;
    loaded.keys = 12;
    loaded.wins = 7;
    loaded.origin.shownFile = "Loaded.xml";
    loaded.origin.isCached = true;
    loaded.origin.time = NOW - 3min;
    StoreReport failed;
    failed.name = "Failed";
    failed.priority = 20;
    failed.state = StoreState::Failed;
    failed.origin.shownFile = "Failed.xml";
    failed.origin.problem = "line 3: broken";
    failed.origin.problemLine = 3;
    failed.origin.setAside = "Failed-backup.xml";
    EXPECT_EQ(printed(std::vector<StoreReport>{loaded, failed}, NOW),
              "PRIORITY  STORE   ACCESS     SCOPE    COPY    STATE   KEYS  WINS  WHERE         AGE\n"
              "      10  Loaded  read-only  local    cached  loaded    12     7  Loaded.xml    3 min ago\n"
              "      20  Failed  writable   profile          failed     0     0  Failed.xml:3\n"
              "Failed failed to load: line 3: broken; the file was moved to Failed-backup.xml.\n");
}
