#include "Comparison.h"

#include <filesystem>
#include <map>
#include <utility>

#include "DocumentReader.h"
#include "ListDifference.h"
#include "StepGenerator.h"
#include "fakes/HandSteppedDispatcher.h"
#include "stores/LocalFileConfigStore.h"

namespace simulation {

namespace {

constexpr const char* usersStore = "LocalFileConfigStore";

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

/// The contents of the files below a folder, by their paths from there.
std::map<std::string, std::string> filesOf(const fakes::TemporaryDirectory& directory) {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
        const std::string name = entry.path().lexically_relative(directory.path()).string();
        if (entry.is_regular_file()) {
            files[name] = directory.read(name);
        }
    }
    return files;
}

/// What a store that has just started ought to have read; none for one that reads no XML.
std::optional<DocumentReading> readingOf(const ModelStore& store, std::map<std::string, std::string>& files) {
    if (store.name == "TftpOverrideConfigStore") {
        return readServersForm(files["config/corvid-config-user.xml"]);
    }
    if (store.name == usersStore) {
        return readUsersForm(files["config/corvidLocalConfig.xml"], true);
    }
    if (store.name == "corvid-config-defaults.xml") {
        return readUsersForm(files["install/corvid-config-defaults.xml"], false);
    }
    if (store.name == "UrlProvisioningConfigStore") {
        return readServersForm(files["config/Cache/cachedUrlProvisioningConfigStore.xml"]);
    }
    return store.name.starts_with("cached") ? std::optional(readServersForm(files["config/Cache/" + store.name]))
                                            : std::nullopt;
}

/// The texts of a store as a difference tells them.
std::string textsOf(const ModelStore& store) {
    std::string texts;
    for (const auto& [key, entry] : store.entries) {
        texts += " " + printable(key) + " = " + bracketed(entry.text);
    }
    return texts;
}

/// One run of one sequence.
class Run {
public:
    Run(const std::vector<Step>& steps, const Comparison& comparison)
        : steps_(steps),
          comparison_(comparison),
          module_(std::make_shared<fakes::HandSteppedDispatcher>(), preparation()),
          model_(comparison.prepare ? storesAsRead() : storesAfterStart()),
          expectedTasksBefore_(model_.chain().persistTasks()),
          tasksBefore_(module_.module().persistence().waitingNames().size()),
          callsSoFar_(module_.calls().size()) {
        for (const wchar_t* const key : {L"Addtional_Info", L"connectionpassword", L"connectionusername",
                                         L"BDIConnectionPassword", L"BDIConnectionUsername", L"BDIConnectionUserDn"}) {
            model_.chain().markSensitive(key);
        }
        callsBefore_ = model_.calls().size();
    }

    std::optional<Difference> go() {
        if (auto text = differenceAfterStart()) {
            return Difference{0, *text};
        }
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
    std::function<void(fakes::ScopedWorld&)> preparation() {
        return !comparison_.prepare ? comparison_.prepare : [this](fakes::ScopedWorld& world) {
            comparison_.prepare(world);
            files_ = filesOf(world.directory());
        };
    }

    /// The stores of the module's chain with what their documents say, as far as the second reader is exact.
    std::vector<ModelStore> storesAsRead() {
        std::vector<ModelStore> stores = storesOf(module_.module().manager());
        for (ModelStore& store : stores) {
            const auto reading = readingOf(store, files_);
            if (reading && reading->isExact) {
                store.entries = reading->entries;
            } else if (store.name == usersStore) {
                store.entries = usersEntriesAsRead();
            }
        }
        return stores;
    }

    /// What a store of the user's file finds in it as it was before the start, which may have taken some of it out.
    ModelEntries usersEntriesAsRead() {
        const fakes::TemporaryDirectory beside;
        beside.write("users.xml", files_["config/corvidLocalConfig.xml"]);
        LocalFileConfigStore store(usersStore, 0, beside.path(), "users.xml", false, true);
        return entriesOf(store);
    }

    std::optional<std::string> differenceAfterStart() {
        if (auto text = differenceOfChains(model_.chain(), module_.module().manager())) {
            return "after the start: " + *text;
        }
        const std::vector<ModelStore> actual = storesOf(module_.module().manager());
        for (std::size_t index = 0; index < actual.size(); ++index) {
            const ModelStore& expected = *model_.chain().chain()[index];
            if (textsOf(expected) != textsOf(actual[index])) {
                return "what " + actual[index].name + " has read\n  expected:" + textsOf(expected) +
                       "\n  actual:  " + textsOf(actual[index]);
            }
        }
        if (auto text = differenceOfLiveValues(model_.live(), module_.module().service())) {
            return "after the start: " + *text;
        }
        return std::nullopt;
    }

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
        const std::size_t tasks = module_.module().persistence().waitingNames().size() - tasksBefore_;
        const std::size_t expectedTasks = model_.chain().persistTasks() - expectedTasksBefore_;
        if (tasks != expectedTasks) {
            return "persist tasks: expected " + std::to_string(expectedTasks) + ", actual " + std::to_string(tasks);
        }
        return std::nullopt;
    }

    const std::vector<Step>& steps_;
    const Comparison comparison_;
    std::map<std::string, std::string> files_;  ///< as they were before the module's start
    ModuleWorld module_;
    ModelWorld model_;
    const std::size_t expectedTasksBefore_;
    const std::size_t tasksBefore_;
    std::size_t callsBefore_ = 0;
    std::size_t callsSoFar_;
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

std::string failureReport(std::uint64_t seed, const std::vector<Step>& steps, const Comparison& comparison) {
    return reportOfFailure(seed, steps,
                           [&](const std::vector<Step>& some) { return firstDifference(some, comparison); });
}

}  // namespace simulation
