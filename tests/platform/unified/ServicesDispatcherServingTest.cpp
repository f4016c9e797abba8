#include <latch>
#include <semaphore>
#include <stdexcept>
#include <thread>

#include "fakes/RecordingLogSink.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "tessel/Mutex.h"
#include "unified/Tasks.h"

using ::testing::ElementsAre;

namespace {

/// Locks a mutex on the dispatcher thread without standing in the way of a holder that waits for that thread.
/// @param asked called after each try.
void lockServing(
    ServicesDispatcherImpl& dispatcher, tessel::Mutex& mutex, const std::function<void()>& asked = [] {})
    TESSEL_ACQUIRE(mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS {
    dispatcher.serveBlockedCallersUntil([&] {
        const bool locked = mutex.tryLock();
        asked();
        return locked;
    });
}

}  // namespace

// A thread holds a mutex and waits for the dispatcher thread, and the dispatcher thread wants the mutex. Waiting for it
// with lock() would never end.
TEST(ServicesDispatcherServing, EndsTheWaitForAMutexWhoseHolderBlocks) {
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    tessel::Mutex mutex;
    std::latch found(1);
    bool firstTime = true;
    Trace trace;

    mutex.lock();
    dispatcher.enqueue(makeTask([&] {
        lockServing(dispatcher, mutex, [&] {
            if (std::exchange(firstTime, false)) {
                found.count_down();
            }
        });
        trace.add("dispatcher has the mutex");
        mutex.unlock();
    }));
    found.wait();  // the dispatcher thread has found the mutex taken
    dispatcher.enqueueBlock(makeTask([&] { trace.add("blocked caller served"); }));
    trace.add("holder goes on");
    mutex.unlock();
    dispatcher.wake();

    dispatcher.stop();
    EXPECT_THAT(trace.events(), ElementsAre("blocked caller served", "holder goes on", "dispatcher has the mutex"));
}

TEST(ServicesDispatcherServing, ManyHoldersAndTheDispatcherThreadAllGetTheMutex) {
    constexpr int rounds = 100;
    ServicesDispatcherImpl dispatcher;
    dispatcher.start();
    tessel::Mutex mutex;
    int inside = 0;
    const auto hold = [&] {
        for (int i = 0; i < rounds; ++i) {
            {
                const tessel::ScopedLock lock(mutex);
                dispatcher.enqueueBlock(makeTask([&] { ++inside; }));
            }
            dispatcher.wake();
        }
    };
    std::thread first(hold);
    std::thread second(hold);
    int taken = 0;
    for (int i = 0; i < rounds; ++i) {
        dispatcher.enqueue(makeTask([&] {
            lockServing(dispatcher, mutex);
            ++taken;
            mutex.unlock();
        }));
    }
    first.join();
    second.join();
    dispatcher.stop();
    EXPECT_EQ(inside, 2 * rounds);
    EXPECT_EQ(taken, rounds);
}

namespace {

/// A dispatcher on the test's own thread, so that the queue stands still while it is filled.
class ServicesDispatcherServingAdopted : public ::testing::Test {
protected:
    ServicesDispatcherServingAdopted() {
        dispatcher.adoptCurrentThread([this] { queued.release(); });
    }

    ~ServicesDispatcherServingAdopted() override {
        for (std::thread& caller : callers) {
            caller.join();
        }
    }

    /// Returns when the task of the blocked caller is queued.
    void block(const std::function<void()>& function) {
        callers.emplace_back([this, function] { dispatcher.enqueueBlock(makeTask(function, "blocked")); });
        queued.acquire();
    }

