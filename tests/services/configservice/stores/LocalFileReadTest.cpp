#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "StoreTestSupport.h"
#include "stores/LocalFileConfigStore.h"
#include "support/NoMoreDescriptors.h"
#include "xml/XmlDocument.h"

namespace storetests {
namespace {

const char* const LOCAL_FILE_STORE = "LocalFileConfigStore";

using support::NoMoreDescriptors;

class LocalFileReading : public StoreTest {
protected:
    LocalFileConfigStore open(const std::string& name = "LocalFileConfigStore") const {
        return {name, 20, world_.directory().path(), "local.xml", false, false};
    }

    Map contents(const std::string& document) const {
        write("local.xml", document);
        LocalFileConfigStore store = open();
        return contentsOf(store);
    }
};

TEST_F(LocalFileReading, LogsAMissingFileAndStartsEmpty) {
    LocalFileConfigStore store = open();
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_FALSE(store.readFromFile());
    const Line line{3, LOCAL_FILE_STORE, "readFromFile",
                    "Read config FAILED, config file doesn't exist: " + path("") + "local.xml"};
    EXPECT_THAT(linesOf(log_, LOCAL_FILE_STORE), testing::ElementsAre(line, line));
}

TEST_F(LocalFileReading, TakesTheUsersFileByItself) {
    write("config/corvidLocalConfig.xml", "<Corvid><userConfig name='a' value='1'/></Corvid>");
    LocalFileConfigStore store("LocalFileConfigStore", 20, false);
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"1"}}));
    EXPECT_FALSE(store.isReadOnly());
    EXPECT_FALSE(store.isLocal());
    EXPECT_EQ(store.getPriority(), 20);
    EXPECT_EQ(store.getName(), "LocalFileConfigStore");
}

TEST_F(LocalFileReading, AppendsASeparatorEvenToAFolderThatEndsInOne) {
    LocalFileConfigStore store("X", 20, path("config/"), "local.xml", false, false);
    EXPECT_EQ(log_->count(3, "Read config FAILED, config file doesn't exist: " + path("config//local.xml")), 1u);
}

TEST_F(LocalFileReading, UsesTheFileNameAloneWithoutAFolder) {
    LocalFileConfigStore store("X", 20, "", path("local.xml"), false, false);
    EXPECT_EQ(log_->count(3, "Read config FAILED, config file doesn't exist: " + path("local.xml")), 1u);
}

TEST_F(LocalFileReading, ReadsNamesInAnyCase) {
    EXPECT_EQ(contents("<CORVID><USERCONFIG NAME='Key' VALUE='Value'/></CORVID>"), (Map{{L"key", L"Value"}}));
}

TEST_F(LocalFileReading, DropsAnEntryWithoutANameAndKeepsOneWithoutAValue) {
    EXPECT_EQ(contents("<Corvid><userConfig value='1'/><userConfig name='' value='2'/><userConfig name='b'/></Corvid>"),
              (Map{{L"b", L""}}));
}

TEST_F(LocalFileReading, KeepsTheFirstOfTwoEntriesThatDifferInCase) {
    EXPECT_EQ(contents("<Corvid><userConfig name='Key' value='1'/><userConfig name='KEY' value='2'/></Corvid>"),
              (Map{{L"key", L"1"}}));
}

TEST_F(LocalFileReading, FindsEntriesAtAnyDepthAndInsideEachOther) {
    EXPECT_EQ(contents("<r><x><y><userConfig name='a' value='1'><userConfig name='b' value='2'/></userConfig></y></x>"
                       "<userConfig name='c' value='3'/></r>"),
              (Map{{L"a", L"1"}, {L"b", L"2"}, {L"c", L"3"}}));
}

