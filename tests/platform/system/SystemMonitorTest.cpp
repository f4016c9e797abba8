#include "system/SystemMonitor.h"

#include <stdexcept>
#include <thread>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "impl/system/SystemMonitorImpl.h"

using namespace TesselSystemMonitor;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Observer final : public PowerEventObserver {
public:
    explicit Observer(std::function<void(PowerEventTypeEnum::PowerEventType)> told) : told_(std::move(told)) {}

    void onPowerEvent(PowerEventTypeEnum::PowerEventType type) override { told_(type); }

private:
    std::function<void(PowerEventTypeEnum::PowerEventType)> told_;
};

class SystemMonitorTest : public ::testing::Test {
protected:
    std::shared_ptr<Observer> observer(const std::string& name) {
        return std::make_shared<Observer>(
            [this, name](PowerEventTypeEnum::PowerEventType type) { told.push_back(name + std::to_string(type)); });
    }

    SystemMonitorImpl monitor;
    std::vector<std::string> told;
};

}  // namespace

TEST(PowerEventTypeEnum, HasTheNumbersThatTheSystemUses) {
    EXPECT_EQ(PowerEventTypeEnum::None, 0);
    EXPECT_EQ(PowerEventTypeEnum::Sleep, 1);
    EXPECT_EQ(PowerEventTypeEnum::Resume, 2);
    EXPECT_EQ(PowerEventTypeEnum::PowerDown, 3);
}

TEST_F(SystemMonitorTest, TellsObserversInTheOrderOfRegistration) {
    const auto first = observer("a");
    const auto second = observer("b");
    monitor.addPowerEventObserver(first);
    monitor.addPowerEventObserver(second);
    monitor.report(PowerEventTypeEnum::PowerDown);
    monitor.report(PowerEventTypeEnum::Sleep);
    EXPECT_THAT(told, ElementsAre("a3", "b3", "a1", "b1"));
}

TEST_F(SystemMonitorTest, CountsAnObserverOnceAndTellsARemovedOneNothing) {
    const auto first = observer("a");
    const auto second = observer("b");
    monitor.addPowerEventObserver(first);
    monitor.addPowerEventObserver(second);
    monitor.addPowerEventObserver(first);
    monitor.removePowerEventObserver(second);
    monitor.removePowerEventObserver(second);
    monitor.removePowerEventObserver({});
    monitor.report(PowerEventTypeEnum::Resume);
    EXPECT_THAT(told, ElementsAre("a2"));
}

TEST_F(SystemMonitorTest, HoldsObserversWeakly) {
    auto dropped = observer("a");
    const auto kept = observer("b");
    monitor.addPowerEventObserver(dropped);
    monitor.addPowerEventObserver({});
    monitor.addPowerEventObserver(kept);
    dropped.reset();
    monitor.report(PowerEventTypeEnum::Sleep);
    EXPECT_THAT(told, ElementsAre("b1"));
}

TEST_F(SystemMonitorTest, HoldsNoLockWhileAnObserverIsTold) {
    const auto late = observer("late");
    const auto calling = std::make_shared<Observer>(
        [&](PowerEventTypeEnum::PowerEventType) { std::thread([&] { monitor.addPowerEventObserver(late); }).join(); });
    monitor.addPowerEventObserver(calling);
    monitor.report(PowerEventTypeEnum::Sleep);
    EXPECT_THAT(told, IsEmpty());
    monitor.report(PowerEventTypeEnum::Resume);
    EXPECT_THAT(told, ElementsAre("late2"));
}

TEST_F(SystemMonitorTest, TellsNothingToThoseThatAnEarlierObserverRemovesOrDrops) {
    const auto removed = observer("removed");
    auto dropped = observer("dropped");
    const auto calling = std::make_shared<Observer>([&](PowerEventTypeEnum::PowerEventType) {
        monitor.removePowerEventObserver(removed);
        dropped.reset();
    });
    monitor.addPowerEventObserver(calling);
    monitor.addPowerEventObserver(removed);
    monitor.addPowerEventObserver(dropped);
    monitor.report(PowerEventTypeEnum::Sleep);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(SystemMonitorTest, TellsTheOthersWhenAnObserverThrows) {
    const fakes::ScopedRecordingLog log;
    const auto throwing = std::make_shared<Observer>(
        [](PowerEventTypeEnum::PowerEventType) { throw std::runtime_error("out of order"); });
    const auto next = observer("next");
    monitor.addPowerEventObserver(throwing);
    monitor.addPowerEventObserver(next);
    monitor.report(PowerEventTypeEnum::PowerDown);
    EXPECT_THAT(told, ElementsAre("next3"));
    EXPECT_THAT(log->texts(2), ElementsAre("Task [onPowerEvent] threw: out of order"));
}

TEST_F(SystemMonitorTest, ReportsWhileOthersRegister) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 100; ++j) {
                const auto passing = std::make_shared<Observer>([](PowerEventTypeEnum::PowerEventType) {});
                monitor.addPowerEventObserver(passing);
                monitor.report(PowerEventTypeEnum::Sleep);
                monitor.removePowerEventObserver(passing);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const auto last = observer("last");
    monitor.addPowerEventObserver(last);
    monitor.report(PowerEventTypeEnum::Sleep);
    EXPECT_THAT(told, ElementsAre("last1"));
}

TEST(SystemMonitorFactory, GivesTheMonitorOfTheWorld) {
    fakes::ScopedWorld world;
    const auto monitor = std::make_shared<SystemMonitorImpl>();
    world.change([&](platform::World& changed) { changed.systemMonitor = monitor; });
    EXPECT_EQ(SystemMonitorFactory::getInstance(), monitor);
}

TEST(SystemMonitorFactory, GivesAMonitorThatIsQuietWithoutOne) {
    const fakes::ScopedWorld world;
    const auto monitor = SystemMonitorFactory::getInstance();
    ASSERT_NE(monitor, nullptr);
    const auto observer = std::make_shared<Observer>([](PowerEventTypeEnum::PowerEventType) {});
    monitor->addPowerEventObserver(observer);
    monitor->removePowerEventObserver(observer);
    EXPECT_EQ(observer.use_count(), 1);
}
