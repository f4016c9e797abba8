#include <gtest/gtest.h>

#include "fakes/ScopedWorld.h"
#include "fakes/TemporaryDirectory.h"
#include "impl/tessel/SystemFips.h"
#include "tessel/FipsUtils.h"

namespace tessel::common {
namespace {

TEST(FipsUtils, AsksTheWorldAnewOnEachCall) {
    fakes::ScopedWorld world;
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
    world.setFips(true);
    EXPECT_TRUE(FipsUtils::isFipsEnabled());
    world.setFips(false);
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
}

TEST(FipsUtils, IsOffInAWorldThatDoesNotTell) {
    fakes::ScopedWorld world;
    world.setFips(true);
    world.change([](platform::World& changed) { changed.fipsMode = nullptr; });
    EXPECT_FALSE(FipsUtils::isFipsEnabled());
}

TEST(SystemFips, IsOnWhenTheKernelSaysSo) {
    const fakes::TemporaryDirectory directory;
    EXPECT_TRUE(isSystemFipsEnabled(directory.write("on", "1\n")));
}

TEST(SystemFips, IsOffWhenTheKernelSaysSoOrSaysNothing) {
    const fakes::TemporaryDirectory directory;
    EXPECT_FALSE(isSystemFipsEnabled(directory.write("off", "0\n")));
    EXPECT_FALSE(isSystemFipsEnabled(directory.write("strange", "on\n")));
    EXPECT_FALSE(isSystemFipsEnabled(directory.write("empty", "")));
    EXPECT_FALSE(isSystemFipsEnabled(directory.path("missing")));
}

}  // namespace
}  // namespace tessel::common
