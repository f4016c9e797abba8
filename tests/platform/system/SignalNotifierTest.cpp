#include "impl/system/SignalNotifier.h"

#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <vector>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class SignalNotifierTest : public ::testing::Test {
protected:
    std::function<void()> adds(const std::string& text) {
        return [this, text] { called.push_back(text); };
    }

    SignalNotifier notifier;
    std::vector<std::string> called;
};

}  // namespace

TEST_F(SignalNotifierTest, FiresWithoutConnections) {
    notifier.fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(SignalNotifierTest, CallsThoseOfConnectBeforeThoseOfAddConnection) {
    notifier.addConnection(adds("third"));
    notifier.connect(adds("first"));
    notifier.connect(adds("second"));
    notifier.addConnection(adds("fourth"));
    notifier.fire();
    EXPECT_THAT(called, ElementsAre("first", "second", "third", "fourth"));
}

TEST_F(SignalNotifierTest, IsConnectedUntilItIsDisconnected) {
    const auto connection = notifier.connect(adds("a")).lock();
    ASSERT_NE(connection, nullptr);
    EXPECT_TRUE(connection->connected());
    connection->disconnect();
    EXPECT_FALSE(connection->connected());
    connection->disconnect();
    EXPECT_FALSE(connection->connected());
    notifier.fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(SignalNotifierTest, DisconnectLeavesTheOthersInTheirOrder) {
    notifier.addConnection(adds("a"));
    const auto gone = notifier.addConnection(adds("b"));
    notifier.addConnection(adds("c"));
    gone.lock()->disconnect();
    EXPECT_TRUE(gone.expired());
    notifier.fire();
    EXPECT_THAT(called, ElementsAre("a", "c"));
}

TEST_F(SignalNotifierTest, ACallbackThatDisconnectsALaterOnePreventsItsCall) {
    std::weak_ptr<PropertyNotifierConnection> later;
    std::weak_ptr<PropertyNotifierConnection> laterStill;
    notifier.connect([&] {
        later.lock()->disconnect();
        laterStill.lock()->disconnect();
    });
    later = notifier.connect(adds("later"));
    laterStill = notifier.addConnection(adds("later still"));
    notifier.fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST_F(SignalNotifierTest, ACallbackMayDisconnectItself) {
    std::weak_ptr<PropertyNotifierConnection> own;
    const auto held = std::make_shared<std::string>("once");
    own = notifier.connect([this, &own, held] {
        own.lock()->disconnect();
        called.push_back(*held);
    });
    notifier.fire();
    notifier.fire();
    EXPECT_THAT(called, ElementsAre("once"));
    EXPECT_TRUE(own.expired());
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(SignalNotifierTest, CallsOneThatIsConnectedInAFireAtTheNextUnlessItsListIsStillToCome) {
    bool first = true;
    notifier.connect([&] {
        if (std::exchange(first, false)) {
            notifier.connect(adds("same list"));
            notifier.addConnection(adds("second list"));
        }
    });
    notifier.fire();
    EXPECT_THAT(called, ElementsAre("second list"));
    notifier.fire();
    EXPECT_THAT(called, ElementsAre("second list", "same list", "second list"));
}

TEST_F(SignalNotifierTest, HoldsNoLockWhileACallbackRuns) {
    notifier.connect([&] { std::thread([&] { notifier.connect(adds("connected meanwhile")); }).join(); });
    notifier.addConnection([&] { std::thread([&] { notifier.addConnection(adds("added meanwhile")); }).join(); });
    notifier.fire();
    EXPECT_THAT(called, IsEmpty());
}

TEST(SignalNotifier, ThrowsTheBadCallOfAnEmptyCallback) {
    SignalNotifier notifier;
    notifier.connect(boost::function<void()>());
    EXPECT_THROW(notifier.fire(), boost::bad_function_call);
}

TEST(SignalNotifier, LetsGoOfCallbacksThatWereNeverDisconnected) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    std::weak_ptr<PropertyNotifierConnection> connection;
    {
        SignalNotifier notifier;
        connection = notifier.connect([held] { ++*held; });
        notifier.addConnection([held] { ++*held; });
        held.reset();
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(connection.expired());
}

TEST(SignalNotifier, TakesADisconnectAfterItsEnd) {
    std::shared_ptr<PropertyNotifierConnection> connection;
    {
        SignalNotifier notifier;
        connection = notifier.connect([] {}).lock();
    }
    connection->disconnect();
    EXPECT_FALSE(connection->connected());
}

TEST(SignalNotifier, MayBeDroppedByItsOwnCallback) {
    auto notifier = std::make_shared<SignalNotifier>();
    int calls = 0;
    notifier->connect([&] {
        ++calls;
        notifier.reset();
    });
    notifier->addConnection([&] { ++calls; });
    notifier->fire();
    EXPECT_EQ(calls, 2);
}

TEST(SignalNotifier, FiresWhileOthersConnectAndDisconnect) {
    SignalNotifier notifier;
    std::atomic<int> calls{0};
    std::latch together(4);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            together.arrive_and_wait();
            for (int j = 0; j < 100; ++j) {
                const auto first = notifier.connect([&] { ++calls; });
                const auto second = notifier.addConnection([&] { ++calls; });
                notifier.fire();
                first.lock()->disconnect();
                second.lock()->disconnect();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const int before = calls;
    EXPECT_GE(before, 4 * 100 * 2);
    notifier.fire();
    EXPECT_EQ(calls, before);
}
