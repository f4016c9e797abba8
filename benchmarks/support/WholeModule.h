#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "impl/unified/TaskDispatcherImpl.h"
#include "support/ModuleHost.h"

namespace bench {

/// The whole module over eight layers, nothing written to the disk.
class WholeModule {
public:
    using Key = std::wstring;

    explicit WholeModule(const Layers& layers) : WholeModule(layers, std::make_shared<NoTaskDispatcher>()) {}

    /// @param tasks the queue for what writes to the disk.
    WholeModule(const Layers& layers, const std::shared_ptr<Processing::TaskDispatcher>& tasks) : profile_(layers) {
        profile_.enter();
        host_ = std::make_unique<ModuleHost>(tasks);
        host_->addFurtherStores(layers);
        service_ = host_->service();
        featureSet_ = host_->adapter();
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    void set(const Key& key, bool second) {
        if (observed_ == nullptr) {
            observed_ = service_->getConfig(key);
            observed_->getConfigValueNotifiers()->getValueNotifier()->addConnection([this] { ++told_; });
        }
        service_->setConfig(key, second ? L"value-second" : L"value--first");
    }

    std::size_t told() const { return told_; }

    ConfigServiceImpl& service() { return *service_; }
    ConfigFeatureSet& featureSet() { return *featureSet_; }
    ModuleHost& host() { return *host_; }

private:
    const Profile profile_;
    std::unique_ptr<ModuleHost> host_;
    std::shared_ptr<ConfigServiceImpl> service_;
    std::shared_ptr<ConfigFeatureSet> featureSet_;
    std::shared_ptr<ConfigValue> observed_;
    std::size_t told_ = 0;
};

/// The same with the host's queue, whose thread writes the user's file.
class WritingModule : public WholeModule {
public:
    explicit WritingModule(const Layers& layers) : WritingModule(layers, std::make_shared<TaskDispatcherImpl>()) {}

    /// Waits until everything is on the disk.
    void settle() { tasks_->drain(); }

private:
    WritingModule(const Layers& layers, const std::shared_ptr<TaskDispatcherImpl>& tasks)
        : WholeModule(layers, tasks), tasks_(tasks) {}

    const std::shared_ptr<TaskDispatcherImpl> tasks_;
};

}  // namespace bench
