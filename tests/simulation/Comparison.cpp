#include "Comparison.h"

#include <algorithm>
#include <cstdlib>
#include <span>
#include <sstream>
#include <utility>

#include "StepGenerator.h"
#include "fakes/HandSteppedDispatcher.h"

namespace simulation {

namespace {

/// The first place at which two lists part, from an entry on; the expected one may have extra entries at its head.
template <typename Item>
std::optional<std::string> differenceOf(const char* what, const std::vector<Item>& allExpected,
                                        const std::vector<Item>& actual, std::size_t from = 0, std::size_t extra = 0) {
    const std::span<const Item> expected = std::span(allExpected).subspan(extra);
    for (std::size_t index = from; index < std::max(expected.size(), actual.size()); ++index) {
        const bool both = index < expected.size() && index < actual.size();
        if (both && expected[index] == actual[index]) {
            continue;
        }
        return std::string(what) + " " + std::to_string(index) +
               "\n  expected: " + (index < expected.size() ? describe(expected[index]) : "nothing") +
               "\n  actual:   " + (index < actual.size() ? describe(actual[index]) : "nothing");
    }
    return std::nullopt;
}

std::string describe(const ChainOracle::Answer& answer) {
    return (answer.found ? "found [" : "missed [") + printable(answer.value) + "] of [" + printable(answer.storeName) +
           "]" + (answer.usedOtherName ? " under the other name" : "");
}

std::optional<std::string> differenceOfChains(const ChainOracle& model, ConfigStoreManager& manager) {
    const auto line = [](const std::string& name, int priority) { return name + "@" + std::to_string(priority) + " "; };
    std::string expected;
    std::string actual;
    for (const auto& store : model.chain()) {
        expected += line(store->name, store->priority);
    }
    for (const auto& store : manager.getStores()) {
        actual += line(store->getName(), store->getPriority());
    }
    if (expected == actual) {
        return std::nullopt;
    }
    return "chain\n  expected: " + expected + "\n  actual:   " + actual;
}

std::optional<std::string> differenceOfAnswers(const std::wstring& key, const ChainOracle& model,
                                               ConfigStoreManager& manager) {
    for (const bool readOnlyStoresOnly : {false, true}) {
        const ChainOracle::Answer expected = model.lookUp(key, readOnlyStoresOnly);
        ChainOracle::Answer actual;
        actual.found = manager.getValue(key, actual.value, actual.storeName, actual.usedOtherName, readOnlyStoresOnly);
        if (expected != actual) {
            return "answer for " + printable(key) + (readOnlyStoresOnly ? " among read-only stores" : "") +
                   "\n  expected: " + describe(expected) + "\n  actual:   " + describe(actual);
        }
    }
    if (model.isSensitive(key) != manager.isKeySensitive(key)) {
        return "sensitivity of " + printable(key);
    }
    return std::nullopt;
}

/// One run of one sequence.
class Run {
public:
    Run(const std::vector<Step>& steps, const Comparison& comparison)
        : steps_(steps), comparison_(comparison), module_(std::make_shared<fakes::HandSteppedDispatcher>()) {
        for (const wchar_t* const key : {L"Addtional_Info", L"connectionpassword", L"connectionusername",
                                         L"BDIConnectionPassword", L"BDIConnectionUsername", L"BDIConnectionUserDn"}) {
            model_.chain().markSensitive(key);
        }
        callsBefore_ = model_.calls().size();
    }

