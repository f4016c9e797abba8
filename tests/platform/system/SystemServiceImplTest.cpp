#include "impl/system/SystemServiceImpl.h"

#include <string>
#include <thread>

#include "impl/system/ServerHealthInformationImpl.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Entry = std::shared_ptr<ServerHealthInformation>;

/// One call of a list callback.
struct ListChange {
    bool added;
    ServerHealthInformationList whole;
    ServerHealthInformationList concerned;

    bool operator==(const ListChange&) const = default;
};

class SystemServiceImplTest : public ::testing::Test {
protected:
    std::weak_ptr<PropertyNotifierConnection> watchList() {
        return service.getSystemServiceNotifiers()->getServerHealthInformationListNotifier()->connect(
            [this](bool added, std::shared_ptr<ServerHealthInformationList> whole,
                   std::shared_ptr<ServerHealthInformationList> concerned) {
                changes.push_back({added, *whole, *concerned});
            });
    }

    SystemServiceImpl service;
    std::vector<ListChange> changes;
    const Entry softphone = std::make_shared<ServerHealthInformationImpl>(2);
    const Entry other = std::make_shared<ServerHealthInformationImpl>(4);
    const Entry third = std::make_shared<ServerHealthInformationImpl>(9);
};

}  // namespace

TEST_F(SystemServiceImplTest, IsInEdgeModeWhenTold) {
    EXPECT_FALSE(service.isEdgeMode());
    service.setEdgeMode(true);
    EXPECT_TRUE(service.isEdgeMode());
    service.setEdgeMode(false);
    EXPECT_FALSE(service.isEdgeMode());
}

TEST_F(SystemServiceImplTest, StartsWithAnEmptyList) {
    ASSERT_NE(service.getServerHealthInformationList(), nullptr);
    EXPECT_THAT(*service.getServerHealthInformationList(), IsEmpty());
}

TEST_F(SystemServiceImplTest, GivesCopiesOfTheList) {
    service.setServerHealthInformationList({softphone});
    service.getServerHealthInformationList()->clear();
    EXPECT_THAT(*service.getServerHealthInformationList(), ElementsAre(softphone));
}

TEST_F(SystemServiceImplTest, AddsAnEntryAndFires) {
    watchList();
    service.addServerHealthInformation(softphone);
    service.addServerHealthInformation(other);
    EXPECT_THAT(*service.getServerHealthInformationList(), ElementsAre(softphone, other));
    EXPECT_THAT(changes,
                ElementsAre(ListChange{true, {softphone}, {softphone}}, ListChange{true, {softphone, other}, {other}}));
}

TEST_F(SystemServiceImplTest, RemovesAnEntryAndFires) {
    service.setServerHealthInformationList({softphone, other});
    watchList();
    service.removeServerHealthInformation(softphone);
    EXPECT_THAT(*service.getServerHealthInformationList(), ElementsAre(other));
    EXPECT_THAT(changes, ElementsAre(ListChange{false, {other}, {softphone}}));
}

TEST_F(SystemServiceImplTest, FiresNothingWhereNothingChanges) {
    service.setServerHealthInformationList({softphone});
    watchList();
    service.addServerHealthInformation(softphone);
    service.addServerHealthInformation(nullptr);
    service.removeServerHealthInformation(other);
    service.removeServerHealthInformation(nullptr);
    service.setServerHealthInformationList({softphone, nullptr});
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_THAT(*service.getServerHealthInformationList(), ElementsAre(softphone));
}

TEST_F(SystemServiceImplTest, FiresForWhatIsGoneAndThenForWhatIsNew) {
    service.setServerHealthInformationList({softphone, other});
    watchList();
    service.setServerHealthInformationList({other, third});
    EXPECT_THAT(changes,
                ElementsAre(ListChange{false, {other, third}, {softphone}}, ListChange{true, {other, third}, {third}}));
}

