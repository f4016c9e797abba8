#include "inspecting/EventOutlet.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <vector>

using namespace corvidctl;

namespace {

EventOutlet::Event called(const std::string& name) {
    return [name] { return ServerEvent{name, "{}", 0}; };
}

}  // namespace

TEST(EventOutlet, TellsASinkUntilItsScopeEnds) {
    EventOutlet outlet;
    std::vector<std::string> told;
    outlet.send(called("before"));
    {
        const OutletScope telling(outlet, [&told](const EventOutlet::Event& event) { told.push_back(event().name); });
        outlet.send(called("meanwhile"));
    }
    outlet.send(called("afterwards"));
    EXPECT_THAT(told, testing::ElementsAre("meanwhile"));
}

TEST(EventOutlet, TellsNoSinkWhoseScopeWasLeftByAnException) {
    EventOutlet outlet;
    std::vector<std::string> told;
    const auto fail = [&] {
        const OutletScope telling(outlet, [&told](const EventOutlet::Event& event) { told.push_back(event().name); });
        throw std::runtime_error("no port is free");
    };
    EXPECT_THROW(fail(), std::runtime_error);
    outlet.send(called("afterwards"));
    EXPECT_THAT(told, testing::IsEmpty());
}

TEST(EventOutlet, MakesNoEventThatNobodyIsToldOf) {
    EventOutlet outlet;
    const EventOutlet::Event unwanted = []() -> ServerEvent { throw std::logic_error("made for nobody"); };
    EXPECT_NO_THROW(outlet.send(unwanted));
    const OutletScope deaf(outlet, [](const EventOutlet::Event&) {});
    EXPECT_NO_THROW(outlet.send(unwanted));
}