TEST_F(LocalFileReading, TakesTheRootForAnEntry) {
    EXPECT_EQ(contents("<userConfig name='a' value='1'/>"), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFileReading, IgnoresTextAndOtherAttributes) {
    EXPECT_EQ(contents("<r>text<userConfig other='x' name='a' value='1'>text</userConfig></r>"), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFileReading, IgnoresOtherElementsWithANameAndAValue) {
    EXPECT_EQ(contents("<r name='r' value='0'><config name='a' value='1'/><userConfigs name='b' value='2'/>"
                       "<userConfig name='c' value='3'/></r>"),
              (Map{{L"c", L"3"}}));
}

TEST_F(LocalFileReading, TakesTheLastOfTwoAttributesThatDifferInCase) {
    EXPECT_EQ(contents("<r><userConfig name='a' NAME='b' value='1' Value='2'/></r>"), (Map{{L"b", L"2"}}));
}

TEST_F(LocalFileReading, LeavesReferencesToEntitiesOfTheDocumentAsTheyAreWritten) {
    EXPECT_EQ(contents("<!DOCTYPE r [<!ENTITY h 'host'>]><r><userConfig name='a&amp;b' value='x&h;&#33;'/></r>"),
              (Map{{L"a&b", L"x&h;!"}}));
}

TEST_F(LocalFileReading, ReadsTheOldVoicemailKeyUnderItsCurrentName) {
    EXPECT_EQ(contents("<r><userConfig name='VVM_Mailstore_Server_0' value='h'/></r>"),
              (Map{{L"VoicemailPrimaryServer", L"h"}}));
}

TEST_F(LocalFileReading, LeavesTheOldVoicemailKeyInTheDefaultsStore) {
    write("local.xml", "<r><userConfig name='VVM_Mailstore_Server_0' value='h'/></r>");
    LocalFileConfigStore store = open("Corvid-Config-Defaults.xml");
    EXPECT_EQ(contentsOf(store), (Map{{L"vvm_mailstore_server_0", L"h"}}));
}

TEST_F(LocalFileReading, KeepsWhatItHoldsWhenItReadsAgain) {
    write("local.xml", "<r><userConfig name='a' value='1'/></r>");
    LocalFileConfigStore store = open();
    store.storeValue(L"A", L"mine");
    write("local.xml", "<r><userConfig name='a' value='2'/><userConfig name='b' value='3'/></r>");
    EXPECT_TRUE(store.readFromFile());
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"mine"}, {L"b", L"3"}}));
}

TEST_F(LocalFileReading, SetsAnInvalidFileAsideAndLogsItsContents) {
    const std::string broken = "<Corvid><userConfig name='a' value='1'/>";
    EXPECT_EQ(contents(broken), Map{});
    EXPECT_FALSE(world_.directory().exists("local.xml"));
    EXPECT_EQ(read("local-backup.xml"), broken);
    EXPECT_THAT(
        linesOf(log_, LOCAL_FILE_STORE),
        testing::ElementsAre(
            Line{2, LOCAL_FILE_STORE, "readFromFile",
                 "Error Invalid XML syntax detected - Unable to read localFileConfigStore "
                 "configuration\nrenaming invalid file to: local-backup.xml and creating new blank "
                 "XML document"},
            Line{2, LOCAL_FILE_STORE, "readFromFile", "contents of invalid xml with string length: 40\n" + broken}));
}

TEST_F(LocalFileReading, SaysTrueForAnInvalidFile) {
    LocalFileConfigStore store = open();
    write("local.xml", "not xml");
    EXPECT_TRUE(store.readFromFile());
    EXPECT_FALSE(store.readFromFile()) << "it was set aside";
}

TEST_F(LocalFileReading, SetsAnInvalidFileAsideForAReadOnlyStoreToo) {
    write("local.xml", "not xml");
    LocalFileConfigStore store("X", 20, world_.directory().path(), "local.xml", true, true);
    EXPECT_FALSE(world_.directory().exists("local.xml"));
    EXPECT_EQ(read("local-backup.xml"), "not xml");
}

TEST_F(LocalFileReading, KeepsEachEarlierBackupUnderANumber) {
    for (const std::string invalid : {"first", "second", "third"}) {
        contents(invalid);
    }
    EXPECT_EQ(read("local-backup.xml"), "third");
    EXPECT_EQ(read("local-backup-1.xml"), "first");
    EXPECT_EQ(read("local-backup-2.xml"), "second");
    EXPECT_THAT(linesOf(log_, LOCAL_FILE_STORE),
                testing::Contains(Line{3, LOCAL_FILE_STORE, "readFromFile",
                                       "earlier backup file is kept as: " + path("local-backup-2.xml")}));
}

