#include "impl/unified/ServicesDispatcherImpl.h"

#include <latch>
#include <stdexcept>
#include <thread>

#include "fakes/RecordingLogSink.h"
#include "unified/Tasks.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ServicesDispatcherImpl, GivesNobodyUpdateAccessBeforeItStarts) {
    const ServicesDispatcherImpl dispatcher;
    EXPECT_FALSE(dispatcher.checkForUpdateAccess());
}

TEST(ServicesDispatcherImpl, GivesUpdateAccessToItsOwnThreadAlone) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    bool inTask = false;
    dispatcher.enqueueBlock(makeTask([&] { inTask = dispatcher.checkForUpdateAccess(); }));
    EXPECT_TRUE(inTask);
    EXPECT_FALSE(dispatcher.checkForUpdateAccess());
}

TEST(ServicesDispatcherImpl, RunsTasksInTheOrderOfQueueing) {
    ServicesDispatcherImpl dispatcher;
    std::vector<int> order;
    for (int i = 0; i < 5; ++i) {
        dispatcher.enqueue(makeTask([&order, i] { order.push_back(i); }));
    }
    dispatcher.start();
    dispatcher.stop();
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3, 4));
}

TEST(ServicesDispatcherImpl, KeepsTheOrderOfEachProducer) {
    constexpr int producers = 4;
    constexpr int tasks = 300;
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
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
    dispatcher.stop();
    for (const std::vector<int>& one : seen) {
        EXPECT_EQ(one.size(), static_cast<std::size_t>(tasks));
        EXPECT_TRUE(std::is_sorted(one.begin(), one.end()));
    }
}

TEST(ServicesDispatcherImpl, EnqueueReturnsWhileAnotherTaskIsUnderWay) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    std::latch gate(1);
    dispatcher.enqueue(makeTask([&] { gate.wait(); }));
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    gate.count_down();
    dispatcher.stop();
    EXPECT_TRUE(ran);
}

TEST(ServicesDispatcherImpl, EnqueueBlockReturnsWhenTheTaskHasRun) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    Trace trace;
    dispatcher.enqueue(makeTask([&] { trace.add("earlier"); }));
    dispatcher.enqueueBlock(makeTask([&] { trace.add("blocked"); }));
    trace.add("returned");
    EXPECT_THAT(trace.events(), ElementsAre("earlier", "blocked", "returned"));
}

TEST(ServicesDispatcherImpl, EnqueueBlockRunsInPlaceOnTheDispatcherThread) {
    ServicesDispatcherImpl dispatcher;
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        trace.add("outer begins");
        dispatcher.enqueueBlock(makeTask([&] { trace.add("in place"); }));
        trace.add("outer ends");
    }));
    dispatcher.enqueue(makeTask([&] { trace.add("next"); }));
    dispatcher.start();
    dispatcher.stop();
    EXPECT_THAT(trace.events(), ElementsAre("outer begins", "in place", "outer ends", "next"));
}

TEST(ServicesDispatcherImpl, LetsGoOfATaskBeforeItsBlockedCallerGoesOn) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watch = held;
    auto task = makeTask([held = std::move(held)] { *held = 2; });
    dispatcher.enqueueBlock(std::move(task));
    EXPECT_TRUE(watch.expired());
}

TEST(ServicesDispatcherImpl, HoldsNoLockWhileItLetsGoOfATask) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    auto lastWord = std::make_shared<LastWord>([&] { dispatcher.wake(); });
    const std::weak_ptr<LastWord> watch = lastWord;
    auto task = makeTask([lastWord = std::move(lastWord)] {});
    dispatcher.enqueueBlock(std::move(task));
    EXPECT_TRUE(watch.expired());
}

TEST(ServicesDispatcherImpl, LogsATaskThatThrowsAndRunsTheNext) {
    const fakes::ScopedRecordingLog log;
    ServicesDispatcherImpl dispatcher;
    dispatcher.enqueue(makeTask([] { throw std::runtime_error("out of luck"); }, "Class::operation"));
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    dispatcher.start();
    dispatcher.stop();
    EXPECT_TRUE(ran);
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 2);
    EXPECT_EQ(log->lines()[0].logger, "ServicesDispatcher");
    EXPECT_EQ(log->lines()[0].text, "Task [Class::operation] threw: out of luck");
}

