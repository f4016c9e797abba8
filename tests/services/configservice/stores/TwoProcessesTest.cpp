#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "support/ForkedChild.h"
#include "xml/SiblingLock.h"

namespace storetests {
namespace {

constexpr int rounds = 60;

ConfigMap manyValues(const std::wstring& writer, int round) {
    ConfigMap values;
    for (int number = 0; number < 1000; ++number) {
        values[L"key" + std::to_wstring(number)] = writer + std::to_wstring(round);
    }
    return values;
}

/// True if every value is the same: one writer's one state.
bool isOneState(ConfigStore& store) {
    const Map contents = contentsOf(store);
    return contents.size() == 1000 && std::all_of(contents.begin(), contents.end(), [&](const auto& entry) {
               return entry.second == contents.begin()->second;
           });
}

/// Runs the work in this process and in another at the same time. @return whether the other one did it all.
bool runTwice(const std::function<void(const std::wstring& writer)>& work) {
    support::ForkedChild child([&](int) {
        work(L"child");
        return 0;
    });
    work(L"parent");
    return child.wait() == 0;
}

using TwoProcesses = StoreTest;

TEST_F(TwoProcesses, NeverPutEachOthersHalfWrittenLocalFileInPlace) {
    const auto open = [this] {
        return LocalFileConfigStore("L", 20, world_.directory().path(), "local.xml", false, false);
    };
    bool whole = true;
    ASSERT_TRUE(runTwice([&](const std::wstring& writer) {
        LocalFileConfigStore store = open();
        for (int round = 0; round < rounds; ++round) {
            for (const auto& [key, value] : manyValues(writer, round)) {
                store.storeValue(key, value);
            }
            store.persistValues();
            LocalFileConfigStore reader = open();
            whole = whole && isOneState(reader);
        }
    }));
    EXPECT_TRUE(whole);
    EXPECT_FALSE(world_.directory().exists("local-backup.xml"));
}

TEST_F(TwoProcesses, NeverPutEachOthersHalfWrittenCacheFileInPlace) {
    const std::string path = world_.directory().path("Cache/cached.xml");
    bool whole = true;
    ASSERT_TRUE(runTwice([&](const std::wstring& writer) {
        for (int round = 0; round < rounds; ++round) {
            const CacheConfigStore store("C", 240, path, manyValues(writer, round));
            CacheConfigStore reader("C", 240, path);
            whole = whole && isOneState(reader);
        }
    }));
    EXPECT_TRUE(whole);
}

/// Somebody who may read a folder, and holds its lock.
class LockOfAnother {
public:
    explicit LockOfAnother(const std::string& folder)
        : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        EXPECT_EQ(::flock(descriptor_, LOCK_SH | LOCK_NB), 0) << folder;
    }
    ~LockOfAnother() { ::close(descriptor_); }

    LockOfAnother(const LockOfAnother&) = delete;
    LockOfAnother& operator=(const LockOfAnother&) = delete;

private:
    const int descriptor_;
};

class LockThatIsHeldForEver : public StoreTest {
protected:
    static bool isFree(const std::string& folder) {
        const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const bool isFree = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
        ::close(descriptor);
        return isFree;
    }

    static bool isMutexFree() {
        if (!XmlFileWriter::siblingMutex().tryLock()) {
            return false;
        }
        XmlFileWriter::siblingMutex().unlock();
        return true;
    }

    std::string toldLine() const {
        return "another process holds the lock of this folder and does not let it go; it is ignored from now on, and "
               "if "
               "that process writes the same files one may put what the other has half written in their place: [" +
               folder_ + "]";
    }

    std::size_t timesTold() const { return log_->count(3, toldLine()); }

    const std::string folder_ = world_.directory().path();
    static constexpr std::chrono::milliseconds SOON{30};
};

TEST_F(LockThatIsHeldForEver, LetsAWriteThroughAndIsToldOfOnce) {
    {
        const LockOfAnother another(folder_);
        { const SiblingLock lock(folder_, SOON); }
        EXPECT_THAT(linesOf(log_, "SiblingLock"),
                    testing::ElementsAre(Line{3, "SiblingLock", "SiblingLock", toldLine()}));
        // The folder's lock is ignored, under whichever name: nobody waits once more.
        const auto begun = std::chrono::steady_clock::now();
        LocalFileConfigStore store("L", 20, folder_, "local.xml", false, false);
        store.storeValue(L"a", L"1");
        store.persistValues();
        EXPECT_TRUE(XmlConfigParser::writeToFile(path("server.xml"), ConfigMap{{L"a", L"1"}}));
        EXPECT_LT(std::chrono::steady_clock::now() - begun, SiblingLock::PATIENCE);
    }
    LocalFileConfigStore written("L", 20, folder_, "local.xml", false, true);
    EXPECT_EQ(contentsOf(written), (Map{{L"a", L"1"}}));
    EXPECT_TRUE(world_.directory().exists("server.xml"));
    EXPECT_EQ(timesTold(), 1u);
    { const SiblingLock lock(folder_); }  // which others are to find free
}

TEST_F(LockThatIsHeldForEver, IsToldOfUnderNoLock) {
    auto another = std::make_unique<LockOfAnother>(folder_);
    bool isFreeForOthers = false;
    log_->atNext(toldLine(), [&] {
        // On a thread of its own, since this one may take again what it holds.
        std::thread([&] { isFreeForOthers = isMutexFree(); }).join();
    });
    { const SiblingLock lock(folder_, SOON); }
    EXPECT_TRUE(isFreeForOthers);
    another.reset();
    { const SiblingLock lock(folder_); }  // which others are to find free
}

TEST_F(LockThatIsHeldForEver, IsTakenAgainOnceItHasBeenFree) {
    {
        const LockOfAnother another(folder_);
        const SiblingLock lock(folder_, SOON);
    }
    {
        const SiblingLock lock(folder_, SOON);
        EXPECT_FALSE(isFree(folder_));
    }
    EXPECT_TRUE(isFree(folder_));
    {
        const LockOfAnother another(folder_);
        const SiblingLock lock(folder_, SOON);
    }
    EXPECT_EQ(timesTold(), 2u);
    { const SiblingLock lock(folder_); }  // which others are to find free
}

TEST_F(LockThatIsHeldForEver, IsWaitedForWhileThereIsPatience) {
    auto another = std::make_unique<LockOfAnother>(folder_);
    std::thread writer([&] {
        const SiblingLock lock(folder_, std::chrono::hours(1));
        EXPECT_FALSE(isFree(folder_));
    });
    // Who waits keeps the other threads of this process out.
    while (isMutexFree()) {
        std::this_thread::yield();
    }
    another.reset();
    writer.join();
    EXPECT_EQ(timesTold(), 0u);
}

using LockOfAFolder = LockThatIsHeldForEver;

TEST_F(LockOfAFolder, IsTakenInAProcessWithoutAStandardInput) {
    EXPECT_EQ(support::runForked([&] {
                  ::close(STDIN_FILENO);  // so that the folder gets its descriptor
                  {
                      const SiblingLock lock(folder_, SOON);
                      if (isFree(folder_)) {
                          return 1;
                      }
                  }
                  return isFree(folder_) ? 0 : 2;
              }),
              0);
}

}  // namespace
}  // namespace storetests