TEST_F(LocalFileReading, KeepsAnEarlierBackupUnderANumberThatNoLinkHas) {
    std::filesystem::create_symlink(path("nothing"), path("local-backup-1.xml"));
    write("local-backup.xml", "an earlier one");
    write("local.xml", "not xml");
    open();
    EXPECT_EQ(read("local-backup-2.xml"), "an earlier one");
    EXPECT_EQ(read("local-backup.xml"), "not xml");
    EXPECT_FALSE(world_.directory().exists("nothing"));
}

TEST_F(LocalFileReading, LeavesAnInvalidFileWhereItIsIfAnEarlierBackupCannotBeKept) {
    std::filesystem::create_directory(path("local-backup.xml"));
    EXPECT_EQ(contents("not xml"), Map{});
    EXPECT_EQ(read("local.xml"), "not xml");
    EXPECT_TRUE(std::filesystem::is_directory(path("local-backup.xml")));
}

TEST_F(LocalFileReading, WritesANewFileAfterAnInvalidOne) {
    write("local.xml", "not xml");
    LocalFileConfigStore store = open();
    EXPECT_FALSE(world_.directory().exists("local.xml")) << "no blank document is made by the reading";
    store.storeValue(L"a", L"1");
    store.persistValues();
    LocalFileConfigStore restarted = open();
    EXPECT_EQ(contentsOf(restarted), (Map{{L"a", L"1"}}));
}

TEST_F(LocalFileReading, NamesTheBackupOfAFileWithoutAnExtension) {
    write("some.folder/local", "not xml");
    LocalFileConfigStore store("X", 20, path("some.folder"), "local", false, false);
    EXPECT_EQ(read("some.folder/local-backup.xml"), "not xml");
}

TEST_F(LocalFileReading, NamesTheBackupsOfAFileWithSeveralDotsByAllButItsLastExtension) {
    for (const std::string invalid : {"first", "second"}) {
        write("some.folder/my.local.xml", invalid);
        LocalFileConfigStore store("X", 20, path("some.folder"), "my.local.xml", false, false);
    }
    EXPECT_EQ(read("some.folder/my.local-backup.xml"), "second");
    EXPECT_EQ(read("some.folder/my.local-backup-1.xml"), "first");
}

TEST_F(LocalFileReading, LogsABackupThatCannotBeMade) {
    std::filesystem::create_directories(path("local-backup.xml/full"));
    EXPECT_EQ(contents("not xml"), Map{});
    EXPECT_EQ(read("local.xml"), "not xml");
    EXPECT_THAT(linesOf(log_, LOCAL_FILE_STORE),
                testing::Contains(Line{2, LOCAL_FILE_STORE, "readFromFile",
                                       "error creating backup file: " + path("local-backup.xml")}));
}

TEST_F(LocalFileReading, KeepsAnInvalidFileThatCouldNotBeSetAsideUnderAnotherNameBeforeItWritesOverIt) {
    std::filesystem::create_directories(path("local-backup.xml/full"));
    write("local-backup-1.xml", "an earlier one");
    write("local.xml", "not xml");
    LocalFileConfigStore store = open();
    EXPECT_EQ(read("local.xml"), "not xml") << "until there is something to be written";
    log_->clear();
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_THAT(linesOf(log_, logger),
                testing::ElementsAre(
                    Line{3, logger, "persistValues", "invalid file is kept as: " + path("local-backup-2.xml")}));
    EXPECT_EQ(read("local-backup-1.xml"), "an earlier one");
    EXPECT_EQ(read("local-backup-2.xml"), "not xml");
    LocalFileConfigStore restarted = open();
    EXPECT_EQ(contentsOf(restarted), (Map{{L"a", L"1"}}));
    store.storeValue(L"a", L"2");
    store.persistValues();
    EXPECT_FALSE(world_.directory().exists("local-backup-3.xml")) << "a file that is well-formed by now";
}

TEST_F(LocalFileReading, MovesAnInvalidFileNoMoreOnceItHasWrittenOverIt) {
    // There is no room for a number in the name of a backup.
    const std::string stem(243, 'n');
    std::filesystem::create_directories(path(stem + "-backup.xml/full"));
    write(stem + ".xml", "not xml");
    LocalFileConfigStore store("X", 20, world_.directory().path(), stem + ".xml", false, false);
    EXPECT_EQ(read(stem + ".xml"), "not xml");
    store.storeValue(L"a", L"1");
    store.persistValues();
    EXPECT_FALSE(store.hasUnpersistedValues()) << "written over, since it cannot be kept";
    log_->clear();
    store.storeValue(L"a", L"2");
    store.persistValues();
    EXPECT_FALSE(store.hasUnpersistedValues());
    EXPECT_THAT(log_->lines(), testing::IsEmpty());
}

