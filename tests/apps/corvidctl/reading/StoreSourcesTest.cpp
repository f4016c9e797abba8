#include "reading/StoreSources.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "reading/TransferNote.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class Sources : public ::testing::Test {
protected:
    StoreSources read() const {
        return StoreSources(
            {directory_.path("config"), directory_.path("install"), directory_.path("install/bootstrap.properties")});
    }

    void writeConfig(const std::string& name, const std::string& text) const {
        directory_.write("config/" + name, text);
    }

    fakes::TemporaryDirectory directory_;
};

int lineOf(const StoreSource& source, const std::wstring& key) {
    const KeySource* const entry = findKey(source, key);
    return entry == nullptr ? 0 : entry->line;
}

DownloadJournal::Cycle cycle(DownloadJournal::CycleEnd end, DownloadJournal::AttemptEnd attemptEnd,
                             const std::string& url, std::chrono::seconds ended) {
    DownloadJournal::Cycle made;
    made.end = end;
    made.ended = DownloadJournal::Clock::time_point(ended);
    made.attempts.emplace_back();
    made.attempts.back().url = url;
    made.attempts.back().end = attemptEnd;
    return made;
}

}  // namespace

TEST_F(Sources, KnowTheFileOfEachStore) {
    StoreSources sources = read();
    EXPECT_EQ(sources.of("TftpOverrideConfigStore").origin.file, directory_.path("config/corvid-config-user.xml"));
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.file, directory_.path("config/corvidLocalConfig.xml"));
    EXPECT_EQ(sources.of("UrlProvisioningConfigStore").origin.file,
              directory_.path("config/Cache/cachedUrlProvisioningConfigStore.xml"));
    EXPECT_EQ(sources.of("BootstrapConfigStore").origin.file, directory_.path("install/bootstrap.properties"));
    EXPECT_EQ(sources.of("corvid-config-defaults.xml").origin.file,
              directory_.path("install/corvid-config-defaults.xml"));
    EXPECT_EQ(sources.of("InMemoryConfigStore").origin.file, "");
    EXPECT_EQ(sources.of("TFTPConfigStore").origin.file, "");
    EXPECT_EQ(sources.of("localfileconfigstore").origin.file, directory_.path("config/corvidLocalConfig.xml"));
}

TEST_F(Sources, ShowFilesOfTheProfileByTheirPathBelowIt) {
    StoreSources sources = read();
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.shownFile, "corvidLocalConfig.xml");
    EXPECT_EQ(sources.of("cachedTFTPConfigStore.xml").origin.shownFile, "Cache/cachedTFTPConfigStore.xml");
    EXPECT_EQ(sources.of("BootstrapConfigStore").origin.shownFile, directory_.path("install/bootstrap.properties"));
}

TEST_F(Sources, TellWhichFilesAreMissing) {
    writeConfig("corvid-config-user.xml", "<c><g><A>1</A></g></c>");
    StoreSources sources = read();
    EXPECT_FALSE(sources.of("TftpOverrideConfigStore").origin.isMissing);
    EXPECT_TRUE(sources.of("TftpOverrideConfigStore").origin.time);
    EXPECT_TRUE(sources.of("LocalFileConfigStore").origin.isMissing);
    EXPECT_FALSE(sources.of("LocalFileConfigStore").origin.time);
    EXPECT_TRUE(sources.of("BootstrapConfigStore").origin.isMissing);
    EXPECT_EQ(sources.of("BootstrapConfigStore").origin.problem, "");
    EXPECT_FALSE(sources.of("InMemoryConfigStore").origin.isMissing);
}

TEST_F(Sources, GiveTheTimeOfTheLastChange) {
    writeConfig("corvid-config-user.xml", "<c><g><A>1</A></g></c>");
    const timespec times[2] = {{1000, 0}, {1795339800, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, directory_.path("config/corvid-config-user.xml").c_str(), times, 0), 0);
    EXPECT_EQ(read().of("TftpOverrideConfigStore").origin.time,
              StoreOrigin::Clock::time_point(std::chrono::seconds(1795339800)));
}

