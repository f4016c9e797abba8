#include "impl/system/ResetDataProviderImpl.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "fakes/RecordingLogSink.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Callback : public ProviderResetDataCallback {
public:
    explicit Callback(std::function<void()> invoked) : invoked_(std::move(invoked)) {}

    void InvokeResetData() override { invoked_(); }

private:
    std::function<void()> invoked_;
};

class ResetDataProviderTest : public ::testing::Test {
protected:
    std::shared_ptr<Callback> callback(const std::string& name) {
        return std::make_shared<Callback>([this, name] { invoked.push_back(name); });
    }

    ResetDataProviderImpl provider;
    std::vector<std::string> invoked;
};

}  // namespace

TEST_F(ResetDataProviderTest, InvokesAllInTheOrderOfRegistration) {
    provider.registerResetDataCallback(callback("a"));
    provider.registerResetDataCallback(callback("b"));
    provider.invokeResetData();
    EXPECT_THAT(invoked, ElementsAre("a", "b"));
}

TEST_F(ResetDataProviderTest, CountsACallbackOnceAndIgnoresNull) {
    const auto one = callback("a");
    provider.registerResetDataCallback(one);
    provider.registerResetDataCallback(nullptr);
    provider.registerResetDataCallback(one);
    provider.invokeResetData();
    EXPECT_THAT(invoked, ElementsAre("a"));
}

TEST_F(ResetDataProviderTest, InvokesARemovedOneNoMore) {
    const auto one = callback("a");
    provider.registerResetDataCallback(one);
    provider.registerResetDataCallback(callback("b"));
    provider.removeResetDataCallback(one);
    provider.removeResetDataCallback(one);
    provider.removeResetDataCallback(nullptr);
    provider.invokeResetData();
    EXPECT_THAT(invoked, ElementsAre("b"));
    EXPECT_EQ(one.use_count(), 1);
}

TEST_F(ResetDataProviderTest, KeepsACallbackAliveUntilItIsCleared) {
    auto one = callback("a");
    const std::weak_ptr<Callback> watch = one;
    provider.registerResetDataCallback(std::move(one));
    EXPECT_FALSE(watch.expired());
    provider.clear();
    EXPECT_TRUE(watch.expired());
    provider.invokeResetData();
    EXPECT_THAT(invoked, IsEmpty());
}

TEST_F(ResetDataProviderTest, HoldsNoLockWhileACallbackRuns) {
    const auto late = callback("late");
    provider.registerResetDataCallback(
        std::make_shared<Callback>([&] { std::thread([&] { provider.registerResetDataCallback(late); }).join(); }));
    provider.invokeResetData();
    EXPECT_THAT(invoked, IsEmpty());
    provider.invokeResetData();
    EXPECT_THAT(invoked, ElementsAre("late"));
}

TEST_F(ResetDataProviderTest, InvokesTheOthersBehindOneThatThrowsAndThrowsTheFirstExceptionThen) {
    const fakes::ScopedRecordingLog log;
    provider.registerResetDataCallback(std::make_shared<Callback>([] { throw std::runtime_error("first"); }));
    provider.registerResetDataCallback(callback("a"));
    provider.registerResetDataCallback(std::make_shared<Callback>([] { throw std::logic_error("second"); }));
    provider.registerResetDataCallback(callback("b"));
    EXPECT_THROW(provider.invokeResetData(), std::runtime_error);
    EXPECT_THAT(invoked, ElementsAre("a", "b"));
    EXPECT_THAT(log->texts(2), ElementsAre("A further callback threw: second"));
}

TEST_F(ResetDataProviderTest, IsUsedByManyThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                const auto passing = std::make_shared<Callback>([] {});
                provider.registerResetDataCallback(passing);
                provider.invokeResetData();
                provider.removeResetDataCallback(passing);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    provider.registerResetDataCallback(callback("last"));
    provider.invokeResetData();
    EXPECT_THAT(invoked, ElementsAre("last"));
}

TEST(ProviderResetDataCallback, TellsItsInterfaceName) {
    EXPECT_EQ(Callback([] {}).getInterfaceName(), "ProviderResetDataCallback");
}
