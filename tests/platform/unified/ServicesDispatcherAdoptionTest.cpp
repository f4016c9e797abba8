#include <semaphore>
#include <thread>

#include "impl/unified/ServicesDispatcherImpl.h"
#include "unified/Tasks.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// A dispatcher on the test's own thread, with a count of the calls that ask for a pump.
class ServicesDispatcherAdoption : public ::testing::Test {
protected:
    ServicesDispatcherAdoption() {
        dispatcher.adoptCurrentThread([this] { wakeUps.release(); });
    }

    /// Blocks a thread of its own in enqueueBlock(), and returns when its task is queued.
    std::thread block(const std::function<void()>& function) {
        std::thread caller([this, function] { dispatcher.enqueueBlock(makeTask(function)); });
        wakeUps.acquire();
        return caller;
    }

    std::counting_semaphore<> wakeUps{0};
    ServicesDispatcherImpl dispatcher;
};

}  // namespace

TEST_F(ServicesDispatcherAdoption, GivesTheThreadUpdateAccess) {
    EXPECT_TRUE(dispatcher.checkForUpdateAccess());
    bool elsewhere = true;
    std::thread([&] { elsewhere = dispatcher.checkForUpdateAccess(); }).join();
    EXPECT_FALSE(elsewhere);
}

TEST_F(ServicesDispatcherAdoption, RunsNothingUntilItIsPumped) {
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    EXPECT_FALSE(ran);
    EXPECT_EQ(dispatcher.pump(), 1U);
    EXPECT_TRUE(ran);
    EXPECT_EQ(dispatcher.pump(), 0U);
}

TEST_F(ServicesDispatcherAdoption, PumpRunsWhatIsQueuedMeanwhileToo) {
    Trace trace;
    dispatcher.enqueue(makeTask([&] {
        trace.add("first");
        dispatcher.enqueue(makeTask([&] { trace.add("meanwhile"); }));
    }));
    dispatcher.enqueue(makeTask([&] { trace.add("second"); }));
    EXPECT_EQ(dispatcher.pump(), 3U);
    EXPECT_THAT(trace.events(), ElementsAre("first", "second", "meanwhile"));
}

TEST_F(ServicesDispatcherAdoption, PumpDoesNothingOnAnotherThread) {
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    std::size_t count = 1;
    std::thread([&] { count = dispatcher.pump(); }).join();
    EXPECT_EQ(count, 0U);
    EXPECT_FALSE(ran);
    dispatcher.pump();
}

TEST_F(ServicesDispatcherAdoption, PumpServesABlockedCaller) {
    bool ran = false;
    std::thread caller = block([&] { ran = true; });
    EXPECT_EQ(dispatcher.pump(), 1U);
    caller.join();
    EXPECT_TRUE(ran);
}

TEST_F(ServicesDispatcherAdoption, EnqueueBlockRunsInPlaceOnTheThread) {
    bool ran = false;
    dispatcher.enqueueBlock(makeTask([&] { ran = true; }));
    EXPECT_TRUE(ran);
    EXPECT_EQ(dispatcher.pump(), 0U);
}

TEST_F(ServicesDispatcherAdoption, StopRunsWhatIsQueuedAndLeavesTheThreadItsAccess) {
    bool ran = false;
    dispatcher.enqueue(makeTask([&] { ran = true; }));
    dispatcher.stop();
    EXPECT_TRUE(ran);
    EXPECT_TRUE(dispatcher.checkForUpdateAccess());
    dispatcher.stop();
}

TEST_F(ServicesDispatcherAdoption, EnqueueBlockOnTheThreadRunsNothingAfterStop) {
    Trace trace;
    dispatcher.enqueue(
        makeTask([&] { dispatcher.enqueueBlock(makeTask([&] { trace.add("inside the last task"); })); }));
    dispatcher.stop();
    dispatcher.enqueueBlock(makeTask([&] { trace.add("after the end"); }));
    EXPECT_THAT(trace.events(), ElementsAre("inside the last task"));
}

TEST_F(ServicesDispatcherAdoption, StopOnAnotherThreadReturnsBlockedCallersAndLeavesTheRestForOnePump) {
    Trace trace;
    dispatcher.enqueue(makeTask([&] { trace.add("ordinary"); }));
    wakeUps.acquire();
    std::thread caller = block([&] { trace.add("blocked"); });
    std::thread([&] { dispatcher.stop(); }).join();
    caller.join();
    EXPECT_THAT(trace.events(), IsEmpty());

    wakeUps.acquire();
    EXPECT_EQ(dispatcher.pump(), 1U);
    EXPECT_THAT(trace.events(), ElementsAre("ordinary"));
}

TEST_F(ServicesDispatcherAdoption, NeverWakesTheLoopAgainAfterStop) {
    dispatcher.stop();
    std::thread([&] {
        dispatcher.enqueue(makeTask([] {}));
        dispatcher.enqueueBlock(makeTask([] {}));
        dispatcher.stop();
    }).join();
    EXPECT_FALSE(wakeUps.try_acquire());
}

TEST(ServicesDispatcherWakeUp, ComesOnTheEnqueuingThreadWithNoLockHeld) {
    ServicesDispatcherImpl dispatcher;
    std::vector<std::thread::id> threads;
    dispatcher.adoptCurrentThread([&] {
        threads.push_back(std::this_thread::get_id());
        dispatcher.wake();  // would wait for ever under the dispatcher's lock
    });
    dispatcher.enqueue(makeTask([] {}));
    std::thread::id other;
    std::thread([&] {
        other = std::this_thread::get_id();
        dispatcher.enqueue(makeTask([] {}));
    }).join();
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id(), other));
}

TEST(ServicesDispatcherWakeUp, MayBeEmpty) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.adoptCurrentThread(nullptr);
    dispatcher.enqueue(makeTask([] {}));
    EXPECT_EQ(dispatcher.pump(), 1U);
}