    std::optional<Difference> go() {
        for (std::size_t index = 0; index < steps_.size(); ++index) {
            if (auto text = differenceAfter(steps_[index])) {
                return Difference{index, *text};
            }
        }
        if (auto text = differenceAtTheEnd()) {
            return Difference{steps_.size() - 1, *text};
        }
        return std::nullopt;
    }

private:
    std::optional<std::string> differenceAfter(const Step& step) {
        const std::optional<bool> expected = model_.apply(step);
        const std::optional<bool> actual = module_.apply(step);
        if (expected != actual) {
            return std::string("result of the step: expected ") + (*expected ? "true" : "false");
        }
        const std::size_t heardBefore = std::exchange(heardSoFar_, model_.live().heard().size());
        if (auto text = differenceOfHeard(model_.live().heard(), module_.heard(), heardBefore)) {
            return text;
        }
        if (auto text = differenceOfCalls()) {
            return text;
        }
        if (auto text = differenceOfLiveValues(model_.live(), module_.module().service())) {
            return text;
        }
        if (auto text = differenceOfChains(model_.chain(), module_.module().manager())) {
            return text;
        }
        return differenceOfAnswers(step.key, model_.chain(), module_.module().manager());
    }

    std::optional<std::string> differenceOfCalls() {
        if (!comparison_.chainCalls) {
            return std::nullopt;
        }
        const std::size_t from = std::exchange(callsSoFar_, module_.calls().size());
        return differenceOf("call of the chain", model_.calls(), module_.calls(), from, callsBefore_);
    }

    std::optional<std::string> differenceAtTheEnd() {
        for (const std::wstring& key : StepGenerator::alphabet()) {
            if (auto text = differenceOfAnswers(key, model_.chain(), module_.module().manager())) {
                return text;
            }
        }
        const std::size_t tasks = module_.module().persistence().waitingNames().size();
        if (tasks != model_.chain().persistTasks()) {
            return "persist tasks: expected " + std::to_string(model_.chain().persistTasks()) + ", actual " +
                   std::to_string(tasks);
        }
        return std::nullopt;
    }

    const std::vector<Step>& steps_;
    const Comparison comparison_;
    ModelWorld model_;
    ModuleWorld module_;
    std::size_t callsBefore_ = 0;
    std::size_t callsSoFar_ = 0;
    std::size_t heardSoFar_ = 0;
};

}  // namespace

std::optional<std::string> differenceOfLiveValues(LiveOracle& model, ConfigService& service) {
    std::vector<ValueState> actual;
    const auto values = service.getAllConfig();
    for (const auto& value : *values) {
        actual.push_back(stateOf(*value));
    }
    return differenceOf("live value", model.askAll(), actual);
}

std::optional<std::string> differenceOfHeard(const std::vector<Heard>& expected, const std::vector<Heard>& actual,
                                             std::size_t from) {
    return differenceOf("notification", expected, actual, from);
}

std::optional<Difference> firstDifference(const std::vector<Step>& steps, const Comparison& comparison) {
    return Run(steps, comparison).go();
}

std::vector<Step> shrunk(std::vector<Step> steps, const Comparison& comparison) {
    for (bool smaller = true; smaller;) {
        smaller = false;
        if (const auto difference = firstDifference(steps, comparison)) {
            steps.resize(difference->step + 1);
        }
        for (std::size_t index = steps.size(); index-- > 0;) {
            std::vector<Step> without = steps;
            without.erase(without.begin() + static_cast<std::ptrdiff_t>(index));
            if (!without.empty() && firstDifference(without, comparison)) {
                steps = std::move(without);
                smaller = true;
            }
        }
    }
    return steps;
}

std::string failureReport(std::uint64_t seed, const std::vector<Step>& steps, const Comparison& comparison) {
    const std::vector<Step> few = shrunk(steps, comparison);
    std::ostringstream report;
    report << "CORVID_SEED=" << seed << " fails with these steps:\n";
    for (const Step& step : few) {
        report << "    " << describe(step) << "\n";
    }
    if (const auto difference = firstDifference(few, comparison)) {
        report << "after step " << difference->step << " of these: " << difference->text;
    }
    return report.str();
}

std::vector<std::uint64_t> campaignSeeds(std::uint64_t first, std::size_t count) {
    if (const char* const seed = std::getenv("CORVID_SEED")) {
        return {std::strtoull(seed, nullptr, 10)};
    }
    std::vector<std::uint64_t> seeds(count);
    for (std::size_t index = 0; index < count; ++index) {
        seeds[index] = first + index;
    }
    return seeds;
}

}  // namespace simulation
