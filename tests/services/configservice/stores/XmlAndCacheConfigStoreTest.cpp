#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/XmlConfigStore.h"
#include "support/NoFolderSyncs.h"
#include "support/NoMoreDescriptors.h"

namespace storetests {
namespace {

using XmlStore = StoreTest;

TEST_F(XmlStore, IsEmptyWithoutItsFile) {
    XmlConfigStore store("X", 10, false, path("none.xml"), true);
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_TRUE(misses(store, L"key"));
}

TEST_F(XmlStore, IsEmptyWithABrokenFile) {
    XmlConfigStore store("X", 10, false, write("c.xml", "<r><G><A>1</A>"), true);
    EXPECT_TRUE(store.getKeys().empty());
}

TEST_F(XmlStore, LeavesTheFileAloneUnlessItIsToldToRead) {
    XmlConfigStore store("X", 10, false, write("c.xml", serverDocument("<A>1</A>")), false);
    EXPECT_TRUE(store.getKeys().empty());
}

TEST_F(XmlStore, ListsButNeverAnswersCertificateValidation) {
    XmlConfigStore store(
        "X", 10, false,
        write("c.xml", serverDocument("<CertificateValidationEnabled>0</CertificateValidationEnabled>")), true);
    EXPECT_TRUE(misses(store, L"CertificateValidationEnabled"));
    EXPECT_TRUE(misses(store, L"CERTIFICATEVALIDATIONENABLED"));
    EXPECT_THAT(store.getKeys(), testing::ElementsAre(L"certificatevalidationenabled"));
}

TEST_F(XmlStore, ReadsPeerToPeerCallingAsOffUnderFipsAndMissesItWithoutTheKey) {
    const std::string file = write("c.xml", serverDocument("<Telephony_P2P_Enabled>true</Telephony_P2P_Enabled>"));
    XmlConfigStore store("X", 10, false, file, true);
    XmlConfigStore empty("Y", 10, false, path("none.xml"), true);
    world_.setFips(true);
    EXPECT_EQ(valueOf(store, L"Telephony_P2P_Enabled"), L"false");
    EXPECT_TRUE(misses(empty, L"Telephony_P2P_Enabled"));
}

TEST_F(XmlStore, KeepsAllValuesWhenAskedToRemoveThem) {
    XmlConfigStore store("X", 10, false, write("c.xml", serverDocument("<A>1</A>")), true);
    store.removeAllValues();
    EXPECT_EQ(valueOf(store, L"a"), L"1");
}

TEST_F(XmlStore, MergesKeysThatDifferInCaseToTheFirst) {
    XmlConfigStore store("X", 10, false, write("c.xml", serverDocument("<Key>1</Key><KEY>2</KEY>")), true);
    EXPECT_EQ(contentsOf(store), (Map{{L"key", L"1"}}));
}

TEST_F(XmlStore, StoresAndRemovesInMemoryOnly) {
    const std::string document = serverDocument("<A>1</A><B>2</B>");
    XmlConfigStore store("X", 10, false, write("c.xml", document), true);
    EXPECT_TRUE(store.storeValue(L"C", L"3"));
    EXPECT_TRUE(store.removeValue(L"A"));
    EXPECT_FALSE(store.removeValue(L"A"));
    store.persistValues();
    store.destroy();
    EXPECT_EQ(contentsOf(store), (Map{{L"b", L"2"}, {L"C", L"3"}}));
    EXPECT_EQ(read("c.xml"), document);
}

TEST_F(XmlStore, ForgetsWhatWasRemovedUntilItIsStoredAnew) {
    XmlConfigStore store("X", 10, false, write("c.xml", serverDocument("<A>1</A><B>2</B><C>3</C>")), true);
    EXPECT_TRUE(store.removeValue(L"a"));
    EXPECT_TRUE(store.removeValue(L"B"));
    EXPECT_FALSE(store.removeValue(L"A"));
    EXPECT_FALSE(store.removeValue(L"d"));
    EXPECT_EQ(contentsOf(store), (Map{{L"c", L"3"}}));
    std::wstring value = L"as it was";
    EXPECT_FALSE(store.getValue(L"b", value));
    EXPECT_EQ(value, L"");
    EXPECT_TRUE(store.storeValue(L"b", L"4"));
    EXPECT_EQ(contentsOf(store), (Map{{L"b", L"4"}, {L"c", L"3"}}));
    EXPECT_TRUE(store.removeValue(L"b"));
    EXPECT_EQ(contentsOf(store), (Map{{L"c", L"3"}}));
}

TEST_F(XmlStore, DoesNotNoticeALaterChangeOfItsFile) {
    XmlConfigStore store("X", 10, false, write("c.xml", serverDocument("<A>1</A>")), true);
    write("c.xml", serverDocument("<A>2</A>"));
    EXPECT_EQ(valueOf(store, L"a"), L"1");
}

TEST_F(XmlStore, GivesItsArguments) {
    XmlConfigStore local("First", -5, true, path("c.xml"), false);
    XmlConfigStore remote("Second", 7, false, path("c.xml"), false);
    EXPECT_EQ(local.getName(), "First");
    EXPECT_EQ(local.getPriority(), -5);
    EXPECT_TRUE(local.isLocal());
    EXPECT_FALSE(remote.isLocal());
    EXPECT_TRUE(remote.isReadOnly());
    EXPECT_TRUE(remote.waitForStoreReady());
    EXPECT_FALSE(remote.shouldCacheConfigStore());
}

TEST_F(XmlStore, LosesNoRemovalWhenReadersAndRemoversMeet) {
    XmlConfigStore store("X", 10, false, path("none.xml"), false);
    constexpr int perThread = 50;
    for (int number = 0; number < 4 * perThread; ++number) {
        store.storeValue(L"key" + std::to_wstring(number), L"v");
    }
    std::atomic<int> removed{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&store, &removed, thread] {
            for (int number = thread * perThread; number < (thread + 1) * perThread; ++number) {
                std::wstring value;
                store.getValue(L"key0", value);
                removed += store.removeValue(L"key" + std::to_wstring(number)) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(removed, 4 * perThread);
    EXPECT_TRUE(store.getKeys().empty());
}

/// A store that has read its file, and one that is to take its place.
class XmlStoreInPlaceOfAnother : public StoreTest {
protected:
    std::unique_ptr<XmlConfigStore> openNext() {
        return std::make_unique<XmlConfigStore>("X", 10, false, file_, true, &former_);
    }

    std::size_t tellsOfKeptValues() const {
        return log_->count(3, "file cannot be read, the values from before are kept: " + file_);
    }

    const std::string file_ = write("folder/c.xml", serverDocument("<A>1</A><B>2</B>"));
    XmlConfigStore former_{"X", 10, false, file_, true};
};

TEST_F(XmlStoreInPlaceOfAnother, KeepsItsValuesWhereTheDiskDoesNotGiveTheFile) {
    former_.removeValue(L"b");
    std::optional<support::NoMoreDescriptors> none(std::in_place, support::NoMoreDescriptors::Until::TheEnd);
    const auto next = openNext();
    const XmlConfigStore third("X", 10, false, file_, true, next.get());
    none.reset();
    EXPECT_EQ(contentsOf(*next), (Map{{L"a", L"1"}}));
    EXPECT_EQ(tellsOfKeptValues(), 2u);
    XmlConfigStore last("X", 10, false, file_, true, next.get());
    EXPECT_EQ(contentsOf(last), (Map{{L"a", L"1"}, {L"b", L"2"}})) << "what is in the file, once it can be read";
}

TEST_F(XmlStoreInPlaceOfAnother, KeepsItsValuesWhereTheDiskDoesNotLetTheFileBeLookedAt) {
    std::filesystem::rename(path("folder"), path("aside"));
    std::filesystem::create_symlink(path("folder"), path("folder"));
    EXPECT_EQ(contentsOf(*openNext()), (Map{{L"a", L"1"}, {L"b", L"2"}}));
    EXPECT_EQ(tellsOfKeptValues(), 1u);
}

TEST_F(XmlStoreInPlaceOfAnother, KeepsNothingOnceTheFileIsGoneOrBrokenOrNoFile) {
    write("folder/c.xml", "<r><G><A>1</A>");
    EXPECT_EQ(contentsOf(*openNext()), Map{});
    std::filesystem::remove(file_);
    EXPECT_EQ(contentsOf(*openNext()), Map{});
    std::filesystem::create_directory(file_);
    EXPECT_EQ(contentsOf(*openNext()), Map{});
    EXPECT_EQ(tellsOfKeptValues(), 0u);
}

TEST_F(XmlStoreInPlaceOfAnother, KeepsNothingOfAnotherFile) {
    write("other.xml", serverDocument("<C>3</C>"));
    const support::NoMoreDescriptors none(support::NoMoreDescriptors::Until::TheEnd);
    XmlConfigStore next("X", 10, false, path("other.xml"), true, &former_);
    EXPECT_EQ(contentsOf(next), Map{});
}

class CacheStore : public StoreTest {
protected:
    const std::string file_ = path("Cache/cachedX.xml");
};

TEST_F(CacheStore, HasWrittenItsFileWhenItIsMadeFromValues) {
    CacheConfigStore made("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    CacheConfigStore restarted("cachedX.xml", 240, file_);
    EXPECT_EQ(contentsOf(restarted), (Map{{L"a", L"1"}}));
}

TEST_F(CacheStore, WritesLaterValuesWhenItIsPersisted) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}, {L"b", L"2"}});
    store.storeValue(L"c", L"3");
    store.removeValue(L"a");
    store.persistValues();
    CacheConfigStore restarted("cachedX.xml", 240, file_);
    EXPECT_EQ(contentsOf(restarted), (Map{{L"b", L"2"}, {L"c", L"3"}}));
}

TEST_F(CacheStore, WorksInMemoryWhenItsFileCannotBeWritten) {
    write("Cache", "a file where the folder should be");
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_EQ(valueOf(store, L"a"), L"1");
}

TEST_F(CacheStore, HasUnwrittenValuesUntilAWriteGoesWell) {
    write("Cache", "a file where the folder should be");
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_TRUE(store.hasUnwrittenValues());
    std::filesystem::remove(path("Cache"));
    EXPECT_TRUE(store.hasUnwrittenValues());
    store.persistValues();
    EXPECT_FALSE(store.hasUnwrittenValues());
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>1</a>"));
}

TEST_F(CacheStore, HasUnwrittenValuesWhileTheFileIsTheOldOne) {
    write("Cache/cachedX.xml", serverDocument("<A>old</A>"));
    std::filesystem::create_directory(file_ + ".temp");
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_TRUE(store.hasUnwrittenValues());
    std::filesystem::remove(file_ + ".temp");
    CacheConfigStore later("cachedX.xml", 240, file_, ConfigMap{{L"a", L"2"}});
    EXPECT_FALSE(later.hasUnwrittenValues());
    EXPECT_FALSE(store.hasUnwrittenValues()) << "the file holds later values";
}

TEST_F(CacheStore, WritesAgainOnlyWhatTheLastWriteCouldNotAndNobodyHasWrittenSince) {
    write("Cache", "a file where the folder should be");
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    store.persistAgain();
    EXPECT_TRUE(store.hasUnwrittenValues());
    std::filesystem::remove(path("Cache"));
    store.persistAgain();
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>1</a>"));
    std::filesystem::remove(file_);
    store.persistAgain();
    EXPECT_FALSE(std::filesystem::exists(file_)) << "the last write went well";
    std::filesystem::create_directory(file_ + ".temp");
    store.persistValues();
    std::filesystem::remove(file_ + ".temp");
    const CacheConfigStore later("cachedX.xml", 240, file_, ConfigMap{{L"a", L"2"}});
    store.persistAgain();
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>2</a>"));
}

TEST_F(CacheStore, WritesAgainWhatIsInPlaceInAFolderThatCouldNotBeSynced) {
    std::optional<support::NoFolderSyncs> none(std::in_place);
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>1</a>"));
    EXPECT_TRUE(store.hasUnwrittenValues()) << "a power cut may take the file";
    store.persistAgain();
    EXPECT_TRUE(store.hasUnwrittenValues());
    none.reset();
    store.persistAgain();
    EXPECT_FALSE(store.hasUnwrittenValues());
}

TEST_F(CacheStore, WritesNothingAgainThatWasInPlaceAndIsGone) {
    std::optional<support::NoFolderSyncs> none(std::in_place);
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    none.reset();
    std::filesystem::remove(file_);
    EXPECT_FALSE(store.hasUnwrittenValues());
    store.persistAgain();
    EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(CacheStore, LeavesALaterFileInAFolderThatCouldNotBeSyncedBefore) {
    std::optional<support::NoFolderSyncs> none(std::in_place);
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    none.reset();
    const CacheConfigStore later("cachedX.xml", 240, file_, ConfigMap{{L"a", L"2"}});
    EXPECT_FALSE(store.hasUnwrittenValues());
    store.persistAgain();
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>2</a>"));
}

TEST_F(CacheStore, LeavesAFileThatComesAsSoonAsItsWriteHasFailed) {
    std::filesystem::create_directories(file_);
    const std::string other = serverDocument("<A>2</A>");
    log_->atNext("data NOT written to file: " + file_, [&] {
        std::filesystem::remove(file_);
        write("Cache/cachedX.xml", other);
    });
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    EXPECT_FALSE(store.hasUnwrittenValues());
    store.persistAgain();
    EXPECT_EQ(read("Cache/cachedX.xml"), other);
}

TEST_F(CacheStore, HasNoUnwrittenValuesWhenItHasOnlyRead) {
    CacheConfigStore store("cachedX.xml", 240, file_);
    EXPECT_FALSE(store.hasUnwrittenValues());
}

TEST_F(CacheStore, RestoresItsFileOnlyWhereThereIsNone) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    std::filesystem::remove_all(path("Cache"));
    store.restoreFile();
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("<a>1</a>"));
    const std::string other = serverDocument("<A>2</A>");
    write("Cache/cachedX.xml", other);
    store.restoreFile();
    EXPECT_EQ(read("Cache/cachedX.xml"), other);
    EXPECT_FALSE(store.hasUnwrittenValues());
}

