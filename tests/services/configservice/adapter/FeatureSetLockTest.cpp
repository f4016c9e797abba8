#include "FeatureSetLock.h"

#include <future>
#include <latch>
#include <thread>

#include "fakes/HandSteppedDispatcher.h"
#include "quill/FunctionTask.h"

namespace {

using IfBusy = FeatureSetLock::IfBusy;

class CountingDispatcher : public fakes::HandSteppedDispatcher {
public:
    void wake() override {
        ++wakes;
        HandSteppedDispatcher::wake();
    }
    int wakes = 0;
};

/// Holds the mutex on a thread of its own until told to let go.
class OtherHolder {
public:
    OtherHolder(tessel::Mutex& mutex, const std::shared_ptr<ServicesDispatcher>& dispatcher)
        : thread_([&, dispatcher] {
              const FeatureSetLock lock(mutex, dispatcher, IfBusy::Wait);
              held_.count_down();
              release_.wait();
          }) {
        held_.wait();
    }
    ~OtherHolder() {
        release();
        thread_.join();
    }
    void release() {
        if (!released_) {
            released_ = true;
            release_.count_down();
        }
    }

private:
    std::latch held_{1};
    std::latch release_{1};
    bool released_ = false;
    std::thread thread_;
};

}  // namespace

TEST(FeatureSetLock, IsReentrant) {
    tessel::Mutex mutex;
    const FeatureSetLock outer(mutex, nullptr, IfBusy::Wait);
    const FeatureSetLock inner(mutex, nullptr, IfBusy::GiveUp);
    EXPECT_TRUE(outer.isHeld());
    EXPECT_TRUE(inner.isHeld());
}

TEST(FeatureSetLock, LetsGoAtTheEndOfItsScope) {
    tessel::Mutex mutex;
    { const FeatureSetLock lock(mutex, nullptr, IfBusy::Wait); }
    EXPECT_TRUE(
        std::async(std::launch::async, [&] { return FeatureSetLock(mutex, nullptr, IfBusy::GiveUp).isHeld(); }).get());
}

TEST(FeatureSetLock, GivesUpWhenBusyIfToldSo) {
    tessel::Mutex mutex;
    const OtherHolder holder(mutex, nullptr);
    EXPECT_FALSE(FeatureSetLock(mutex, nullptr, IfBusy::GiveUp).isHeld());
}

TEST(FeatureSetLock, WaitsOnAThreadThatIsNotTheDispatchers) {
    tessel::Mutex mutex;
    OtherHolder holder(mutex, nullptr);
    auto waiter = std::async(std::launch::async, [&] { return FeatureSetLock(mutex, nullptr, IfBusy::Wait).isHeld(); });
    holder.release();
    EXPECT_TRUE(waiter.get());
}

TEST(FeatureSetLock, OnTheDispatcherThreadServesTheHolderThatWaitsForIt) {
    tessel::Mutex mutex;
    const auto dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    bool ran = false;
    std::latch held(1);
    std::thread holder([&] {
        const FeatureSetLock lock(mutex, dispatcher, IfBusy::Wait);
        held.count_down();
        dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>([&] { ran = true; }, "blocked"));
    });
    held.wait();
    {
        // Without serving, both threads would wait for ever.
        const FeatureSetLock lock(mutex, dispatcher, IfBusy::Wait);
        EXPECT_TRUE(lock.isHeld());
    }
    holder.join();
    EXPECT_TRUE(ran);
}

TEST(FeatureSetLock, WakesTheDispatcherThreadAtEveryRelease) {
    tessel::Mutex mutex;
    const auto dispatcher = std::make_shared<CountingDispatcher>();
    { const FeatureSetLock lock(mutex, dispatcher, IfBusy::Wait); }
    { const FeatureSetLock lock(mutex, dispatcher, IfBusy::GiveUp); }
    EXPECT_EQ(dispatcher->wakes, 2);
}

TEST(FeatureSetLock, WakesNobodyIfItWasNotHeld) {
    tessel::Mutex mutex;
    const auto dispatcher = std::make_shared<CountingDispatcher>();
    const OtherHolder holder(mutex, nullptr);
    { const FeatureSetLock lock(mutex, dispatcher, IfBusy::GiveUp); }
    EXPECT_EQ(dispatcher->wakes, 0);
}