TEST_F(Sources, GiveTheLineOfEachKey) {
    writeConfig("corvid-config-user.xml", "<c>\n<g>\n<A>1</A>\n\n<B>2</B></g></c>");
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n  <userConfig name='C' value='3'/>\n</Corvid>");
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig>\n<d>4</d></CachedConfig></Corvid>");
    directory_.write("install/corvid-config-defaults.xml", "<Corvid>\n\n\n<userConfig name='E' value='5'/></Corvid>");
    directory_.write("install/bootstrap.properties", "# comment\n\nF: 6\r\n  G:7");
    StoreSources sources = read();
    EXPECT_EQ(lineOf(sources.of("TftpOverrideConfigStore"), L"a"), 3);
    EXPECT_EQ(lineOf(sources.of("TftpOverrideConfigStore"), L"B"), 5);
    EXPECT_EQ(lineOf(sources.of("LocalFileConfigStore"), L"C"), 2);
    EXPECT_EQ(lineOf(sources.of("cachedTFTPConfigStore.xml"), L"D"), 2);
    EXPECT_EQ(lineOf(sources.of("corvid-config-defaults.xml"), L"E"), 4);
    EXPECT_EQ(lineOf(sources.of("BootstrapConfigStore"), L"f"), 3);
    EXPECT_EQ(lineOf(sources.of("BootstrapConfigStore"), L"G"), 4);
    EXPECT_EQ(findKey(sources.of("BootstrapConfigStore"), L"C"), nullptr);
}

TEST_F(Sources, TellTheFirstEntryOfADocumentFromFurtherOnes) {
    writeConfig("corvid-config-user.xml", "<c><g>\n<A>1</A>\n<a>2</a>\n<A>3</A></g></c>");
    StoreSources sources = read();
    const KeySource* const entry = findKey(sources.of("TftpOverrideConfigStore"), L"a");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->line, 2);
    EXPECT_THAT(entry->ignoredLines, ElementsAre(3, 4));
}

TEST_F(Sources, TellOfTheFirstThousandLinesThatRepeatAKeyAndOfNoKeyWithoutAName) {
    std::string entries;
    for (int line = 0; line < 1500; ++line) {
        entries += "<A>1</A>\n";
    }
    writeConfig("corvid-config-user.xml", "<r><g>" + entries + "</g></r>");
    StoreSources sources = read();
    const StoreSource& source = sources.of("TftpOverrideConfigStore");
    EXPECT_EQ(findKey(source, L"A")->ignoredLines.size(), 1000U);
    EXPECT_EQ(findKey(source, L""), nullptr);
}

TEST_F(Sources, TellTheLastLineOfTheBootstrapFileFromEarlierOnes) {
    directory_.write("install/bootstrap.properties", "A: 1\nB: 2\na: 3\nA: 4\n");
    StoreSources sources = read();
    const KeySource* const entry = findKey(sources.of("BootstrapConfigStore"), L"A");
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->line, 4);
    EXPECT_THAT(entry->ignoredLines, ElementsAre(1, 3));
}

TEST_F(Sources, NoteWhatIsSpecialAboutALineOfTheBootstrapFile) {
    directory_.write("install/bootstrap.properties", "Word\nColour: #fff\nPlain: a:b\n#A: comment\n");
    StoreSources sources = read();
    const StoreSource& source = sources.of("BootstrapConfigStore");
    EXPECT_TRUE(findKey(source, L"Word")->lacksSeparator);
    EXPECT_FALSE(findKey(source, L"Word")->holdsHash);
    EXPECT_TRUE(findKey(source, L"Colour")->holdsHash);
    EXPECT_FALSE(findKey(source, L"Colour")->lacksSeparator);
    EXPECT_FALSE(findKey(source, L"Plain")->holdsHash || findKey(source, L"Plain")->lacksSeparator);
    EXPECT_EQ(source.keys.size(), 3U);
}