/// A whole file in a folder that a disk does not let a store look into for a while.
class LocalFileOutOfSight : public LocalFileReading {
protected:
    LocalFileOutOfSight() {
        write("folder/local.xml", text_);
        std::filesystem::rename(path("folder"), path("aside"));
        EXPECT_EQ(symlink(path("folder").c_str(), path("folder").c_str()), 0);
    }

    void showFolder() const {
        std::filesystem::remove(path("folder"));
        std::filesystem::rename(path("aside"), path("folder"));
    }

    std::unique_ptr<LocalFileConfigStore> openInFolder(LocalFileConfigStore* former = nullptr) const {
        return std::make_unique<LocalFileConfigStore>("Local", 20, path("folder"), "local.xml", false, false, former);
    }

    const std::string text_ = "<Corvid><userConfig name='a' value='1'/></Corvid>";
};

TEST_F(LocalFileOutOfSight, IsKeptByTheFirstWriteThatCan) {
    const auto store = openInFolder();
    EXPECT_EQ(log_->count(3, "Read config FAILED, config file doesn't exist: " + path("folder/local.xml")), 1U);
    store->storeValue(L"b", L"2");
    store->persistValues();
    EXPECT_TRUE(store->hasUnpersistedValues());
    showFolder();
    EXPECT_EQ(read("folder/local.xml"), text_);
    store->persistAgain();
    EXPECT_EQ(read("folder/local-backup-1.xml"), text_);
    EXPECT_EQ(contentsOf(*openInFolder()), (Map{{L"b", L"2"}}));
}

TEST_F(LocalFileOutOfSight, StaysInItsPlaceWhileNothingIsWritten) {
    const auto store = openInFolder();
    showFolder();
    store->storeValue(L"b", L"2");
    {
        const NoMoreDescriptors forTheTemporaryFile(NoMoreDescriptors::Until::TheEnd);
        store->persistValues();
    }
    EXPECT_EQ(read("folder/local.xml"), text_);
    store->persistValues();
    EXPECT_EQ(read("folder/local-backup-1.xml"), text_);
}

TEST_F(LocalFileOutOfSight, IsKeptByAStoreThatHasReadItAndTakesOverTheValuesOfOneThatHasNot) {
    const auto former = openInFolder();
    former->storeValue(L"b", L"2");
    former->persistValues();
    showFolder();
    const auto next = openInFolder(former.get());
    EXPECT_EQ(contentsOf(*next), (Map{{L"a", L"1"}}));
    next->takeOverValues(*former);
    next->persistValues();
    EXPECT_EQ(read("folder/local-backup-1.xml"), text_);
    EXPECT_EQ(contentsOf(*openInFolder()), (Map{{L"b", L"2"}}));
}

TEST_F(LocalFileReading, TakesAFileThatCanBeReadAtTheSecondTryOnly) {
    const std::string text = "<Corvid><userConfig name='a' value='1'/></Corvid>";
    write("local.xml", text);
    {
        const NoMoreDescriptors forTheFirstTry(NoMoreDescriptors::Until::ItIsTold);
        LocalFileConfigStore store = open();
        EXPECT_EQ(contentsOf(store), (Map{{L"a", L"1"}}));
    }
    EXPECT_EQ(read("local.xml"), text);
    EXPECT_FALSE(world_.directory().exists("local-backup.xml"));
    EXPECT_THAT(log_->lines(), testing::ElementsAre(Line{3, LOCAL_FILE_STORE, "readFromFile",
                                                         "config file was read at the second try only: " +
                                                             path("local.xml") + ": Too many open files"}));
}

