#include "inspecting/EventOutlet.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

using namespace corvidctl;

TEST(EventOutlet, TellsASinkUntilItsScopeEnds) {
    EventOutlet outlet;
    std::vector<std::string> told;
    outlet.send({"before", "{}", 0});
    {
        const OutletScope telling(outlet, [&told](const ServerEvent& event) { told.push_back(event.name); });
        outlet.send({"meanwhile", "{}", 0});
    }
    outlet.send({"afterwards", "{}", 0});
    EXPECT_THAT(told, testing::ElementsAre("meanwhile"));
}

TEST(EventOutlet, TellsNoSinkWhoseScopeWasLeftByAnException) {
    EventOutlet outlet;
    std::vector<std::string> told;
    const auto fail = [&] {
        const OutletScope telling(outlet, [&told](const ServerEvent& event) { told.push_back(event.name); });
        throw std::runtime_error("no port is free");
    };
    EXPECT_THROW(fail(), std::runtime_error);
    outlet.send({"afterwards", "{}", 0});
    EXPECT_THAT(told, testing::IsEmpty());
}
