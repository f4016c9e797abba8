#include "system/World.h"

#include <thread>
#include <vector>

#include "fakes/ScopedWorld.h"

TEST(World, IsAnEmptyOneUntilAHostSetsIt) {
    platform::setWorld(nullptr);
    const auto world = platform::getWorld();
    ASSERT_NE(world, nullptr);
    EXPECT_EQ(world->configDirectory, "");
    EXPECT_EQ(world->installationDirectory, "");
    EXPECT_EQ(world->bootstrapFilePath, "");
    EXPECT_FALSE(world->fipsMode);
    EXPECT_EQ(world->threadPool, nullptr);
    EXPECT_EQ(world->systemMonitor, nullptr);
}

TEST(World, IsTheOneThatWasSetLast) {
    const fakes::ScopedWorld restoring;
    const auto first = std::make_shared<const platform::World>();
    const auto second = std::make_shared<const platform::World>();
    platform::setWorld(first);
    platform::setWorld(second);
    EXPECT_EQ(platform::getWorld(), second);
    EXPECT_EQ(first.use_count(), 1);
}

TEST(World, StaysAliveForACallerUnderWay) {
    const fakes::ScopedWorld restoring;
    platform::World old;
    old.configDirectory = "old";
    platform::setWorld(std::make_shared<const platform::World>(old));
    const auto underWay = platform::getWorld();
    platform::setWorld(nullptr);
    EXPECT_EQ(underWay->configDirectory, "old");
}

TEST(World, IsSetAndAskedForByManyThreads) {
    const fakes::ScopedWorld restoring;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 100; ++j) {
                platform::setWorld(std::make_shared<const platform::World>());
                EXPECT_NE(platform::getWorld(), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
