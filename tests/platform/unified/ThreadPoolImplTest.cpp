#include "impl/unified/ThreadPoolImpl.h"

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

#include "fakes/RecordingLogSink.h"

TEST(ThreadPoolImpl, RunsFunctionsAtTheSameTime) {
    ThreadPoolImpl pool(2);
    std::latch meeting(2);
    std::atomic<int> met{0};
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(pool.run(
            [&] {
                meeting.arrive_and_wait();
                ++met;
            },
            "meeting"));
    }
    pool.stop();
    EXPECT_EQ(met, 2);
}

TEST(ThreadPoolImpl, RunReturnsWhileAnotherFunctionIsUnderWay) {
    ThreadPoolImpl pool(1);
    std::latch gate(1);
    std::atomic<bool> ran{false};
    pool.run([&] { gate.wait(); }, "waits");
    pool.run([&] { ran = true; }, "next");
    gate.count_down();
    pool.stop();
    EXPECT_TRUE(ran);
}

TEST(ThreadPoolImpl, StopRunsWhatIsQueuedByManyThreads) {
    ThreadPoolImpl pool(2);
    std::atomic<int> count{0};
    std::vector<std::thread> producers;
    for (int i = 0; i < 4; ++i) {
        producers.emplace_back([&] {
            for (int j = 0; j < 200; ++j) {
                EXPECT_TRUE(pool.run([&] { ++count; }, "count"));
            }
        });
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
    pool.stop();
    EXPECT_EQ(count, 800);
}

TEST(ThreadPoolImpl, TheDestructorRunsWhatIsQueuedToo) {
    std::atomic<bool> ran{false};
    {
        ThreadPoolImpl pool(1);
        pool.run([&] { ran = true; }, "last");
    }
    EXPECT_TRUE(ran);
}

TEST(ThreadPoolImpl, RefusesWorkAfterStop) {
    ThreadPoolImpl pool(1);
    pool.stop();
    bool ran = false;
    EXPECT_FALSE(pool.run([&] { ran = true; }, "late"));
    pool.stop();
    EXPECT_FALSE(ran);
}

TEST(ThreadPoolImpl, LogsAFunctionThatThrowsAndRunsTheNext) {
    const fakes::ScopedRecordingLog log;
    ThreadPoolImpl pool(1);
    std::atomic<bool> ran{false};
    pool.run([] { throw std::runtime_error("broken"); }, "processTftpInfoChanged task");
    pool.run([&] { ran = true; }, "next");
    pool.stop();
    EXPECT_TRUE(ran);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 2);
    EXPECT_EQ(log->lines()[0].logger, "ThreadPool");
    EXPECT_EQ(log->lines()[0].text, "Task [processTftpInfoChanged task] threw: broken");
}

TEST(ThreadPoolImpl, StopMayBeCalledByManyAtOnceAndOnTheThreadsOfThePool) {
    ThreadPoolImpl pool(2);
    std::atomic<bool> refused{false};
    pool.run(
        [&] {
            pool.stop();
            refused = !pool.run([] {}, "late");
        },
        "stops");
    std::vector<std::thread> stoppers;
    for (int i = 0; i < 4; ++i) {
        stoppers.emplace_back([&] { pool.stop(); });
    }
    for (std::thread& stopper : stoppers) {
        stopper.join();
    }
    EXPECT_TRUE(refused);
}