TEST_F(CacheStore, HasUnwrittenValuesWhenItsFileCannotBeRestored) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"a", L"1"}});
    std::filesystem::remove_all(path("Cache"));
    write("Cache", "a file where the folder should be");
    store.restoreFile();
    EXPECT_TRUE(store.hasUnwrittenValues());
}

TEST_F(CacheStore, KeepsCertificateValidationInItsFile) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"CertificateValidationEnabled", L"0"}});
    EXPECT_TRUE(misses(store, L"CertificateValidationEnabled"));
    EXPECT_THAT(read("Cache/cachedX.xml"), testing::HasSubstr("CertificateValidationEnabled"));
}

TEST_F(CacheStore, IsAReadOnlyLocalStoreThatIsNotCachedItself) {
    CacheConfigStore store("cachedX.xml", 240, file_);
    EXPECT_TRUE(store.isReadOnly());
    EXPECT_TRUE(store.isLocal());
    EXPECT_FALSE(store.shouldCacheConfigStore());
    EXPECT_EQ(store.getPriority(), 240);
}

TEST_F(CacheStore, IsEmptyWhenAKeyWasNoName) {
    CacheConfigStore store("cachedX.xml", 240, file_, ConfigMap{{L"two words", L"1"}, {L"a", L"1"}});
    CacheConfigStore restarted("cachedX.xml", 240, file_);
    EXPECT_TRUE(restarted.getKeys().empty());
}

TEST_F(CacheStore, LeavesAWholeFileWhenSeveralStoresOfOneFilePersist) {
    CacheConfigStore first("cachedX.xml", 240, file_, ConfigMap{{L"a", std::wstring(20000, L'1')}});
    CacheConfigStore second("cachedX.xml", 240, file_, ConfigMap{{L"a", std::wstring(90000, L'2')}});
    const auto persistOften = [](CacheConfigStore& store) {
        for (int round = 0; round < 20; ++round) {
            store.persistValues();
        }
    };
    std::thread other([&] { persistOften(first); });
    persistOften(second);
    other.join();
    CacheConfigStore restarted("cachedX.xml", 240, file_);
    EXPECT_THAT(valueOf(restarted, L"a"), testing::AnyOf(std::wstring(20000, L'1'), std::wstring(90000, L'2')));
}

}  // namespace
}  // namespace storetests
