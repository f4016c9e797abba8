#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <thread>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "xml/XmlFileWriter.h"

namespace storetests {
namespace {

/// Waits for a folder to get its first entry. Made before whatever makes the entry.
class FirstEntry {
public:
    explicit FirstEntry(const std::string& folder) : events_(::inotify_init1(IN_CLOEXEC)) {
        EXPECT_GE(::inotify_add_watch(events_, folder.c_str(), IN_CREATE), 0);
    }
    ~FirstEntry() { ::close(events_); }

    FirstEntry(const FirstEntry&) = delete;
    FirstEntry& operator=(const FirstEntry&) = delete;

    void wait() const {
        alignas(inotify_event) std::array<char, 4096> event;
        EXPECT_GT(::read(events_, event.data(), event.size()), 0);
    }

private:
    const int events_;
};

/// A store whose file lies in a folder that its first write makes. Whoever finds the folder made, and holds the lock of
/// unfinished files, knows that a write is under way and cannot end. A reader that waits for it never returns.
class StoresDuringAWrite : public StoreTest {
protected:
    /// Lets a write begin, uses the store, lets the write end.
    template <typename Use>
    void duringAWriteOf(ConfigStore& store, const Use& use) {
        const FirstEntry folder(world_.directory().path());
        std::unique_ptr<tessel::ScopedLock> disk = std::make_unique<tessel::ScopedLock>(XmlFileWriter::siblingMutex());
        std::thread writer([&store] { store.persistValues(); });
        folder.wait();
        use();
        disk.reset();
        writer.join();
    }

    /// Everything that must not wait for the disk.
    static void readAndStore(ConfigStore& store) {
        EXPECT_EQ(valueOf(store, L"a"), L"1");
        EXPECT_TRUE(store.storeValue(L"b", L"2"));
        EXPECT_EQ(valueOf(store, L"b"), L"2");
        EXPECT_THAT(store.getKeys(), testing::ElementsAre(L"a", L"b"));
        EXPECT_TRUE(store.removeValue(L"a"));
        EXPECT_TRUE(misses(store, L"a"));
    }
};

TEST_F(StoresDuringAWrite, AnswerAndTakeValuesInALocalFile) {
    LocalFileConfigStore store("L", 20, path("folder"), "local.xml", false, false);
    store.storeValue(L"a", L"1");
    duringAWriteOf(store, [&store] {
        readAndStore(store);
        EXPECT_TRUE(store.hasUnpersistedValues());
        store.removeAllValues();
        EXPECT_TRUE(store.getKeys().empty());
    });
    EXPECT_TRUE(store.hasUnpersistedValues()) << "what was removed meanwhile";
    LocalFileConfigStore written("L", 20, path("folder"), "local.xml", false, false);
    EXPECT_EQ(contentsOf(written), (Map{{L"a", L"1"}})) << "the values as the write began";
}

TEST_F(StoresDuringAWrite, HaveWhatIsAskedForMeanwhileStillToDo) {
    LocalFileConfigStore store("L", 20, path("folder"), "local.xml", false, false);
    store.storeValue(L"a", L"1");
    const std::uint64_t before = store.requestPersist();
    std::uint64_t meanwhile = 0;
    duringAWriteOf(store, [&] {
        store.storeValue(L"b", L"2");
        meanwhile = store.requestPersist();
    });
    store.persistRequested(before);
    EXPECT_TRUE(store.hasUnpersistedValues());
    store.persistRequested(meanwhile);
    EXPECT_FALSE(store.hasUnpersistedValues());
}

TEST_F(StoresDuringAWrite, AnswerAndTakeValuesInACache) {
    CacheConfigStore store("cachedX.xml", 240, path("Cache/cachedX.xml"));
    store.storeValue(L"a", L"1");
    duringAWriteOf(store, [&store] { readAndStore(store); });
    CacheConfigStore written("cachedX.xml", 240, path("Cache/cachedX.xml"));
    EXPECT_EQ(contentsOf(written), (Map{{L"a", L"1"}})) << "the values as the write began";
}

}  // namespace
}  // namespace storetests
