#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "DiskFault.h"
#include "QuietXml.h"
#include "ScheduledDispatcher.h"
#include "chain/ConfigStoreManager.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/HandSteppedThreadPool.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"
#include "impl/system/SystemMonitorImpl.h"
#include "impl/system/SystemServiceImpl.h"
#include "unified/UnifiedFactory.h"

namespace simulation {

/// A host and the whole module in it, with nothing that runs by itself: the dispatcher thread, the pool, the task queue
/// and the network wait for the scheduler. The process can end and start anew on the same files. One thread.
class ScheduledHost {
public:
    /// What is heard of the module while it is put in and taken out.
    struct Listeners {
        std::function<void()> injected;                         ///< the module is in and not started
        std::function<void()> leaving;                          ///< the module is about to go
        std::function<void(const std::string&)> beforeTask;     ///< a task of the dispatcher thread begins
        std::function<void()> waiting;                          ///< a step waits for a server or a thread
        std::function<std::string(const std::string&)> answer;  ///< what a request is answered with
    };

    explicit ScheduledHost(Listeners listeners);
    ~ScheduledHost();

    ScheduledHost(const ScheduledHost&) = delete;
    ScheduledHost& operator=(const ScheduledHost&) = delete;

    /// Puts the module in and starts it, on the dispatcher thread.
    void start();

    /// Takes the module out as a host does: what was stored is on disk.
    void shutDown();

    /// Takes the module out with nothing of what waits done.
    /// @return what is left behind that should not be.
    std::optional<std::string> drop();

    std::string configDirectory() const { return world_.configDirectory(); }
    DiskFault& disk() { return disk_; }
    ScheduledDispatcher& dispatcher() { return *dispatcher_; }
    fakes::HandSteppedTaskDispatcher& persistence() { return *persistence_; }
    fakes::HandSteppedThreadPool& pool() { return *pool_; }
    fakes::ScriptedHttpTransport& transport() { return *transport_; }
    SystemServiceImpl& systemService() { return *systemService_; }
    TesselSystemMonitor::SystemMonitorImpl& monitor() { return *monitor_; }
    ConfigService& service() { return *service_; }
    ConfigFeatureSet& featureSet() { return *adapter_; }
    ConfigAdapter& adapter() { return *adapter_; }
    ConfigStoreManager& manager() { return *adapter_->getConfigStoreManager(); }

private:
    void assemble();

    const QuietXml quietXml_;
    const Listeners listeners_;
    fakes::ScopedWorld world_;
    DiskFault disk_;
    std::shared_ptr<ScheduledDispatcher> dispatcher_;
    std::shared_ptr<fakes::HandSteppedTaskDispatcher> persistence_;
    std::shared_ptr<fakes::HandSteppedThreadPool> pool_;
    std::shared_ptr<fakes::ScriptedHttpTransport> transport_;
    std::shared_ptr<SystemServiceImpl> systemService_;
    std::shared_ptr<TesselSystemMonitor::SystemMonitorImpl> monitor_;
    std::shared_ptr<UnifiedFactory> factory_;
    std::shared_ptr<ConfigService> service_;
    std::shared_ptr<ConfigAdapter> adapter_;
};

}  // namespace simulation
