#include <gtest/gtest.h>

#include <map>
#include <utility>

#include "Comparison.h"
#include "ModuleWorld.h"
#include "Sanitized.h"
#include "StepGenerator.h"
#include "fakes/HandSteppedDispatcher.h"

namespace simulation {
namespace {

/// Keys that were never renamed: for these the live value is the chain's answer, without exception.
const std::vector<std::wstring> plainKeys = {L"Theme", L"THEME", L"language", L"Beta_Feature", L"configurationfile"};

std::string printableSteps(std::uint64_t seed, const std::vector<Step>& steps, std::size_t count) {
    std::string text = "CORVID_TEST_SEED=" + std::to_string(seed) + "\n";
    for (std::size_t index = 0; index < count; ++index) {
        text += "    " + describe(steps[index]) + "\n";
    }
    return text;
}

/// What the chain says of a key that was never renamed, put together from its answers.
ValueState answerOf(const std::wstring& key, ConfigStoreManager& manager) {
    ValueState state;
    bool otherName = false;
    state.isDefined = manager.getValue(key, state.value, state.valueStoreName, otherName, false);
    state.isOverridden =
        manager.getOriginalValue(key, state.originalValue, state.originalValueStoreName, otherName) && state.isDefined;
    return state;
}

void expectLiveValuesOfTheChain(ModuleWorld& world) {
    for (const std::wstring& key : plainKeys) {
        const ValueState live = stateOf(*world.module().service().getConfig(key));
        ValueState answer = answerOf(key, world.module().manager());
        answer.key = live.key;
        // A silent report never turns "defined" off, so a key that went with its store may still be defined.
        answer.isDefined = answer.isDefined || live.isDefined;
        EXPECT_EQ(describe(live), describe(answer));
    }
}

bool tellsTheSame(Property property, const ValueState& heard, const ValueState& now) {
    switch (property) {
    case Property::Value:
        return heard.value == now.value;
    case Property::OriginalValue:
        return heard.originalValue == now.originalValue;
    case Property::isOverridden:
        return heard.isOverridden == now.isOverridden;
    case Property::isDefined:
        return heard.isDefined == now.isDefined;
    case Property::ValueStoreName:
        return heard.valueStoreName == now.valueStoreName;
    case Property::OriginalValueStoreName:
        return heard.originalValueStoreName == now.originalValueStoreName;
    }
    return false;
}

void expectWatchersKnowTheLatest(ModuleWorld& world, const std::map<int, std::wstring>& attached) {
    std::map<std::pair<int, Property>, ValueState> latest;
    for (const Heard& heard : world.heard()) {
        latest[{heard.watcher, heard.property}] = heard.state;
    }
    for (const auto& [what, state] : latest) {
        const auto watcher = attached.find(what.first);
        if (watcher != attached.end()) {
            const ValueState now = stateOf(*world.module().service().getConfig(watcher->second));
            EXPECT_TRUE(tellsTheSame(what.second, state, now))
                << describe(Heard{what.first, what.second, state}) << "\nnow: " << describe(now);
        }
    }
}

/// Watchers that stay to the end: those that are watched and never taken off again, by a step or in a reaction.
void follow(const Step& step, std::map<int, std::wstring>& attached, std::map<int, bool>& gone) {
    if (step.kind == StepKind::Watch && !gone[step.watcher]) {
        attached[step.watcher] = step.key;
    }
    if (step.kind == StepKind::Unwatch || step.kind == StepKind::DropWatcher) {
        attached.erase(step.watcher);
        gone[step.watcher] = true;
    }
    for (const Step& reaction : step.reactions) {
        follow(reaction, attached, gone);
    }
}

/// Leaves out what may leave a live value behind the chain, observers or not: a change of the FIPS mode is no change of
/// the chain, and a replaced store takes its cached copy with it without a word about the keys of the copy.
std::vector<Step> withoutSilentChanges(std::vector<Step> steps) {
    std::erase_if(steps, [](const Step& step) { return step.kind == StepKind::SwitchFips; });
    for (Step& step : steps) {
        step.store.cached = false;
        step.reactions = withoutSilentChanges(std::move(step.reactions));
    }
    return steps;
}

TEST(TheModule, SettlesOnTheChainsAnswersWhileObserversChangeTheChainInsideNotifications) {
    for (const std::uint64_t seed : campaignSeeds(200001, sequences(600))) {
        StepGenerator generator(seed, plainKeys);
        generator.letWatchersChangeTheChain();
        const std::vector<Step> steps = withoutSilentChanges(generator.sequence(40));

        ModuleWorld world(std::make_shared<fakes::HandSteppedDispatcher>());
        std::map<int, std::wstring> attached;
        std::map<int, bool> gone;
        for (const Step& step : steps) {
            follow(step, attached, gone);
        }
        for (std::size_t index = 0; index < steps.size(); ++index) {
            world.apply(steps[index]);
            expectLiveValuesOfTheChain(world);
            expectWatchersKnowTheLatest(world, attached);
            ASSERT_FALSE(testing::Test::HasFailure()) << printableSteps(seed, steps, index + 1);
        }
    }
}

}  // namespace
}  // namespace simulation