TEST(ServicesDispatcherImpl, LogsATaskThatThrowsSomethingElseThanAnException) {
    const fakes::ScopedRecordingLog log;
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    dispatcher.enqueueBlock(makeTask([] { throw 7; }, "thrower"));
    EXPECT_THAT(log->texts(2), ElementsAre("Task [thrower] threw: an exception of an unknown type"));
}

TEST(ServicesDispatcherImpl, EnqueueBlockReturnsFromATaskThatThrows) {
    const fakes::ScopedRecordingLog log;
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    dispatcher.enqueueBlock(makeTask([] { throw std::runtime_error("far"); }, "blocked"));
    bool wentOn = false;
    dispatcher.enqueueBlock(makeTask([&] {
        dispatcher.enqueueBlock(makeTask([] { throw std::runtime_error("near"); }, "in place"));
        wentOn = true;
    }));
    EXPECT_TRUE(wentOn);
    EXPECT_THAT(log->texts(2), ElementsAre("Task [blocked] threw: far", "Task [in place] threw: near"));
}

TEST(ServicesDispatcherImpl, StopRunsWhatIsQueued) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    int count = 0;
    for (int i = 0; i < 100; ++i) {
        dispatcher.enqueue(makeTask([&] { ++count; }));
    }
    dispatcher.stop();
    EXPECT_EQ(count, 100);
}

TEST(ServicesDispatcherImpl, TheDestructorRunsWhatIsQueuedToo) {
    bool ran = false;
    {
        ServicesDispatcherImpl dispatcher;
        dispatcher.start();
        dispatcher.enqueue(makeTask([&] { ran = true; }));
    }
    EXPECT_TRUE(ran);
}

TEST(ServicesDispatcherImpl, TakesNoMoreWorkFromTheMomentOfStop) {
    ServicesDispatcherImpl dispatcher;
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        dispatcher.stop();
        dispatcher.enqueue(makeTask([&] { trace.add("too late"); }));
        dispatcher.enqueueBlock(makeTask([&] { trace.add("in place"); }));
    }));
    dispatcher.enqueue(makeTask([&] { trace.add("queued before"); }));
    dispatcher.start();
    dispatcher.stop();
    EXPECT_THAT(trace.events(), ElementsAre("in place", "queued before"));
}

TEST(ServicesDispatcherImpl, DropsTasksSilentlyAfterStop) {
    const fakes::ScopedRecordingLog log;
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    dispatcher.stop();
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    bool ran = false;
    dispatcher.enqueue(makeTask([&ran, held = std::move(held)] { ran = true; }));
    dispatcher.enqueueBlock(makeTask([&ran] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_TRUE(watch.expired());
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST(ServicesDispatcherImpl, StopReturnsTheCallersThatBlock) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    std::latch gate(1);
    dispatcher.enqueue(makeTask([&] { gate.wait(); }));
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
        callers.emplace_back([&] { dispatcher.enqueueBlock(makeTask([] {})); });
    }
    std::thread stopper([&] { dispatcher.stop(); });
    gate.count_down();
    stopper.join();
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_FALSE(dispatcher.checkForUpdateAccess());
}

TEST(ServicesDispatcherImpl, StopMayBeCalledAgainAndByManyAtOnce) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    std::vector<std::thread> stoppers;
    std::latch together(4);
    for (int i = 0; i < 4; ++i) {
        stoppers.emplace_back([&] {
            together.arrive_and_wait();
            dispatcher.stop();
        });
    }
    for (std::thread& stopper : stoppers) {
        stopper.join();
    }
    dispatcher.stop();
    EXPECT_TRUE(ran);
}

TEST(ServicesDispatcherImpl, StopWithoutAThreadReturnsTheCallersThatBlock) {
    ServicesDispatcherImpl dispatcher;
    bool ran = false;
    std::thread caller([&] { dispatcher.enqueueBlock(makeTask([&] { ran = true; })); });
    dispatcher.stop();
    caller.join();
    EXPECT_FALSE(ran);
}

TEST(ServicesDispatcherImpl, TakesUpdateAccessFromItsThreadWhenThatEnds) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    dispatcher.stop();
    // A new thread may be given the identifier of the ended one.
    bool access = false;
    std::thread([&] { access = dispatcher.checkForUpdateAccess(); }).join();
    EXPECT_FALSE(access);
}