TEST_F(Sources, NoteWhatIsSpecialAboutAnEntry) {
    writeConfig("corvid-config-user.xml", "<c><g><A sensitive='true'>1</A><B><x/></B></g></c>");
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig name='vvm_mailstore_server_0' value='v'/></Corvid>");
    directory_.write("install/corvid-config-defaults.xml",
                     "<Corvid><userConfig name='VVM_Mailstore_Server_0' value='v'/></Corvid>");
    StoreSources sources = read();
    EXPECT_TRUE(findKey(sources.of("TftpOverrideConfigStore"), L"A")->isMarkedSensitive);
    EXPECT_FALSE(findKey(sources.of("TftpOverrideConfigStore"), L"A")->isMarkup);
    EXPECT_TRUE(findKey(sources.of("TftpOverrideConfigStore"), L"B")->isMarkup);
    EXPECT_TRUE(findKey(sources.of("LocalFileConfigStore"), L"VoicemailPrimaryServer")->underOldName);
    EXPECT_FALSE(findKey(sources.of("corvid-config-defaults.xml"), L"VVM_Mailstore_Server_0")->underOldName);
}

TEST_F(Sources, TellWhereAFileIsBroken) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n<userConfig name='A'\n</Corvid>");
    StoreSources sources = read();
    const StoreOrigin& origin = sources.of("LocalFileConfigStore").origin;
    EXPECT_THAT(origin.problem, testing::StartsWith("line 3, column "));
    EXPECT_EQ(origin.problemLine, 3);
    EXPECT_EQ(origin.setAside, "");
    EXPECT_TRUE(directory_.exists("config/corvidLocalConfig.xml"));
    EXPECT_EQ(stateOf(origin, 0), StoreState::Failed);
}

TEST_F(Sources, QuoteNothingOfABrokenDocument) {
    writeConfig("corvid-config-user.xml", "<c><g><ConnectionPassword>s3cret<w0rd&pa55;</ConnectionPassword></g></c>");
    StoreSources sources = read();
    EXPECT_THAT(sources.of("TftpOverrideConfigStore").origin.problem,
                testing::MatchesRegex("line [0-9]+, column [0-9]+: it is not well-formed XML"));
}

TEST_F(Sources, CallAFolderInADocumentsPlaceAFailure) {
    writeConfig("Cache/cachedTFTPConfigStore.xml/file", "");
    StoreSources sources = read();
    EXPECT_EQ(sources.of("cachedTFTPConfigStore.xml").origin.problem, "it cannot be read");
}

TEST_F(Sources, CallAFileOfTheWrongFormAFailure) {
    writeConfig("corvid-config-user.xml", "<Corvid><userConfig name='A' value='1'/></Corvid>");
    StoreSources sources = read();
    EXPECT_THAT(sources.of("TftpOverrideConfigStore").origin.problem, HasSubstr("no key is read from it"));
}

TEST_F(Sources, CallAFolderInTheBootstrapFilesPlaceAFailure) {
    directory_.write("install/bootstrap.properties/file", "");
    StoreSources sources = read();
    EXPECT_EQ(sources.of("BootstrapConfigStore").origin.problem, "it cannot be read");
}

TEST_F(Sources, LeaveAPipeToTheModule) {
    directory_.write("install/corvid-config-defaults.xml", "<Corvid/>");
    ASSERT_EQ(mkfifo(directory_.path("install/bootstrap.properties").c_str(), 0600), 0);
    StoreSources sources = read();
    EXPECT_EQ(sources.of("BootstrapConfigStore").origin.problem, "");
    EXPECT_THAT(sources.of("BootstrapConfigStore").keys, IsEmpty());
}

TEST_F(Sources, TellWhereTheModuleHasPutABrokenFile) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>");
    StoreSources sources = read();
    std::filesystem::rename(directory_.path("config/corvidLocalConfig.xml"),
                            directory_.path("config/corvidLocalConfig-backup.xml"));
    sources.noteFilesSetAside();
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.setAside, "corvidLocalConfig-backup.xml");
}

TEST_F(Sources, ClaimNoMoveOfABrokenFileThatStillLiesThere) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>");
    writeConfig("corvidLocalConfig-backup.xml", "<older>");
    StoreSources sources = read();
    sources.noteFilesSetAside();
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.setAside, "");
}

