#include "impl/unified/TaskDispatcherImpl.h"

#include <atomic>
#include <latch>
#include <stdexcept>

#include "fakes/RecordingLogSink.h"
#include "unified/Tasks.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(TaskDispatcherImpl, RunsTasksInOrderOnAThreadOfItsOwn) {
    TaskDispatcherImpl dispatcher;
    std::vector<int> order;
    std::thread::id thread;
    for (int i = 0; i < 5; ++i) {
        dispatcher.enqueue(makeTask([&, i] {
            order.push_back(i);
            thread = std::this_thread::get_id();
        }));
    }
    dispatcher.drain();
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
    EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(TaskDispatcherImpl, KeepsTheOrderOfEachProducer) {
    constexpr std::size_t producers = 4;
    constexpr int tasks = 300;
    TaskDispatcherImpl dispatcher;
    std::vector<std::vector<int>> seen(producers);
    std::vector<std::thread> threads;
    for (std::size_t producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int i = 0; i < tasks; ++i) {
                dispatcher.enqueue(makeTask([&, producer, i] { seen[producer].push_back(i); }));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    dispatcher.drain();
    for (const std::vector<int>& one : seen) {
        EXPECT_EQ(one.size(), static_cast<std::size_t>(tasks));
        EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
    }
}

TEST(TaskDispatcherImpl, EnqueueReturnsWhileAnotherTaskIsUnderWay) {
    TaskDispatcherImpl dispatcher;
    std::latch gate(1);
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { gate.wait(); }));
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    gate.count_down();
    dispatcher.drain();
    EXPECT_TRUE(ran);
}

TEST(TaskDispatcherImpl, DrainReturnsAtOnceWhenNothingIsQueued) {
    TaskDispatcherImpl dispatcher;
    dispatcher.drain();
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    dispatcher.drain();
    dispatcher.drain();
    EXPECT_TRUE(ran);
}

TEST(TaskDispatcherImpl, DrainWaitsForWhatTheTasksQueued) {
    TaskDispatcherImpl dispatcher;
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        trace.add("task");
        dispatcher.enqueue(makeTask([&] {
            trace.add("its own");
            dispatcher.enqueue(makeTask([&] { trace.add("its own's own"); }));
        }));
    }));
    dispatcher.drain();
    EXPECT_THAT(trace.events(), ElementsAre("task", "its own", "its own's own"));
}

TEST(TaskDispatcherImpl, DrainWaitsForTheTaskThatIsUnderWay) {
    TaskDispatcherImpl dispatcher;
    std::latch underWay(1);
    bool ended = false;
    dispatcher.enqueue(makeTask([&] {
        underWay.count_down();
        letOthersRun();
        ended = true;
    }));
    underWay.wait();
    dispatcher.drain();
    EXPECT_TRUE(ended);
}

TEST(TaskDispatcherImpl, DrainOnTheWorkerReturnsAtOnce) {
    TaskDispatcherImpl dispatcher;
    bool returned = false;
    dispatcher.enqueue(makeTask([&] {
        dispatcher.drain();
        returned = true;
    }));
    dispatcher.drain();
    EXPECT_TRUE(returned);
}

TEST(TaskDispatcherImpl, DrainsWhatIsQueuedAlthoughMoreIsQueuedForEver) {
    TaskDispatcherImpl dispatcher;
    std::atomic<bool> enough = false;
    std::atomic<int> runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        if (!enough) {
            dispatcher.enqueue(makeTask(again));
        }
    };
    dispatcher.drainWhatIsQueued();
    EXPECT_EQ(runs, 0);
    dispatcher.enqueue(makeTask(again));
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    dispatcher.drainWhatIsQueued();
    EXPECT_TRUE(ran);
    EXPECT_GE(runs, 1);
    enough = true;
    dispatcher.drain();
}

TEST(TaskDispatcherImpl, DrainingWhatIsQueuedReturnsAtOnceOnTheWorker) {
    TaskDispatcherImpl dispatcher;
    bool returned = false;
    dispatcher.enqueue(makeTask([&] {
        dispatcher.drainWhatIsQueued();
        returned = true;
    }));
    dispatcher.drainWhatIsQueued();
    EXPECT_TRUE(returned);
}

