#pragma once

#include <functional>
#include <memory>
#include <string>

#include "AdapterFixture.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "quill/FunctionTask.h"

/// The module under the platform's own dispatcher and task queue.
class RealThreadsFixture : public ::testing::Test {
protected:
    static constexpr int ROUNDS = 60;

    RealThreadsFixture() {
        realDispatcher->start();
        factory->setService<SystemService>(7, std::make_shared<SystemServiceImpl>());
        onDispatcher([this] { InjectConfigService(factory); });
        adapter = std::dynamic_pointer_cast<ConfigAdapter>(factory->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    }

    ~RealThreadsFixture() override {
        adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        realTasks->stop();
        onDispatcher([this] {
            live.reset();
            std::dynamic_pointer_cast<SystemServiceImpl>(factory->getService<SystemService>())
                ->resetDataProvider()
                ->clear();
            adapter.reset();
            factory->clear();
        });
        realDispatcher->stop();
    }

    void onDispatcher(const std::function<void()>& work) {
        realDispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(work, "test"));
    }

    void watch(const std::wstring& key) {
        onDispatcher([&] { live = factory->getService<ConfigService>()->getConfig(key); });
    }

    std::wstring chainValue(const std::wstring& key) {
        std::wstring value;
        return adapter->getConfigStoreManager()->getValue(key, value, false) ? value : L"";
    }

    std::wstring liveValue() {
        std::wstring value;
        onDispatcher([&] { value = live->getValue(); });
        return value;
    }

    fakes::ScopedWorld world;
    const std::shared_ptr<ServicesDispatcherImpl> realDispatcher = std::make_shared<ServicesDispatcherImpl>();
    const std::shared_ptr<TaskDispatcherImpl> realTasks = std::make_shared<TaskDispatcherImpl>();
    const std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(realDispatcher, realTasks);
    std::shared_ptr<ConfigAdapter> adapter;
    std::shared_ptr<ConfigValue> live;
};
