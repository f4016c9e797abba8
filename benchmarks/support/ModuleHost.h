#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ConfigAdapter.h"
#include "ConfigServiceImpl.h"
#include "InjectConfigService.h"
#include "fakes/TemporaryDirectory.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "support/Layers.h"
#include "unified/TaskDispatcher.h"
#include "unified/UnifiedFactory.h"

namespace bench {

/// A queue that runs nothing, where writing to the disk is not what is measured.
class NoTaskDispatcher : public Processing::TaskDispatcher {
public:
    void enqueue(std::shared_ptr<tessel::Task>) override {}
};

/// Layers as the files of a profile: what the module finds when it is put in.
class Profile {
public:
    explicit Profile(const Layers& layers);

    /// Makes it the profile of this process.
    void enter() const;

    const fakes::TemporaryDirectory& directory() const { return directory_; }

private:
    fakes::TemporaryDirectory directory_;
};

/// A profile with each file that a start reads: those of the layers, a copy of the server's file, a copy of another
/// server's values, and what a provisioning link has set. The user's file lists the stores of which there are copies.
class WholeProfile : public Profile {
public:
    /// Waits until the files count as old, as those of a former run do.
    /// @param keys in each file.
    explicit WholeProfile(std::size_t keys);

    /// A key of each file, that of the user's first.
    static std::vector<std::wstring> keyOfEachFile();
};

/// The module in a host whose dispatcher thread is the thread that makes it.
class ModuleHost {
public:
    explicit ModuleHost(const std::shared_ptr<Processing::TaskDispatcher>& tasks);
    ~ModuleHost();

    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    std::shared_ptr<ConfigServiceImpl> service() const;
    std::shared_ptr<ConfigAdapter> adapter() const;
    ConfigStoreManager& manager() const { return *adapter()->getConfigStoreManager(); }

    /// Adds those of the layers for which the profile has no file.
    void addFurtherStores(const Layers& layers) const;

private:
    const std::shared_ptr<ServicesDispatcherImpl> dispatcher_ = std::make_shared<ServicesDispatcherImpl>();
    const std::shared_ptr<UnifiedFactory> factory_;
};

/// A read-only store of the module's with these values, as the copy of another one has them.
std::shared_ptr<ConfigStore> makeReadOnlyStore(const std::string& name, std::int32_t priority, const Entries& entries);

/// The store of a server's file, which has been downloaded and holds these values.
std::shared_ptr<ConfigStore> makeServerStore(const std::string& name, std::int32_t priority, const Entries& entries);

}  // namespace bench
