#include <fcntl.h>
#include <sys/file.h>

#include <filesystem>
#include <random>

#include "FaultSupport.h"
#include "stores/CacheConfigStore.h"
#include "support/StrangersLink.h"
#include "xml/SiblingLock.h"

namespace storetests {
namespace {

class CacheFileFaults : public StoreTest {
protected:
    Map restarted() const {
        CacheConfigStore store("cachedX.xml", 240, file_);
        return contentsOf(store);
    }

    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path("Cache"))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    const std::string file_ = path("Cache/cachedX.xml");
};

TEST_F(CacheFileFaults, LeaveOneWholeAcknowledgedOrNewerStateAfterAKill) {
    const unsigned seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int crash = 0; crash < 10; ++crash) {
        std::filesystem::remove(file_);
        const int rounds = std::uniform_int_distribution(1, 6)(random);
        CacheConfigStore written("cachedX.xml", 240, file_);
        const auto persist = [&written](int round) {
            storeState(written, round);
            written.persistValues();
        };
        const int acknowledged = persistAndKill(persist, rounds, random);
        CacheConfigStore store("cachedX.xml", 240, file_);
        EXPECT_GE(roundOf(store), acknowledged);
        EXPECT_GE(acknowledged + 1, rounds);
    }
}

TEST_F(CacheFileFaults, KeepTheOldFileWholeOnAFullDisk) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    const std::string old = read("Cache/cachedX.xml");
    store.storeValue(L"b", std::wstring(100000, L'x'));
    for (const rlim_t room : {rlim_t{0}, rlim_t{50}, rlim_t{5000}, rlim_t{99000}}) {
        log_->clear();
        {
            const ScopedFileSizeLimit limit(room);
            store.persistValues();
        }
        EXPECT_EQ(read("Cache/cachedX.xml"), old);
        EXPECT_THAT(filesInFolder(), testing::ElementsAre("cachedX.xml"));
        EXPECT_THAT(linesOf(log_, "XmlConfigParser"), testing::ElementsAre(Line{2, "XmlConfigParser", "writeToFile",
                                                                                "data NOT written to file: " + file_}));
    }
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}, {L"b", std::wstring(100000, L'x')}}));
}

TEST_F(CacheFileFaults, StillCallAWriteThatFailsLateAWrite) {
    const ScopedFileSizeLimit limit(50);
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}})) << "the writer could be opened";
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(CacheFileFaults, DenyADocumentThatDoesNotFitOnTheDisk) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, "<r><G><A>1</A></G></r>"));
    {
        const ScopedFileSizeLimit limit(50);
        EXPECT_FALSE(XmlConfigParser::writeToFile(file_, serverDocument("<A>" + std::string(9000, 'x') + "</A>")));
    }
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("cachedX.xml"));
}

/// Somebody else has put a link in the place of the cache folder.
class CacheFolderOfAStranger : public CacheFileFaults {
protected:
    void SetUp() override {
        write("elsewhere/cachedX.xml", "theirs");
        write("elsewhere/cachedX.xml.temp", "theirs too");
        if (!support::makeStrangersLink(path("elsewhere"), path("Cache"))) {
            GTEST_SKIP() << "only root can make somebody else's link";
        }
    }

    void expectNothingWritten() const {
        EXPECT_EQ(read("elsewhere/cachedX.xml"), "theirs");
        EXPECT_EQ(read("elsewhere/cachedX.xml.temp"), "theirs too");
        EXPECT_THAT(log_->lines(),
                    testing::ElementsAre(Line{2, "XmlConfigParser", "writeToFile",
                                              "data NOT written to file, since somebody else has put a link in the "
                                              "place of its folder or of the configuration's: " +
                                                  file_}));
    }
};

TEST_F(CacheFileFaults, LeaveTheFileOldInAConfigurationFolderOfAStrangers) {
    write("elsewhere/Cache/cachedX.xml", "theirs");
    std::filesystem::remove_all(world_.configDirectory());
    if (!support::makeStrangersLink(path("elsewhere"), world_.configDirectory())) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    CacheConfigStore store("cachedX.xml", 240, path("config/Cache/cachedX.xml"), ConfigMap{{L"a", L"1"}});
    EXPECT_EQ(read("elsewhere/Cache/cachedX.xml"), "theirs");
    EXPECT_EQ(log_->texts(2).size(), 1u);
    EXPECT_TRUE(store.hasUnwrittenValues());
}

TEST_F(CacheFolderOfAStranger, IsWrittenToByNoStore) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    expectNothingWritten();
    EXPECT_EQ(contentsOf(store), (Map{{L"a", L"1"}}));
    EXPECT_TRUE(store.hasUnwrittenValues());
    std::filesystem::remove(path("Cache"));
    store.persistValues();
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
}

TEST_F(CacheFolderOfAStranger, GetsNoDocument) {
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, "<r><G><A>1</A></G></r>"));
    expectNothingWritten();
}

TEST_F(CacheFolderOfAStranger, IsNotMadeWhereTheLinkLeadsNowhere) {
    std::filesystem::remove_all(path("elsewhere"));
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}}));
    EXPECT_FALSE(std::filesystem::exists(path("elsewhere")));
}

TEST_F(CacheFolderOfAStranger, HoldsNobodyUpByItsLock) {
    const int theirs = ::open(path("elsewhere").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(::flock(theirs, LOCK_EX), 0);
    { const SiblingLock lock(path("Cache")); }
    ::close(theirs);
}

TEST_F(CacheFileFaults, AreNoneWhereTheUsersOwnLinkLeadsToTheFolder) {
    std::filesystem::create_directory(path("elsewhere"));
    std::filesystem::create_directory_symlink(path("elsewhere"), path("Cache"));
    const CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_EQ(restarted(), (Map{{L"a", L"1"}}));
    EXPECT_TRUE(world_.directory().exists("elsewhere/cachedX.xml"));
}

}  // namespace
}  // namespace storetests
