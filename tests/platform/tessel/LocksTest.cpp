#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <latch>
#include <limits>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tessel/Event.h"
#include "tessel/Mutex.h"
#include "tessel/RWLock.h"

namespace tessel {
namespace {

constexpr unsigned long forEver = std::numeric_limits<unsigned long>::max();

bool ask(const std::function<bool()>& question) {
    bool answer = false;
    std::thread([&] { answer = question(); }).join();
    return answer;
}

// The compiler's check of locks knows no reentrant ones.
bool enter(Mutex& mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS { return mutex.tryLock(); }
void leave(Mutex& mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }

bool otherThreadEnters(Mutex& mutex) {
    return ask([&] {
        const bool entered = enter(mutex);
        if (entered) {
            leave(mutex);
        }
        return entered;
    });
}

TEST(Mutex, LetsItsHolderInAgain) {
    Mutex mutex;
    ASSERT_TRUE(enter(mutex));
    EXPECT_TRUE(enter(mutex));
    { const ScopedLock again(mutex); }
    leave(mutex);
    leave(mutex);
}

TEST(Mutex, IsHeldUntilItWasUnlockedAsOftenAsLocked) {
    Mutex mutex;
    ASSERT_TRUE(enter(mutex));
    ASSERT_TRUE(enter(mutex));
    EXPECT_FALSE(otherThreadEnters(mutex));
    leave(mutex);
    EXPECT_FALSE(otherThreadEnters(mutex));
    leave(mutex);
    EXPECT_TRUE(otherThreadEnters(mutex));
}

// What the thread sanitizer would report otherwise.
TEST(Mutex, TakesOverNothingFromAnotherThatStoodAtItsAddress) {
    Mutex outer(LockRank{2, "the lock that stays"});
    std::optional<Mutex> place(std::in_place, LockRank{3, "the first at the place"});
    {
        const ScopedLock first(outer);
        const ScopedLock second(*place);
    }
    place.emplace(LockRank{1, "the next at the place"});
    {
        const ScopedLock first(*place);
        const ScopedLock second(outer);
    }
    EXPECT_TRUE(otherThreadEnters(outer));
    EXPECT_TRUE(otherThreadEnters(*place));
}

TEST(Mutex, IsHeldForTheLengthOfAScope) {
    Mutex mutex;
    {
        const ScopedLock lock(mutex);
        EXPECT_FALSE(otherThreadEnters(mutex));
    }
    EXPECT_TRUE(otherThreadEnters(mutex));
}

TEST(Mutex, KeepsThreadsApart) {
    Mutex mutex;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                const ScopedLock lock(mutex);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(count, 4000);
}

TEST(Mutex, WakesAThreadThatFellAsleepOverIt) {
    Mutex mutex;
    ASSERT_TRUE(enter(mutex));
    std::promise<pid_t> number;
    std::atomic<bool> entered{false};
    std::thread waiter([&] {
        number.set_value(gettid());
        const ScopedLock lock(mutex);
        entered = true;
    });
    const std::string status = "/proc/self/task/" + std::to_string(number.get_future().get()) + "/stat";
    const auto sleeps = [&] {
        std::ifstream file(status);
        std::string text;
        return std::getline(file, text) && text.find(") S ") != std::string::npos;
    };
    while (!sleeps()) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(entered);
    leave(mutex);
    waiter.join();
    EXPECT_TRUE(entered);
}

TEST(RWLock, LetsReadersInTogether) {
    RWLock lock;
    std::latch bothInside(2);
    const auto read = [&] {
        const ScopedReadLock reading(lock);
        bothInside.arrive_and_wait();
    };
    std::thread other(read);
    read();
    other.join();
    EXPECT_TRUE(bothInside.try_wait());
}

TEST(RWLock, KeepsAWriterFromReadersAndWriters) {
    RWLock lock;
    int value = 0;
    int copy = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                const ScopedWriteLock writing(lock);
                ++value;
                ++copy;
            }
        });
    }
    int differences = 0;
    for (int round = 0; round < 1000; ++round) {
        const ScopedReadLock reading(lock);
        differences += value != copy;
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(differences, 0);
    EXPECT_EQ(value, 2000);
}

TEST(Event, DoesNotWaitForNoTime) {
    Event event(false);
    EXPECT_FALSE(event.timedWait(0));
    EXPECT_FALSE(event.timedWait(1));
}

TEST(Event, StartsInTheGivenState) {
    Event event(true);
    EXPECT_TRUE(event.timedWait(0));
}

TEST(Event, StaysSetUntilItIsReset) {
    Event event(false);
    event.set();
    EXPECT_TRUE(event.timedWait(0));
    EXPECT_TRUE(event.timedWait(forEver));
    event.reset();
    EXPECT_FALSE(event.timedWait(0));
}

TEST(Event, WakesEveryWaiter) {
    Event event(false);
    std::latch started(3);
    std::vector<int> woken(3, 0);
    std::vector<std::thread> threads;
    for (int& mark : woken) {
        threads.emplace_back([&] {
            started.count_down();
            mark = event.timedWait(forEver);
        });
    }
    started.wait();
    event.set();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(woken, std::vector<int>(3, 1));
}

TEST(Event, ShowsWhatWasWrittenBeforeItWasSet) {
    Event event(false);
    int written = 0;
    std::thread writer([&] {
        written = 5;
        event.set();
    });
    ASSERT_TRUE(event.timedWait(forEver));
    EXPECT_EQ(written, 5);
    writer.join();
}

}  // namespace
}  // namespace tessel
