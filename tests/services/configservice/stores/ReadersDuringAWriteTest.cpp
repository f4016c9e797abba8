#include <functional>
#include <future>
#include <thread>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "xml/XmlFileWriter.h"

namespace storetests {
namespace {

class ReadersDuringAWrite : public StoreTest {
protected:
    /// Calls the action while a persist run of the store stands before its disk and cannot go on.
    void whileAWriteIsHeldUp(ConfigStore& store, const std::function<void()>& action) {
        std::promise<void> isHeld;
        std::promise<void> mayGoOn;
        std::thread holder([&isHeld, goOn = mayGoOn.get_future()] {
            tessel::ScopedLock heldUp(XmlFileWriter::siblingMutex());
            isHeld.set_value();
            goOn.wait();
        });
        isHeld.get_future().wait();
        std::thread persister([&store] { store.persistValues(); });
        // The folder is made by the run just before it is held up.
        while (!world_.directory().exists("folder")) {
            std::this_thread::yield();
        }
        action();
        mayGoOn.set_value();
        holder.join();
        persister.join();
    }
};

TEST_F(ReadersDuringAWrite, OfTheLocalFileDoNotWait) {
    LocalFileConfigStore store("L", 20, path("folder"), "local.xml", false, false);
    store.storeValue(L"a", L"1");
    whileAWriteIsHeldUp(store, [&store] {
        EXPECT_EQ(valueOf(store, L"a"), L"1");
        EXPECT_EQ(store.getKeys().size(), 1u);
        EXPECT_TRUE(store.storeValue(L"b", L"2"));
        EXPECT_TRUE(store.removeValue(L"b"));
    });
    EXPECT_TRUE(store.hasUnpersistedValues()) << "changes made during the run are not in its file";
    EXPECT_THAT(read("folder/local.xml"), testing::HasSubstr("name=\"a\""));
}

TEST_F(ReadersDuringAWrite, OfTheCacheDoNotWait) {
    CacheConfigStore store("c", 240, path("folder/c.xml"));
    store.storeValue(L"a", L"1");
    whileAWriteIsHeldUp(store, [&store] {
        EXPECT_EQ(valueOf(store, L"a"), L"1");
        EXPECT_TRUE(store.storeValue(L"b", L"2"));
        EXPECT_TRUE(store.removeValue(L"b"));
    });
    EXPECT_THAT(read("folder/c.xml"), testing::HasSubstr("<a>1</a>"));
}

}  // namespace
}  // namespace storetests