TEST_F(Sources, TellWhereAnEarlierBrokenFileLies) {
    writeConfig("corvidLocalConfig-backup.xml", "<Corvid>");
    StoreSources sources = read();
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.setAside, "corvidLocalConfig-backup.xml");
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.problem, "");
}

TEST_F(Sources, TellKeptCopiesFromOtherFiles) {
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<r><g><A>1</A></g></r>");
    writeConfig("Cache/cachedUrlProvisioningConfigStore.xml", "<r><g><B>1</B></g></r>");
    writeConfig("Cache/other.xml", "<r><g><C>1</C></g></r>");
    StoreSources sources = read();
    EXPECT_THAT(sources.keptCopies(), ElementsAre("cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(sources.of("cachedTFTPConfigStore.xml").origin.isCached);
    EXPECT_FALSE(sources.of("UrlProvisioningConfigStore").origin.isCached);
    EXPECT_EQ(lineOf(sources.of("UrlProvisioningConfigStore"), L"B"), 1);
}

TEST_F(Sources, KnowAKeptCopyThatWasNeverWritten) {
    StoreSources sources = read();
    const StoreOrigin& origin = sources.of("cachedPresenceConfigStore.xml").origin;
    EXPECT_TRUE(origin.isCached);
    EXPECT_TRUE(origin.isMissing);
    EXPECT_EQ(origin.file, directory_.path("config/Cache/cachedPresenceConfigStore.xml"));
}

TEST_F(Sources, NoteTheTransferThatDeliveredLast) {
    using CycleEnd = DownloadJournal::CycleEnd;
    using AttemptEnd = DownloadJournal::AttemptEnd;
    using namespace std::chrono_literals;
    DownloadJournal::Snapshot downloads;
    downloads.cycles.push_back(cycle(CycleEnd::Delivered, AttemptEnd::Delivered, "http://first", 10s));
    downloads.cycles.push_back(cycle(CycleEnd::Delivered, AttemptEnd::Delivered, "http://second", 20s));
    downloads.cycles.push_back(cycle(CycleEnd::Exhausted, AttemptEnd::Failed, "http://third", 30s));
    StoreSources sources = read();
    sources.noteDownloads(downloads);
    EXPECT_EQ(sources.of("TFTPConfigStore").origin.url, "http://second");
    EXPECT_EQ(sources.of("TFTPConfigStore").origin.time, StoreOrigin::Clock::time_point(20s));
    EXPECT_TRUE(sources.of("TFTPConfigStore").origin.isLive);
}

TEST_F(Sources, ReadAnewWhatTheClientWritesAndNothingElse) {
    const std::string line = "<Corvid>\n<userConfig name=\"A\" value=\"1\"/>\n";
    writeConfig("corvidLocalConfig.xml", line + "</Corvid>");
    writeConfig("corvid-config-user.xml", "<c><g><A>1</A></g></c>");
    writeConfig("Cache/cachedOld.xml", "<c><g><A>1</A></g></c>");
    StoreSources sources = read();
    writeConfig("corvidLocalConfig.xml", line + "<userConfig name=\"B\" value=\"1\"/>\n</Corvid>");
    writeConfig("corvid-config-user.xml", "<c><g><B>1</B></g></c>");
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<c>\n<g>\n<B>1</B></g></c>");
    std::filesystem::remove(directory_.path("config/Cache/cachedOld.xml"));
    sources.readOwnFilesAgain();
    EXPECT_EQ(lineOf(sources.of("LocalFileConfigStore"), L"B"), 3);
    EXPECT_EQ(lineOf(sources.of("cachedTFTPConfigStore.xml"), L"B"), 3);
    EXPECT_EQ(lineOf(sources.of("TftpOverrideConfigStore"), L"A"), 1);
    EXPECT_EQ(lineOf(sources.of("TftpOverrideConfigStore"), L"B"), 0);
    EXPECT_THAT(sources.keptCopies(), ElementsAre("cachedTFTPConfigStore.xml"));
}

TEST_F(Sources, KeepInMindWhatTheUsersFileHadAtTheStart) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n<userConfig name=\"A\" value=\"1\"/>\n</Corvid>");
    StoreSources sources = read();
    for (int reading = 0; reading < 2; ++reading) {
        writeConfig("corvidLocalConfig.xml", "<Corvid/>");
        sources.readOwnFilesAgain();
        const StoreSource& source = sources.of("LocalFileConfigStore");
        EXPECT_EQ(lineOf(source, L"A"), 0);
        ASSERT_EQ(source.keysAtStart.count(L"a"), 1U);
        EXPECT_EQ(source.keysAtStart.at(L"a").line, 2);
    }
}