    Trace trace;
    std::counting_semaphore<> queued{0};
    ServicesDispatcherImpl dispatcher;
    std::vector<std::thread> callers;
};

}  // namespace

TEST_F(ServicesDispatcherServingAdopted, ServesInOrderAndLeavesOrdinaryTasksQueued) {
    dispatcher.enqueue(makeTask([&] { trace.add("ordinary"); }));
    queued.acquire();
    block([&] { trace.add("first"); });
    block([&] { trace.add("second"); });
    dispatcher.serveBlockedCallersUntil([&] { return trace.events().size() == 2; });
    EXPECT_THAT(trace.events(), ElementsAre("first", "second"));
    dispatcher.pump();
    EXPECT_THAT(trace.events(), ElementsAre("first", "second", "ordinary"));
}

TEST_F(ServicesDispatcherServingAdopted, AsksFirstAndAfterEachTask) {
    block([&] { trace.add("first"); });
    block([&] { trace.add("second"); });
    int asked = 0;
    dispatcher.serveBlockedCallersUntil([&] {
        trace.add("asked");
        return ++asked == 3;
    });
    EXPECT_THAT(trace.events(), ElementsAre("asked", "first", "asked", "second", "asked"));
}

TEST_F(ServicesDispatcherServingAdopted, ServesNobodyWhenTheConditionHoldsAlready) {
    block([&] { trace.add("blocked"); });
    dispatcher.serveBlockedCallersUntil([] { return true; });
    EXPECT_TRUE(trace.events().empty());
    dispatcher.pump();
}

TEST_F(ServicesDispatcherServingAdopted, GoesOnAfterATaskThatThrows) {
    const fakes::ScopedRecordingLog log;
    block([] { throw std::runtime_error("no"); });
    block([&] { trace.add("next"); });
    dispatcher.serveBlockedCallersUntil([&] { return !trace.events().empty(); });
    EXPECT_THAT(log->texts(2), ElementsAre("Task [blocked] threw: no"));
}

TEST_F(ServicesDispatcherServingAdopted, KeepsAWakeThatComesWhileTheConditionIsAsked) {
    int asked = 0;
    dispatcher.serveBlockedCallersUntil([&] {
        dispatcher.wake();
        return ++asked == 3;
    });
    EXPECT_EQ(asked, 3);
}

// Whoever wakes may let others go on who then block: they come after what was queued before them.
TEST_F(ServicesDispatcherServingAdopted, ServesNobodyWhenAWakeHasBroughtTheCondition) {
    bool firstTime = true;
    dispatcher.serveBlockedCallersUntil([&] {
        if (!std::exchange(firstTime, false)) {
            return true;
        }
        dispatcher.wake();
        block([&] { trace.add("blocked"); });
        return false;
    });
    EXPECT_TRUE(trace.events().empty());
    dispatcher.pump();
    EXPECT_THAT(trace.events(), ElementsAre("blocked"));
}

TEST_F(ServicesDispatcherServingAdopted, AsksAgainAtAWakeOfAnotherThread) {
    std::latch askedOnce(1);
    std::atomic<bool> holds{false};
    bool firstTime = true;
    std::thread waker([&] {
        askedOnce.wait();
        holds = true;
        dispatcher.wake();
    });
    dispatcher.serveBlockedCallersUntil([&] {
        const bool result = holds;
        if (std::exchange(firstTime, false)) {
            askedOnce.count_down();
        }
        return result;
    });
    waker.join();
    EXPECT_TRUE(holds);
}

TEST_F(ServicesDispatcherServingAdopted, AsksNothingOnAnotherThread) {
    bool asked = false;
    std::thread([&] { dispatcher.serveBlockedCallersUntil([&] { return asked = true; }); }).join();
    EXPECT_FALSE(asked);
}

TEST_F(ServicesDispatcherServingAdopted, GoesOnServingWhileAnotherThreadStops) {
    std::latch stopped(1);
    std::thread stopper([&] {
        dispatcher.stop();
        stopped.count_down();
        dispatcher.wake();
    });
    dispatcher.serveBlockedCallersUntil([&] { return stopped.try_wait(); });
    stopper.join();
    EXPECT_TRUE(stopped.try_wait());
}
