#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <latch>
#include <thread>

#include "FaultSupport.h"
#include "stores/LocalFileConfigStore.h"
#include "support/AtRemovals.h"
#include "support/StrangersLink.h"

namespace storetests {
namespace {

const char* const logger = "LocalFileConfigStore";

class LocalFilePersisting : public StoreTest {
protected:
    LocalFileConfigStore open() const { return {"Local", 20, path("folder"), "local.xml", false, false}; }

    Map restarted() const {
        LocalFileConfigStore store = open();
        return contentsOf(store);
    }

    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path("folder"))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }
};

TEST_F(LocalFilePersisting, WritesTheWholeMapInItsOrder) {
    LocalFileConfigStore store = open();
    store.storeValue(L"b", L"2 < \"3\" & '4'");
    store.storeValue(L"A", L"1");
    store.persistValues();
    EXPECT_EQ(withSmallDeclaration(read("folder/local.xml")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n <userConfig name=\"A\" value=\"1\"/>\n"
              " <userConfig name=\"b\" value=\"2 &lt; &quot;3&quot; &amp; '4'\"/>\n</Corvid>\n");
}

TEST_F(LocalFilePersisting, WritesAnEmptyMapAsAnEmptyRoot) {
    open().persistValues();
    EXPECT_EQ(withSmallDeclaration(read("folder/local.xml")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid/>\n");
}

TEST_F(LocalFilePersisting, LeavesNothingBesideTheFileAndLetsTheUserAloneReadIt) {
    open().persistValues();
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("local.xml"));
    struct stat status {};
    ASSERT_EQ(::stat(path("folder/local.xml").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(LocalFilePersisting, BringsKeysBackInSmallLetters) {
    LocalFileConfigStore store = open();
    store.storeValue(L"Services\u00C4Domain", L"Value");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"services\u00e4domain", L"Value"}}));
}

TEST_F(LocalFilePersisting, KeepsWhiteSpaceOfEveryKind) {
    LocalFileConfigStore store = open();
    store.storeValue(L" key\t", L" \t\r\n value \n");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L" key\t", L" \t\r\n value \n"}}));
}

TEST_F(LocalFilePersisting, StoresTheOldVoicemailKeyUnderItsCurrentName) {
    LocalFileConfigStore store = open();
    EXPECT_TRUE(store.storeValue(L"vvm_MAILSTORE_server_0", L"h"));
    EXPECT_TRUE(misses(store, L"VVM_Mailstore_Server_0"));
    EXPECT_EQ(valueOf(store, L"VoicemailPrimaryServer"), L"h");
}

TEST_F(LocalFilePersisting, RemovesTheVoicemailKeyUnderItsCurrentNameOnly) {
    LocalFileConfigStore store = open();
    store.storeValue(L"VVM_Mailstore_Server_0", L"h");
    EXPECT_FALSE(store.removeValue(L"VVM_Mailstore_Server_0"));
    EXPECT_EQ(valueOf(store, L"VoicemailPrimaryServer"), L"h");
    EXPECT_TRUE(store.removeValue(L"VoicemailPrimaryServer"));
}

TEST_F(LocalFilePersisting, MovesTheVoicemailKeyAtStoringInTheDefaultsStoreToo) {
    LocalFileConfigStore store("corvid-config-defaults.xml", 20, path("folder"), "local.xml", true, true);
    store.storeValue(L"VVM_Mailstore_Server_0", L"h");
    EXPECT_EQ(contentsOf(store), (Map{{L"VoicemailPrimaryServer", L"h"}}));
}

TEST_F(LocalFilePersisting, TouchesNothingWhenItIsReadOnlyAndStillStoresInMemory) {
    LocalFileConfigStore store("Defaults", 20, path("folder"), "local.xml", true, true);
    EXPECT_TRUE(store.storeValue(L"a", L"1"));
    store.persistValues();
    EXPECT_EQ(valueOf(store, L"a"), L"1");
    EXPECT_FALSE(world_.directory().exists("folder"));
}

TEST_F(LocalFilePersisting, NeitherWritesNorMakesTheFolderOnceItIsDestroyed) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.destroy();
    store.storeValue(L"b", L"2");
    store.persistValues();
    EXPECT_FALSE(world_.directory().exists("folder"));
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"1"}, {L"b", L"2"}}));
}

TEST_F(LocalFilePersisting, DoesNotPersistByItself) {
    {
        LocalFileConfigStore store = open();
        store.storeValue(L"a", L"1");
        store.removeValue(L"a");
        store.removeAllValues();
    }
    EXPECT_FALSE(world_.directory().exists("folder"));
}