TEST_F(LocalFileReading, SetsAnInvalidFileAsideThatCanBeReadAtTheSecondTryOnly) {
    write("local.xml", "not xml");
    {
        const NoMoreDescriptors forTheFirstTry(NoMoreDescriptors::Until::ItIsTold);
        LocalFileConfigStore store = open();
        EXPECT_EQ(contentsOf(store), Map{});
    }
    EXPECT_EQ(read("local-backup.xml"), "not xml");
    EXPECT_EQ(log_->count(2, "contents of invalid xml with string length: 7\nnot xml"), 1u);
}

TEST_F(LocalFileReading, SetsAFileAsideThatCannotBeReadTheSecondTimeEither) {
    const std::string text = "<Corvid><userConfig name='a' value='1'/></Corvid>";
    write("local.xml", text);
    {
        const NoMoreDescriptors atAll(NoMoreDescriptors::Until::TheEnd);
        LocalFileConfigStore store = open();
        EXPECT_EQ(contentsOf(store), Map{});
    }
    EXPECT_EQ(read("local-backup.xml"), text);
    EXPECT_EQ(log_->count(3, "cannot read [" + path("local.xml") + "]: Too many open files"), 1u);
    EXPECT_EQ(log_->count(2, "contents of invalid xml with string length: 0\n"), 1u);
}

/// A store that has written its file, and one that is to take its place.
class LocalFileInPlaceOfAnother : public LocalFileReading {
protected:
    LocalFileInPlaceOfAnother() {
        former_.storeValue(L"a", L"1");
        former_.persistValues();
        log_->clear();
    }

    LocalFileConfigStore openNext() { return {"Local", 20, path("folder"), "local.xml", false, false, &former_}; }

    std::size_t tellsOfTakenValues() const {
        return log_->count(3, "config file cannot be read, the values from before are kept and written to it: " +
                                  path("folder/local.xml"));
    }

    LocalFileConfigStore former_{"Local", 20, path("folder"), "local.xml", false, false};
};

TEST_F(LocalFileInPlaceOfAnother, TakesItsValuesWhereTheDiskDoesNotGiveTheFile) {
    const std::string text = read("folder/local.xml");
    std::optional<NoMoreDescriptors> none(std::in_place, NoMoreDescriptors::Until::TheEnd);
    LocalFileConfigStore next = openNext();
    none.reset();
    EXPECT_EQ(contentsOf(next), (Map{{L"a", L"1"}}));
    EXPECT_EQ(read("folder/local.xml"), text);
    EXPECT_FALSE(world_.directory().exists("folder/local-backup.xml"));
    EXPECT_EQ(tellsOfTakenValues(), 1u);
    EXPECT_TRUE(next.hasUnpersistedValues()) << "the disk may never give the file again";
    next.storeValue(L"b", L"2");
    next.persistValues();
    LocalFileConfigStore restarted = openNext();
    EXPECT_EQ(contentsOf(restarted), (Map{{L"a", L"1"}, {L"b", L"2"}}));
    EXPECT_FALSE(world_.directory().exists("folder/local-backup-1.xml"));
}

TEST_F(LocalFileInPlaceOfAnother, TakesItsValuesWhereTheDiskDoesNotLetTheFileBeLookedAt) {
    std::filesystem::rename(path("folder"), path("aside"));
    ASSERT_EQ(symlink(path("folder").c_str(), path("folder").c_str()), 0);
    LocalFileConfigStore next = openNext();
    std::filesystem::remove(path("folder"));
    std::filesystem::rename(path("aside"), path("folder"));
    EXPECT_EQ(contentsOf(next), (Map{{L"a", L"1"}}));
    EXPECT_EQ(tellsOfTakenValues(), 1u);
    next.persistValues();
    EXPECT_FALSE(world_.directory().exists("folder/local-backup-1.xml"));
}

TEST_F(LocalFileInPlaceOfAnother, TakesNothingOfOneThatCouldNotReadTheFileEither) {
    const std::string text = read("folder/local.xml");
    std::filesystem::rename(path("folder"), path("aside"));
    ASSERT_EQ(symlink(path("folder").c_str(), path("folder").c_str()), 0);
    LocalFileConfigStore unread("Local", 20, path("folder"), "local.xml", false, false);
    LocalFileConfigStore next("Local", 20, path("folder"), "local.xml", false, false, &unread);
    std::filesystem::remove(path("folder"));
    std::filesystem::rename(path("aside"), path("folder"));
    EXPECT_EQ(tellsOfTakenValues(), 0u);
    next.storeValue(L"b", L"2");
    next.persistValues();
    EXPECT_EQ(read("folder/local-backup-1.xml"), text);
}