TEST_F(SystemServiceImplTest, GivesEachCallbackOfAListItsTurnAndNoneAfterDisconnect) {
    const auto first = watchList();
    watchList();
    service.addServerHealthInformation(softphone);
    EXPECT_EQ(changes.size(), 2U);
    first.lock()->disconnect();
    service.addServerHealthInformation(other);
    EXPECT_EQ(changes.size(), 3U);
}

TEST_F(SystemServiceImplTest, HoldsNoLockWhileAListCallbackRuns) {
    std::size_t seen = 0;
    service.getSystemServiceNotifiers()->getServerHealthInformationListNotifier()->connect(
        [&](bool, const auto&, const auto&) {
            std::thread([&] { seen = service.getServerHealthInformationList()->size(); }).join();
        });
    service.addServerHealthInformation(softphone);
    EXPECT_EQ(seen, 1U);
}

TEST_F(SystemServiceImplTest, FiresWhenAnotherUsersProfileIsLoaded) {
    int fired = 0;
    const auto connection = service.getSystemServiceNotifiers()->getUserProfileNotifier()->connect([&] { ++fired; });
    service.userProfileChanged();
    EXPECT_EQ(fired, 1);
    connection.lock()->disconnect();
    service.userProfileChanged();
    EXPECT_EQ(fired, 1);
}

TEST_F(SystemServiceImplTest, GivesTheSameNotifiersAndProviderEachTime) {
    const auto notifiers = service.getSystemServiceNotifiers();
    EXPECT_EQ(service.getSystemServiceNotifiers(), notifiers);
    EXPECT_EQ(notifiers->getUserProfileNotifier(), notifiers->getUserProfileNotifier());
    EXPECT_NE(service.resetDataProvider(), nullptr);
    EXPECT_EQ(service.getResetDataProvider(), service.resetDataProvider());
}

TEST_F(SystemServiceImplTest, LetsGoOfCallbacksThatWereNeverDisconnected) {
    auto held = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = held;
    {
        SystemServiceImpl passing;
        const auto notifiers = passing.getSystemServiceNotifiers();
        notifiers->getUserProfileNotifier()->connect([held] { ++*held; });
        notifiers->getServerHealthInformationListNotifier()->connect(
            [held](bool, const auto&, const auto&) { ++*held; });
        held.reset();
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST_F(SystemServiceImplTest, IsUsedByManyThreadsAtOnce) {
    std::atomic<int> fired{0};
    service.getSystemServiceNotifiers()->getServerHealthInformationListNotifier()->connect(
        [&](bool, const auto&, const auto&) { ++fired; });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                const auto entry = std::make_shared<ServerHealthInformationImpl>(2);
                service.addServerHealthInformation(entry);
                service.setEdgeMode(!service.isEdgeMode());
                EXPECT_FALSE(service.getServerHealthInformationList()->empty());
                service.removeServerHealthInformation(entry);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(fired, 4 * 50 * 2);
}

TEST(ServerHealthInformationImpl, TellsItsTypeAndStatus) {
    const ServerHealthInformationImpl fresh(2);
    EXPECT_EQ(fresh.getServerHealthType(), 2);
    EXPECT_NE(fresh.getConnectionStatus(), 1);
    const ServerHealthInformationImpl connected(4, 1);
    EXPECT_EQ(connected.getServerHealthType(), 4);
    EXPECT_EQ(connected.getConnectionStatus(), 1);
}

TEST(ServerHealthInformationImpl, FiresWhenItsStatusChanges) {
    ServerHealthInformationImpl entry(2);
    std::vector<int> seen;
    entry.getServerHealthInformationNotifiers()->getConnectionStatusNotifier()->connect(
        [&] { seen.push_back(entry.getConnectionStatus()); });
    entry.setConnectionStatus(1);
    entry.setConnectionStatus(1);
    entry.setConnectionStatus(3);
    EXPECT_THAT(seen, ElementsAre(1, 3));
}