TEST_F(LocalFilePersisting, PersistsRemovals) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.storeValue(L"b", L"2");
    store.persistValues();
    EXPECT_TRUE(store.removeValue(L"A"));
    EXPECT_FALSE(store.removeValue(L"A"));
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"b", L"2"}}));
    store.removeAllValues();
    store.persistValues();
    EXPECT_EQ(restarted(), Map{});
}

TEST_F(LocalFilePersisting, PersistsWhatComesAfterEverythingWasRemoved) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    store.removeAllValues();
    store.storeValue(L"b", L"2");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"b", L"2"}}));
}

TEST_F(LocalFilePersisting, PersistsWhatComesAfterValuesWereTakenOver) {
    write("folder/local.xml", "<r><userConfig name='a' value='1'/></r>");
    LocalFileConfigStore old = open();
    LocalFileConfigStore replacing = open();
    replacing.takeOverValues(old);
    replacing.storeValue(L"b", L"2");
    replacing.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", L"2"}}));
}

TEST_F(LocalFilePersisting, WritesAgainOverAFileThatSomeoneElseHasChanged) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    write("folder/local.xml", "<r><userConfig name='a' value='2'/></r>");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFilePersisting, WritesAgainOverAFileThatCameAsSoonAsItsOwnWasInPlace) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    {
        const support::AtRemovals afterTheReplacement([this] {
            if (world_.directory().exists("folder/local.xml")) {
                write("folder/local.xml", "<r><userConfig name='a' value='of another'/></r>");
            }
        });
        store.persistValues();
    }
    EXPECT_EQ(restarted(), (Map{{L"a", L"of another"}}));
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFilePersisting, WritesAgainWhenTheFileIsGone) {
    LocalFileConfigStore store = open();
    store.persistValues();
    std::filesystem::remove(path("folder/local.xml"));
    store.persistValues();
    EXPECT_TRUE(world_.directory().exists("folder/local.xml"));
}

TEST_F(LocalFilePersisting, SkipsAWriteThatWouldChangeNothing) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    struct stat before {};
    ASSERT_EQ(::stat(path("folder/local.xml").c_str(), &before), 0);
    store.storeValue(L"A", L"1");
    store.persistValues();
    struct stat after {};
    ASSERT_EQ(::stat(path("folder/local.xml").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino) << "a write would have put a new file there";
}

TEST_F(LocalFilePersisting, DoesAllRequestsThatCameBeforeAWriteWithIt) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    const std::uint64_t first = store.requestPersist();
    store.storeValue(L"b", L"2");
    const std::uint64_t second = store.requestPersist();
    store.persistRequested(first);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", L"2"}}));
    store.storeValue(L"c", L"3");
    const std::uint64_t third = store.requestPersist();
    store.persistRequested(second);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", L"2"}})) << "a later value has a request of its own";
    store.persistRequested(third);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"}}));
}

TEST_F(LocalFilePersisting, WritesAnewAtARequestThatIsDoneWhatSomebodyHasRemovedOrReplaced) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    const std::uint64_t request = store.requestPersist();
    store.persistRequested(request);
    std::filesystem::remove(path("folder/local.xml"));
    store.persistRequested(request);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
    write("folder/local.xml", "<Corvid/>");
    store.persistRequested(request);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFilePersisting, HasARequestStillToDoWhoseWriteFailed) {
    std::filesystem::create_directories(path("folder/.local.xml.temp"));
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    const std::uint64_t first = store.requestPersist();
    const std::uint64_t second = store.requestPersist();
    store.persistRequested(first);
    EXPECT_FALSE(world_.directory().exists("folder/local.xml"));
    std::filesystem::remove(path("folder/.local.xml.temp"));
    store.persistRequested(second);
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFilePersisting, WritesAgainOnlyWhatTheLastWriteCouldNot) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistAgain();
    EXPECT_FALSE(world_.directory().exists("folder/local.xml")) << "no write has failed";
    std::filesystem::create_directories(path("folder/.local.xml.temp"));
    store.persistValues();
    store.persistAgain();
    std::filesystem::remove(path("folder/.local.xml.temp"));
    EXPECT_FALSE(world_.directory().exists("folder/local.xml"));
    store.persistAgain();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
    store.storeValue(L"a", L"2");
    store.persistAgain();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}})) << "no write has failed since";
}

TEST_F(LocalFilePersisting, WritesNothingAgainOnceItIsDestroyed) {
    std::filesystem::create_directories(path("folder/.local.xml.temp"));
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    std::filesystem::remove(path("folder/.local.xml.temp"));
    store.destroy();
    store.persistAgain();
    EXPECT_FALSE(world_.directory().exists("folder/local.xml"));
}

TEST_F(LocalFilePersisting, WritesOverWhatItHasReadEvenIfNothingChanged) {
    write("folder/local.xml", "<r><x><userConfig name='a' value='1'/></x></r>");
    open().persistValues();
    EXPECT_THAT(read("folder/local.xml"), testing::HasSubstr("<Corvid>\n <userConfig"));
}

