#pragma once

#include <map>
#include <string>
#include <vector>

#include "ModelTypes.h"

namespace simulation {

enum class StepKind {
    AddStore,
    AddStoreThroughFeatureSet,
    RefillStore,
    RemoveStore,
    ClearStores,
    ResetData,
    Store,
    StoreThroughService,
    StoreThroughObject,
    StoreMap,
    StoreInMemory,
    StoreInMemoryThroughService,
    Erase,
    EraseThroughService,
    EraseThroughObject,
    MarkSensitive,
    Ask,
    Watch,
    Unwatch,
    DropWatcher,
    SwitchFips,
};

/// One thing that a client, another module or the environment does.
struct Step {
    StepKind kind = StepKind::Ask;
    std::wstring key;
    std::wstring text;
    std::map<std::wstring, std::wstring> values;  ///< StoreMap
    ModelStore store;                             ///< the steps about stores; some need only its name
    int watcher = 0;                              ///< the steps about watchers; a watcher belongs to one key
    bool on = false;                              ///< SwitchFips
    std::vector<Step> reactions;                  ///< Watch: what the watcher does, one step in each notification
};

/// The step as a line that a reader can replay by hand.
std::string describe(const Step& step);

}  // namespace simulation
