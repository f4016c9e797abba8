#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ConfigServiceImpl.h"
#include "InjectConfigService.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedFeatureSet.h"
#include "unified/UnifiedFactory.h"

/// A host of this test's thread alone: a factory, a world, a recording log. Nothing is registered yet.
class HostFixture : public ::testing::Test {
protected:
    ~HostFixture() override { factory->clear(); }

    std::shared_ptr<fakes::ScriptedFeatureSet> registerFeatureSet() {
        const auto featureSet = std::make_shared<fakes::ScriptedFeatureSet>();
        factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, featureSet);
        return featureSet;
    }

    fakes::ScopedWorld world;
    fakes::ScopedRecordingLog log;
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    const std::shared_ptr<UnifiedFactory> factory =
        std::make_shared<UnifiedFactory>(dispatcher, std::make_shared<fakes::HandSteppedTaskDispatcher>());
};

/// The same with a registered service.
class ServiceFixture : public HostFixture {
protected:
    ServiceFixture() { factory->setService<ConfigService>(CONFIG_SERVICE_ID, service); }

    /// A report of the chain for a key that a user's store holds.
    void report(const std::wstring& key, const std::wstring& value, bool silent = false) {
        service->OnConfigChanged(key, value, L"", true, true, L"LocalFileConfigStore", L"", silent);
    }

    /// A report of the chain for a key that no store holds any more.
    void reportGone(const std::wstring& key) { service->OnConfigChanged(key, L"", L"", false, false, L"", L"", false); }

    const std::shared_ptr<ConfigServiceImpl> service = std::make_shared<ConfigServiceImpl>(factory);
};
