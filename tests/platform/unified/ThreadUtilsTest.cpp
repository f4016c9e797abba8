#include "quill/ThreadUtils.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "impl/unified/ThreadPoolImpl.h"

using QuillCoreUtils::ThreadUtils;
using ::testing::ElementsAre;

TEST(ThreadUtils, RunsAFunctionOnThePoolOfTheWorld) {
    fakes::ScopedWorld world;
    const auto pool = std::make_shared<ThreadPoolImpl>(1);
    world.change([&](platform::World& changed) { changed.threadPool = pool; });
    std::thread::id thread;
    ThreadUtils::runInThreadPool([&] { thread = std::this_thread::get_id(); }, "task");
    pool->stop();
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(ThreadUtils, DropsAFunctionWithoutAPoolWithALine) {
    const fakes::ScopedWorld world;
    const fakes::ScopedRecordingLog log;
    bool ran = false;
    ThreadUtils::runInThreadPool([&] { ran = true; }, "lonely");
    EXPECT_FALSE(ran);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 3);
    EXPECT_EQ(log->lines()[0].logger, "ThreadUtils");
    EXPECT_EQ(log->lines()[0].text, "No thread pool, dropped task [lonely]");
}

TEST(ThreadUtils, DropsAFunctionAfterTheEndOfThePoolWithALine) {
    fakes::ScopedWorld world;
    const auto pool = std::make_shared<ThreadPoolImpl>(1);
    pool->stop();
    world.change([&](platform::World& changed) { changed.threadPool = pool; });
    const fakes::ScopedRecordingLog log;
    bool ran = false;
    ThreadUtils::runInThreadPool([&] { ran = true; }, "late");
    EXPECT_FALSE(ran);
    EXPECT_THAT(log->texts(3), ElementsAre("No thread pool, dropped task [late]"));
}

TEST(ThreadUtils, LogsAFunctionThatThrowsWithItsName) {
    fakes::ScopedWorld world;
    const auto pool = std::make_shared<ThreadPoolImpl>(1);
    world.change([&](platform::World& changed) { changed.threadPool = pool; });
    const fakes::ScopedRecordingLog log;
    ThreadUtils::runInThreadPool([] { throw std::runtime_error("no server"); }, "query");
    pool->stop();
    EXPECT_THAT(log->texts(2), ElementsAre("Task [query] threw: no server"));
}