TEST_F(Sources, ReadNoFileAgainThatNobodyHasWritten) {
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::seconds(10);
    writeConfig("corvidLocalConfig.xml", "<Corvid/>");
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<broken");
    for (const char* const file : {"corvidLocalConfig.xml", "Cache/cachedTFTPConfigStore.xml"}) {
        std::filesystem::last_write_time(directory_.path("config/" + std::string(file)), longAgo);
    }
    StoreSources sources = read();
    StoreSources later = sources;
    later.readOwnFilesAgain();
    for (const char* const store : {"LocalFileConfigStore", "cachedTFTPConfigStore.xml"}) {
        EXPECT_EQ(&later.of(store), &sources.of(store));
    }
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<c/>");
    later.readOwnFilesAgain();
    EXPECT_EQ(later.of("cachedTFTPConfigStore.xml").origin.problem, "");
    EXPECT_THAT(sources.of("cachedTFTPConfigStore.xml").origin.problem, HasSubstr("not well-formed"));
    EXPECT_EQ(&later.of("LocalFileConfigStore"), &sources.of("LocalFileConfigStore"));
}

TEST_F(Sources, ReadACopyAgainWhenItsNoteHasBeenWritten) {
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<c/>");
    const std::string copy = directory_.path("config/Cache/cachedTFTPConfigStore.xml");
    std::filesystem::last_write_time(copy, std::filesystem::file_time_type::clock::now() - std::chrono::seconds(10));
    StoreSources sources = read();
    EXPECT_EQ(sources.of("cachedTFTPConfigStore.xml").origin.url, "");
    ASSERT_TRUE(leaveNote(copy, {"https://192.0.2.1/file.xml", "192.0.2.1", "12.5", {}}));
    sources.readOwnFilesAgain();
    EXPECT_EQ(sources.of("cachedTFTPConfigStore.xml").origin.url, "https://192.0.2.1/file.xml");
}

TEST_F(Sources, KeepTheProblemOfAFileThatWasSetAsideUntilThereIsAnother) {
    writeConfig("corvidLocalConfig.xml", "<broken");
    StoreSources sources = read();
    std::filesystem::rename(directory_.path("config/corvidLocalConfig.xml"),
                            directory_.path("config/corvidLocalConfig-backup.xml"));
    sources.noteFilesSetAside();
    sources.readOwnFilesAgain();
    EXPECT_THAT(sources.of("LocalFileConfigStore").origin.problem, HasSubstr("not well-formed"));
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.setAside, "corvidLocalConfig-backup.xml");
    writeConfig("corvidLocalConfig.xml", "<Corvid/>");
    sources.readOwnFilesAgain();
    EXPECT_EQ(sources.of("LocalFileConfigStore").origin.problem, "");
}

TEST(StateOfAStore, IsWhatItsFileAndItsKeysSay) {
    StoreOrigin origin;
    EXPECT_STREQ(nameOf(stateOf(origin, 1)), "loaded");
    EXPECT_STREQ(nameOf(stateOf(origin, 0)), "empty");
    origin.isMissing = true;
    EXPECT_STREQ(nameOf(stateOf(origin, 0)), "missing");
    EXPECT_STREQ(nameOf(stateOf(origin, 1)), "loaded");
    origin.problem = "line 1: broken";
    EXPECT_STREQ(nameOf(stateOf(origin, 0)), "failed");
}
