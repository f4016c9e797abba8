#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "chain/ConfigStoreManager.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/RecordingManagerObserver.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedStore.h"

/// What a store that is to write its file puts into the task queue.
inline const std::string PERSIST = "ConfigStore::persistValues";

/// A manager over scripted stores, with one observer that has heard nothing yet, and a task queue that a test steps.
class ChainFixture : public testing::Test {
protected:
    ChainFixture() { manager.AddObserver(&observer); }
    ~ChainFixture() override { manager.RemoveObserver(&observer); }

    static std::shared_ptr<fakes::ScriptedStore> makeStore(const std::string& name, std::int32_t priority) {
        return std::make_shared<fakes::ScriptedStore>(name, priority);
    }

    /// Makes a read-only store, as makeStore().
    static std::shared_ptr<fakes::ScriptedStore> makeReadOnly(const std::string& name, std::int32_t priority) {
        auto store = makeStore(name, priority);
        store->readOnly();
        return store;
    }

    /// Adds stores without a trace in what the observer, the stores and the queue have recorded.
    void addQuietly(const std::vector<std::shared_ptr<fakes::ScriptedStore>>& stores) {
        for (const auto& store : stores) {
            manager.addStore(store);
        }
        observer.clear();
        for (const auto& store : stores) {
            store->forgetCalls();
        }
    }

    /// Names of the stores in chain order.
    std::vector<std::string> chainNames() {
        std::vector<std::string> names;
        for (const auto& store : manager.getStores()) {
            names.push_back(store->getName());
        }
        return names;
    }

    /// The value of a key through all stores; "(none)" on a miss.
    std::wstring valueOf(const std::wstring& key) {
        std::wstring value;
        return manager.getValue(key, value, false) ? value : L"(none)";
    }

    fakes::ScopedWorld world;
    std::shared_ptr<fakes::HandSteppedTaskDispatcher> tasks = std::make_shared<fakes::HandSteppedTaskDispatcher>();
    std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(nullptr, tasks);
    fakes::RecordingManagerObserver observer;
    ConfigStoreManager manager{factory};
};