TEST_F(LocalFileInPlaceOfAnother, SetsAFileAsideThatIsNotWellFormed) {
    write("folder/local.xml", "not xml");
    LocalFileConfigStore next = openNext();
    EXPECT_EQ(contentsOf(next), Map{});
    EXPECT_EQ(read("folder/local-backup.xml"), "not xml");
    EXPECT_FALSE(next.hasUnpersistedValues());
}

TEST_F(LocalFileInPlaceOfAnother, SetsAPipeAside) {
    std::filesystem::remove(path("folder/local.xml"));
    ASSERT_EQ(mkfifo(path("folder/local.xml").c_str(), 0600), 0);
    LocalFileConfigStore next = openNext();
    EXPECT_EQ(contentsOf(next), Map{});
    EXPECT_TRUE(std::filesystem::is_fifo(path("folder/local-backup.xml")));
}

TEST_F(LocalFileInPlaceOfAnother, IsEmptyWhereThereIsAFolder) {
    std::filesystem::remove(path("folder/local.xml"));
    std::filesystem::create_directory(path("folder/local.xml"));
    LocalFileConfigStore next = openNext();
    EXPECT_EQ(contentsOf(next), Map{});
    EXPECT_EQ(tellsOfTakenValues(), 0u);
}

TEST_F(LocalFileInPlaceOfAnother, ReadsItsOwnFileWhereTheOtherHasAnother) {
    write("local.xml", "<Corvid><userConfig name='b' value='2'/></Corvid>");
    const std::optional<NoMoreDescriptors> none(std::in_place, NoMoreDescriptors::Until::ItIsTold);
    LocalFileConfigStore next("Local", 20, world_.directory().path(), "local.xml", false, false, &former_);
    EXPECT_EQ(contentsOf(next), (Map{{L"b", L"2"}}));
}

TEST_F(LocalFileInPlaceOfAnother, IsEmptyWithoutAFile) {
    std::filesystem::remove(path("folder/local.xml"));
    LocalFileConfigStore next = openNext();
    EXPECT_EQ(contentsOf(next), Map{});
    EXPECT_FALSE(next.hasUnpersistedValues());
}

TEST_F(LocalFileReading, KnowsWhatTheDiskRefusesFromWhatIsNotWellFormed) {
    const auto errorOf = [](const std::string& file) {
        int error = -1;
        EXPECT_EQ(readXmlFile(file, error), nullptr) << file;
        return error;
    };
    EXPECT_EQ(errorOf(write("local.xml", "not xml")), 0);
    EXPECT_EQ(errorOf(path("missing.xml")), ENOENT);
    EXPECT_EQ(errorOf(world_.directory().path()), EISDIR);
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf(path("pipe")), EINVAL);
}

TEST_F(LocalFileReading, LeavesAReferenceThatIsAllOfAValueAsItIsWritten) {
    EXPECT_EQ(contents("<!DOCTYPE r [<!ENTITY f 'x'>]><r><userConfig name='a' value='&f;'/></r>"),
              (Map{{L"a", L"&f;"}}));
}

TEST_F(LocalFileReading, ReadsPeerToPeerCallingAsOffUnderFips) {
    write("local.xml", "<r><userConfig name='Telephony_P2P_Enabled' value='true'/></r>");
    LocalFileConfigStore store = open();
    EXPECT_EQ(valueOf(store, L"Telephony_P2P_Enabled"), L"true");
    world_.setFips(true);
    EXPECT_EQ(valueOf(store, L"Telephony_P2P_Enabled"), L"false");
}

TEST_F(LocalFileReading, GivesItsArguments) {
    LocalFileConfigStore store("N", 2147483647, path("install/"), "x.xml", true, true);
    EXPECT_EQ(store.getName(), "N");
    EXPECT_EQ(store.getPriority(), 2147483647);
    EXPECT_TRUE(store.isLocal());
    EXPECT_TRUE(store.isReadOnly());
    EXPECT_TRUE(store.waitForStoreReady());
    EXPECT_FALSE(store.shouldCacheConfigStore());
}

}  // namespace
}  // namespace storetests