TEST_F(LocalFilePersisting, SaysNothingWhenTheTemporaryFileCannotBeOpened) {
    std::filesystem::create_directories(path("folder/.local.xml.temp"));
    LocalFileConfigStore store = open();
    log_->clear();
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_FALSE(world_.directory().exists("folder/local.xml"));
    EXPECT_TRUE(linesOf(log_, logger).empty());
    EXPECT_TRUE(store.hasUnpersistedValues());
}

TEST_F(LocalFilePersisting, LogsACopyThatFailsAndRemovesTheTemporaryFile) {
    LocalFileConfigStore store = open();
    std::filesystem::create_directories(path("folder/local.xml"));
    log_->clear();
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_THAT(linesOf(log_, logger),
                testing::ElementsAre(
                    Line{2, logger, "persistValues", "copying temp file to destination failed, copyfile returned"}));
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("local.xml"));
    EXPECT_TRUE(store.hasUnpersistedValues());
}

TEST_F(LocalFilePersisting, KeepsTheOldFileWholeOnAFullDiskAndWritesWhenItCan) {
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    const std::string old = read("folder/local.xml");
    store.storeValue(L"b", std::wstring(100000, L'x'));
    for (const rlim_t room : {rlim_t{0}, rlim_t{50}, rlim_t{5000}, rlim_t{99000}}) {
        log_->clear();
        {
            const ScopedFileSizeLimit limit(room);
            store.persistValues();
        }
        EXPECT_EQ(read("folder/local.xml"), old);
        EXPECT_THAT(filesInFolder(), testing::ElementsAre("local.xml"));
        EXPECT_THAT(linesOf(log_, logger),
                    testing::ElementsAre(
                        Line{2, logger, "persistValues",
                             "writing temp file failed, config file left as it was: " + path("folder/local.xml")}));
        EXPECT_TRUE(store.hasUnpersistedValues());
    }
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", std::wstring(100000, L'x')}}));
}

TEST_F(LocalFilePersisting, ReplacesCharactersThatXmlCannotHold) {
    LocalFileConfigStore store = open();
    store.storeValue(L"control", L"a\x01z");
    store.storeValue(std::wstring(L"key") + wchar_t(0xDC00), L"v");
    store.storeValue(L"good", L"v");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"control", L"a\uFFFDz"}, {L"key\uFFFD", L"v"}, {L"good", L"v"}}));
    EXPECT_EQ(log_->count(3, "characters that XML cannot hold were replaced in the entry: control"), 1u);
    EXPECT_EQ(log_->count(3, "characters that XML cannot hold were replaced in the entry: key\xEF\xBF\xBD"), 1u);
    EXPECT_EQ(valueOf(store, L"control"), L"a\x01z") << "memory keeps what was stored";
}

TEST_F(LocalFilePersisting, KnowsWhatHasNotReachedTheFile) {
    write("folder/local.xml", "<r><userConfig name='a' value='1'/></r>");
    LocalFileConfigStore store = open();
    EXPECT_FALSE(store.hasUnpersistedValues());
    store.storeValue(L"a", L"1");
    EXPECT_FALSE(store.hasUnpersistedValues()) << "the same value";
    store.storeValue(L"a", L"2");
    EXPECT_TRUE(store.hasUnpersistedValues());
    store.persistValues();
    EXPECT_FALSE(store.hasUnpersistedValues());
    store.removeValue(L"a");
    EXPECT_TRUE(store.hasUnpersistedValues());
    store.persistValues();
    store.removeAllValues();
    EXPECT_FALSE(store.hasUnpersistedValues()) << "nothing was there to remove";
}

TEST_F(LocalFilePersisting, TakesOverTheValuesOfTheStoreThatItReplaces) {
    write("folder/local.xml", "<r><userConfig name='a' value='1'/><userConfig name='b' value='2'/></r>");
    LocalFileConfigStore old = open();
    old.storeValue(L"A", L"new");
    old.removeValue(L"b");
    LocalFileConfigStore replacing = open();
    replacing.takeOverValues(old);
    EXPECT_EQ(contentsOf(replacing), (Map{{L"a", L"new"}}));
    EXPECT_TRUE(replacing.hasUnpersistedValues());
    replacing.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"new"}}));
}

TEST_F(LocalFilePersisting, TakesNothingOverFromAStoreOfAnotherFile) {
    write("other/local.xml", "<r><userConfig name='a' value='1'/></r>");
    write("folder/local.xml", "<r><userConfig name='b' value='2'/></r>");
    LocalFileConfigStore otherFolder("Local", 20, path("other"), "local.xml", false, false);
    LocalFileConfigStore otherName("Local", 20, path("folder"), "other.xml", false, false);
    otherFolder.storeValue(L"a", L"changed");
    otherName.storeValue(L"a", L"changed");
    LocalFileConfigStore store = open();
    store.takeOverValues(otherFolder);
    store.takeOverValues(otherName);
    EXPECT_EQ(contentsOf(store), (Map{{L"b", L"2"}}));
    EXPECT_FALSE(store.hasUnpersistedValues());
}