TEST(TaskDispatcherImpl, LetsGoOfATaskBeforeDrainReturns) {
    TaskDispatcherImpl dispatcher;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    int seen = 0;
    auto task = makeTask([&seen, held = std::move(held)] { seen = *held; });
    dispatcher.enqueue(std::move(task));
    dispatcher.drain();
    EXPECT_EQ(seen, 1);
    EXPECT_TRUE(watch.expired());
}

TEST(TaskDispatcherImpl, HoldsNoLockWhileItLetsGoOfATask) {
    TaskDispatcherImpl dispatcher;
    bool followed = false;
    auto lastWord = std::make_shared<LastWord>([&] { dispatcher.enqueue(makeTask([&] { followed = true; })); });
    auto task = makeTask([lastWord = std::move(lastWord)] {});
    dispatcher.enqueue(std::move(task));
    dispatcher.drain();
    EXPECT_TRUE(followed);
}

TEST(TaskDispatcherImpl, LogsATaskThatThrowsAndRunsTheNext) {
    const fakes::ScopedRecordingLog log;
    TaskDispatcherImpl dispatcher;
    bool ran = false;
    dispatcher.enqueue(makeTask([] { throw std::runtime_error("disk full"); }, "Store::persist"));
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    dispatcher.drain();
    EXPECT_TRUE(ran);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 2);
    EXPECT_EQ(log->lines()[0].logger, "TaskDispatcher");
    EXPECT_EQ(log->lines()[0].text, "Task [Store::persist] threw: disk full");
}

TEST(TaskDispatcherImpl, StopRunsWhatIsQueuedAndWhatThatQueues) {
    TaskDispatcherImpl dispatcher;
    std::latch underWay(1);
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        underWay.count_down();
        letOthersRun();
        dispatcher.enqueue(makeTask([&] { trace.add("followed"); }));
        trace.add("ran");
    }));
    underWay.wait();
    dispatcher.stop();
    EXPECT_THAT(trace.events(), ElementsAre("ran", "followed"));
}

TEST(TaskDispatcherImpl, TheDestructorRunsWhatIsQueuedToo) {
    bool ran = false;
    {
        TaskDispatcherImpl dispatcher;
        dispatcher.enqueue(makeTask([&] { ran = true; }));
    }
    EXPECT_TRUE(ran);
}

TEST(TaskDispatcherImpl, DropsALaterTaskWithALineThatNamesIt) {
    const fakes::ScopedRecordingLog log;
    TaskDispatcherImpl dispatcher;
    dispatcher.stop();
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }, "Store::persist"));
    dispatcher.drain();
    EXPECT_FALSE(ran);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 3);
    EXPECT_EQ(log->lines()[0].logger, "TaskDispatcher");
    EXPECT_EQ(log->lines()[0].text, "Stopped, dropped task [Store::persist]");
}

TEST(TaskDispatcherImpl, StopMayBeCalledAgainAndByManyAtOnce) {
    TaskDispatcherImpl dispatcher;
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    std::vector<std::thread> stoppers;
    for (int i = 0; i < 4; ++i) {
        stoppers.emplace_back([&] { dispatcher.stop(); });
    }
    for (std::thread& stopper : stoppers) {
        stopper.join();
    }
    dispatcher.stop();
    EXPECT_TRUE(ran);
}

TEST(TaskDispatcherImpl, ATaskThatStopsIsFollowedByWhatWasQueued) {
    const fakes::ScopedRecordingLog log;
    TaskDispatcherImpl dispatcher;
    std::latch gate(1);
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        gate.wait();
        dispatcher.stop();
        dispatcher.enqueue(makeTask([&] { trace.add("too late"); }, "late"));
    }));
    dispatcher.enqueue(makeTask([&] { trace.add("queued before"); }));
    gate.count_down();
    dispatcher.stop();
    EXPECT_THAT(trace.events(), ElementsAre("queued before"));
    EXPECT_THAT(log->texts(3), ElementsAre("Stopped, dropped task [late]"));
}
