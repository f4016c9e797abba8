#include <gtest/gtest.h>

#include <mutex>
#include <shared_mutex>
#include <thread>

#include "tessel/LockRank.h"
#include "tessel/Mutex.h"
#include "tessel/RWLock.h"

// Otherwise the tests of the order would vanish together with what they test.
#if defined(NDEBUG) == defined(TESSEL_CHECKS_LOCK_ORDER)
#error "builds for development check the order of locks, and no others"
#endif

namespace tessel {
namespace {

constexpr LockRank FIRST{1, "the first lock"};
constexpr LockRank SECOND{2, "the second lock"};

#ifdef TESSEL_CHECKS_LOCK_ORDER

// The compiler's check of locks would see each of these mistakes.
void take(Mutex& mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS { mutex.lock(); }
bool tryToTake(Mutex& mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS { return mutex.tryLock(); }
void giveBack(Mutex& mutex) TESSEL_NO_THREAD_SAFETY_ANALYSIS { mutex.unlock(); }
void takeToRead(RWLock& lock) TESSEL_NO_THREAD_SAFETY_ANALYSIS { lock.lockRead(); }
void takeToWrite(RWLock& lock) TESSEL_NO_THREAD_SAFETY_ANALYSIS { lock.lockWrite(); }

class LockOrderDeathTest : public testing::Test {
protected:
    /// Other threads of the program are none of a dying child's business.
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    Mutex first{FIRST};
    Mutex second{SECOND};
    Mutex leaf;
};

TEST_F(LockOrderDeathTest, OfAnEarlierLockAfterALaterOneEndsTheProcessAndNamesBoth) {
    EXPECT_DEATH(
        {
            take(second);
            take(first);
        },
        "^lock order: the first lock \\(1\\) is taken while the second lock \\(2\\) is held\n$");
}

TEST_F(LockOrderDeathTest, OfTwoLocksOfOnePlaceEndsTheProcess) {
    Mutex sibling{FIRST};
    EXPECT_DEATH(
        {
            take(first);
            take(sibling);
        },
        "the first lock \\(1\\) is taken while the first lock \\(1\\) is held");
    Mutex otherLeaf;
    EXPECT_DEATH(
        {
            take(leaf);
            take(otherLeaf);
        },
        "a leaf lock .* is taken while a leaf lock .* is held");
}

TEST_F(LockOrderDeathTest, OfAnyLockAfterALeafEndsTheProcess) {
    EXPECT_DEATH(
        {
            take(leaf);
            take(second);
        },
        "the second lock \\(2\\) is taken while a leaf lock .* is held");
}

TEST_F(LockOrderDeathTest, IsAskedForByWhoeverWillWaitByOtherMeans) {
    EXPECT_DEATH(
        {
            take(second);
            first.checkOrder();
        },
        "the first lock \\(1\\) is taken while the second lock \\(2\\) is held");
}

TEST_F(LockOrderDeathTest, HoldsForReadersAndWriters) {
    RWLock lock(FIRST);
    EXPECT_DEATH(
        {
            take(second);
            takeToRead(lock);
        },
        "the first lock \\(1\\) is taken while the second lock");
    EXPECT_DEATH(
        {
            take(second);
            takeToWrite(lock);
        },
        "the first lock \\(1\\) is taken while the second lock");
    EXPECT_DEATH(
        {
            takeToRead(lock);
            takeToRead(lock);
        },
        "the first lock \\(1\\) is taken again while the first lock");
}

TEST_F(LockOrderDeathTest, HoldsForWhatWasTakenWithoutAWait) {
    EXPECT_DEATH(
        {
            tryToTake(second);
            take(first);
        },
        "the first lock \\(1\\) is taken while the second lock");
}

TEST_F(LockOrderDeathTest, OfALockThatAnotherThreadHasTakenIsNoneOfTheOneThatGivesItBack) {
    EXPECT_DEATH(
        {
            take(first);
            std::thread([&] { giveBack(first); }).join();
        },
        "the first lock \\(1\\) is given back by another thread");
}

#endif

TEST(LockOrder, LetsAThreadTakeLaterLocksAndThoseThatItHolds) {
    Mutex first(FIRST);
    RWLock second(SECOND);
    Mutex leaf;
    const ScopedLock holdsTheFirst(first);
    {
        const ScopedReadLock holdsTheSecond(second);
        const ScopedLock holdsTheLeaf(leaf);
        [&]() TESSEL_NO_THREAD_SAFETY_ANALYSIS { const ScopedLock holdsTheFirstAgain(first); }();
    }
    const ScopedWriteLock holdsTheSecond(second);
    const ScopedLock holdsTheLeaf(leaf);
}

TEST(LockOrder, ForgetsWhatWasGivenBackInWhateverOrder) {
    Mutex first(FIRST);
    Mutex second(SECOND);
    [&]() TESSEL_NO_THREAD_SAFETY_ANALYSIS {
        first.lock();
        second.lock();
        first.unlock();
        second.unlock();
        first.lock();
        first.unlock();
    }();
}

TEST(LockOrder, IsOfOneThreadAlone) {
    Mutex first(FIRST);
    Mutex second(SECOND);
    const ScopedLock holdsTheSecond(second);
    std::thread([&] { const ScopedLock holdsTheFirst(first); }).join();
}

TEST(LockOrder, DoesNotBindWhoeverCannotWait) {
    Mutex first(FIRST);
    Mutex second(SECOND);
    [&]() TESSEL_NO_THREAD_SAFETY_ANALYSIS {
        second.lock();
        EXPECT_TRUE(first.tryLock());
        first.unlock();
        second.unlock();
    }();
}

#ifndef TESSEL_CHECKS_LOCK_ORDER
TEST(LockOrder, CostsUsersNothing) {
    EXPECT_EQ(sizeof(Mutex), sizeof(std::recursive_mutex));
    EXPECT_EQ(sizeof(RWLock), sizeof(std::shared_mutex));
}
#endif

}  // namespace
}  // namespace tessel
