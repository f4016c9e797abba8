#include "Step.h"

namespace simulation {

namespace {

std::string describeValues(const Step& step) {
    std::string line;
    for (const auto& [key, value] : step.values) {
        line += " " + printable(key) + " = " + bracketed(value);
    }
    return line;
}

std::string describeWatch(const Step& step) {
    std::string line = "watch " + printable(step.key) + " as " + std::to_string(step.watcher);
    for (const Step& reaction : step.reactions) {
        line += "\n        when told: " + describe(reaction);
    }
    return line;
}

}  // namespace

std::string describe(const Step& step) {
    const std::string key = printable(step.key);
    const std::string assignment = key + " = " + bracketed(step.text);
    switch (step.kind) {
    case StepKind::AddStore:
        return "add store " + describe(step.store);
    case StepKind::AddStoreThroughFeatureSet:
        return "add through feature set " + describe(step.store);
    case StepKind::RefillStore:
        return "refill store " + describe(step.store);
    case StepKind::RemoveStore:
        return "remove store " + step.store.name;
    case StepKind::ClearStores:
        return "clear stores";
    case StepKind::ResetData:
        return "reset data";
    case StepKind::Store:
        return "store " + assignment;
    case StepKind::StoreThroughService:
        return "store through service " + assignment;
    case StepKind::StoreThroughObject:
        return "store through object " + assignment;
    case StepKind::StoreMap:
        return "store map" + describeValues(step);
    case StepKind::StoreInMemory:
        return "store in memory " + assignment;
    case StepKind::StoreInMemoryThroughService:
        return "store in memory through service " + assignment;
    case StepKind::Erase:
        return "erase " + key;
    case StepKind::EraseThroughService:
        return "erase through service " + key;
    case StepKind::EraseThroughObject:
        return "erase through object " + key;
    case StepKind::MarkSensitive:
        return "mark sensitive " + key;
    case StepKind::Ask:
        return "ask " + key;
    case StepKind::Watch:
        return describeWatch(step);
    case StepKind::Unwatch:
        return "unwatch " + key + " as " + std::to_string(step.watcher);
    case StepKind::DropWatcher:
        return "drop watcher " + std::to_string(step.watcher) + " of " + key;
    case StepKind::SwitchFips:
        return step.on ? "switch FIPS on" : "switch FIPS off";
    }
    return "unknown step";
}

}  // namespace simulation