TEST_F(LocalFilePersisting, WritesThroughTheUsersOwnLinkInThePlaceOfItsFolder) {
    std::filesystem::create_directory(path("elsewhere"));
    std::filesystem::create_directory_symlink("elsewhere", path("folder"));
    LocalFileConfigStore store = open();
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
    EXPECT_TRUE(world_.directory().exists("elsewhere/local.xml"));
}

/// Somebody else has put a link in the place of the folder.
class LocalFileFolderOfAStranger : public LocalFilePersisting {
protected:
    /// Writes their file, or skips the test.
    void SetUp() override {
        write("elsewhere/local.xml", "<r><userConfig name='a' value='theirs'/></r>");
        if (!support::makeStrangersLink(path("elsewhere"), path("folder"))) {
            GTEST_SKIP() << "only root can make somebody else's link";
        }
    }

    static Line refused(const std::string& what, const std::string& function, const std::string& file) {
        return {2, logger, function, what + ", since somebody else has put a link in the place of its folder: " + file};
    }
};

TEST_F(LocalFileFolderOfAStranger, IsReadAndNotWrittenTo) {
    const std::string theirs = read("elsewhere/local.xml");
    LocalFileConfigStore store = open();
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"theirs"}}));
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_EQ(read("elsewhere/local.xml"), theirs);
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("local.xml"));
    EXPECT_THAT(log_->lines(),
                testing::ElementsAre(refused("config file NOT written", "persistValues", path("folder/local.xml"))));
    EXPECT_TRUE(store.hasUnpersistedValues());
    std::filesystem::remove(path("folder"));
    store.persistAgain();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFileFolderOfAStranger, KeepsWhatIsNotWellFormedInItsPlace) {
    write("elsewhere/local.xml", "not xml");
    LocalFileConfigStore store = open();
    EXPECT_THAT(log_->lines(),
                testing::Contains(refused("invalid file NOT renamed", "readFromFile", path("folder/local.xml"))));
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_EQ(read("elsewhere/local.xml"), "not xml");
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("local.xml"));
}

TEST_F(LocalFilePersisting, MakesTheFolderWhateverSeparatorItsNameEndsIn) {
    LocalFileConfigStore store("X", 20, path("deep/er/"), "local.xml", false, false);
    store.persistValues();
    EXPECT_TRUE(world_.directory().exists("deep/er/local.xml"));
}

TEST_F(LocalFilePersisting, WritesNothingAfterADestroyThatMeetsARunningWrite) {
    LocalFileConfigStore store = open();
    std::latch firstIsWritten(1);
    std::atomic<bool> isDestroyed{false};
    int lastRound = 0;
    std::thread persister([&] {
        int roundsAfterwards = 0;
        for (int round = 0; roundsAfterwards < 5; ++round) {
            roundsAfterwards += isDestroyed ? 1 : 0;
            store.storeValue(L"round", std::to_wstring(round));
            store.persistValues();
            lastRound = round;
            if (round == 0) {
                firstIsWritten.count_down();
            }
        }
    });
    firstIsWritten.wait();
    store.destroy();
    const std::string atDestroy = read("folder/local.xml");
    isDestroyed = true;
    persister.join();
    EXPECT_THAT(atDestroy, testing::HasSubstr("name=\"round\""));
    EXPECT_EQ(read("folder/local.xml"), atDestroy);
    EXPECT_EQ(valueOf(store, L"round"), std::to_wstring(lastRound));
}

TEST_F(LocalFilePersisting, InNoFolderIsInTheCurrentOne) {
    class CurrentFolder {
    public:
        explicit CurrentFolder(const std::string& path) : former_(std::filesystem::current_path()) {
            std::filesystem::current_path(path);
        }
        ~CurrentFolder() { std::filesystem::current_path(former_); }
        CurrentFolder(const CurrentFolder&) = delete;
        CurrentFolder& operator=(const CurrentFolder&) = delete;

    private:
        const std::filesystem::path former_;
    };
    const CurrentFolder current(world_.directory().path());
    LocalFileConfigStore store("Local", 20, "", "local.xml", false, false);
    store.storeValue(L"key", L"value");
    store.persistValues();
    EXPECT_FALSE(store.hasUnpersistedValues());
    LocalFileConfigStore restarted("Local", 20, world_.directory().path(), "local.xml", false, false);
    EXPECT_EQ(contentsOf(restarted), (Map{{L"key", L"value"}}));
}

}  // namespace
}  // namespace storetests
