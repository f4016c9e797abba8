#include <sys/stat.h>

#include <filesystem>

#include "StoreTestSupport.h"
#include "stores/BootstrapConfigStore.h"

namespace storetests {
namespace {

class Bootstrap : public StoreTest {
protected:
    Map contents(const std::string& text) {
        BootstrapConfigStore store("BootstrapConfigStore", write("bootstrap", text), 500);
        return contentsOf(store);
    }

    std::vector<Line> missingFileLine(const std::string& file) const {
        return {Line{3, "BootstrapConfigStore", "BootstrapConfigStore", "File does not exist " + file}};
    }
};

TEST_F(Bootstrap, IsEmptyWithAnEmptyFile) {
    EXPECT_EQ(contents(""), Map{});
    EXPECT_TRUE(log_->lines().empty());
}

TEST_F(Bootstrap, LogsAMissingFileAndIsEmpty) {
    BootstrapConfigStore store("B", path("none"), 500);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_EQ(linesOf(log_, "BootstrapConfigStore"), missingFileLine(path("none")));
}

TEST_F(Bootstrap, LogsAFolderInPlaceOfAFileAndIsEmpty) {
    std::filesystem::create_directory(path("folder"));
    BootstrapConfigStore store("B", path("folder"), 500);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_EQ(linesOf(log_, "BootstrapConfigStore"), missingFileLine(path("folder")));
}

TEST_F(Bootstrap, LogsAFileThatOpensAndCannotBeRead) {
    std::filesystem::create_symlink("/proc/self/mem", path("unreadable"));
    BootstrapConfigStore store("B", path("unreadable"), 500);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_EQ(linesOf(log_, "BootstrapConfigStore"), missingFileLine(path("unreadable")));
}

TEST_F(Bootstrap, LogsAPipeInPlaceOfAFileAndDoesNotWaitForIt) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    BootstrapConfigStore store("B", path("pipe"), 500);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_EQ(linesOf(log_, "BootstrapConfigStore"), missingFileLine(path("pipe")));
}

TEST_F(Bootstrap, ReadsNoDeviceForEver) {
    BootstrapConfigStore store("B", "/dev/zero", 500);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_EQ(linesOf(log_, "BootstrapConfigStore"), missingFileLine("/dev/zero"));
}

TEST_F(Bootstrap, SplitsAtTheColonAndTrimsBothSides) {
    EXPECT_EQ(contents(" Key \t:  some value \r\n"), (Map{{L"Key", L"some value"}}));
}

TEST_F(Bootstrap, DoesNotSplitAtTheEqualsSign) { EXPECT_EQ(contents("a=b"), (Map{{L"a=b", L""}})); }

TEST_F(Bootstrap, SkipsCommentsAfterLeadingBlanks) {
    EXPECT_EQ(contents("# one: 1\n   # two: 2\n\t#three\nfour: 4\n"), (Map{{L"four", L"4"}}));
}

TEST_F(Bootstrap, KeepsAHashLaterInALine) { EXPECT_EQ(contents("k#1: v # 2"), (Map{{L"k#1", L"v # 2"}})); }

TEST_F(Bootstrap, TakesTheLaterValueUnderTheFirstSpelling) {
    EXPECT_EQ(contents("Key: first\nKEY: second\n"), (Map{{L"Key", L"second"}}));
}

TEST_F(Bootstrap, KeepsFurtherColonsOfAValue) {
    EXPECT_EQ(contents("url: https://h:8443/a::b:\n"), (Map{{L"url", L"https://h:8443/a::b:"}}));
}

TEST_F(Bootstrap, GivesAWordAloneTheEmptyValue) {
    BootstrapConfigStore store("B", write("b", "word\n"), 500);
    EXPECT_EQ(valueOf(store, L"word"), L"");
}

TEST_F(Bootstrap, SkipsEmptyLinesAndReadsALastLineWithoutLineFeed) {
    EXPECT_EQ(contents("\n\na: 1\n\nb: 2"), (Map{{L"a", L"1"}, {L"b", L"2"}}));
}

TEST_F(Bootstrap, HandlesALineOfBlanksLikeAnyOther) { EXPECT_EQ(contents("   \n"), (Map{{L"", L""}})); }

TEST_F(Bootstrap, TakesALineThatBeginsWithTheColon) { EXPECT_EQ(contents(": v"), (Map{{L"", L"v"}})); }

TEST_F(Bootstrap, WidensUtf8AndReplacesWhatIsIllFormed) {
    EXPECT_EQ(contents("name: Gr\xC3\xBC\xC3\x9F\nbad: a\xFFz"),
              (Map{{L"name", L"Gr\u00fc\u00df"}, {L"bad", L"a\uFFFDz"}}));
}

TEST_F(Bootstrap, HandsOutThePasswordAndLogsNothing) {
    BootstrapConfigStore store("B", write("b", "ConnectionPassword: hunter2\n"), 500);
    EXPECT_EQ(valueOf(store, L"connectionpassword"), L"hunter2");
    EXPECT_TRUE(log_->lines().empty());
}

TEST_F(Bootstrap, HandsBackFalseOnAMissForPeerToPeerCallingUnderFips) {
    BootstrapConfigStore store("B", write("b", ""), 500);
    world_.setFips(true);
    std::wstring value = L"left over";
    EXPECT_FALSE(store.getValue(L"TELEPHONY_P2P_ENABLED", value));
    EXPECT_EQ(value, L"false");
}

TEST_F(Bootstrap, ChangesNothingEver) {
    const std::string text = "a: 1\n";
    BootstrapConfigStore store("B", write("b", text), 500);
    EXPECT_FALSE(store.storeValue(L"a", L"2"));
    EXPECT_FALSE(store.removeValue(L"a"));
    store.removeAllValues();
    store.persistValues();
    store.destroy();
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"1"}}));
    EXPECT_EQ(read("b"), text);
}

TEST_F(Bootstrap, GivesItsConstantAnswers) {
    BootstrapConfigStore store("Some name", path("none"), 500);
    EXPECT_EQ(store.getName(), "Some name");
    EXPECT_EQ(store.getPriority(), 500);
    EXPECT_TRUE(store.isReadOnly());
    EXPECT_TRUE(store.isLocal());
    EXPECT_TRUE(store.waitForStoreReady());
    EXPECT_FALSE(store.shouldCacheConfigStore());
    EXPECT_EQ(BootstrapConfigStore::SPLITTER(), ":");
    EXPECT_EQ(&BootstrapConfigStore::SPLITTER(), &BootstrapConfigStore::SPLITTER());
}

TEST_F(Bootstrap, ReadsAHundredThousandLines) {
    std::string text;
    for (int number = 0; number < 100000; ++number) {
        text += "key" + std::to_string(number) + ": " + std::to_string(number) + "\n";
    }
    BootstrapConfigStore store("B", write("b", text), 500);
    EXPECT_EQ(store.getKeys().size(), 100000u);
    EXPECT_EQ(valueOf(store, L"key99999"), L"99999");
}

}  // namespace
}  // namespace storetests
