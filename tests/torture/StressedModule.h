#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "ConfigAdapter.h"
#include "ConfigService.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"
#include "impl/system/ServerHealthInformationImpl.h"
#include "impl/system/SystemMonitorImpl.h"
#include "impl/system/SystemServiceImpl.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/TaskDispatcherImpl.h"
#include "impl/unified/ThreadPoolImpl.h"
#include "simulation/QuietXml.h"

namespace torture {

/// The whole module with the threads of a client (dispatcher, task queue, pool, completions of transfers), in a world
/// of its own. Servers are scripted: every address answers, most of them with a file. One at a time.
class StressedModule {
public:
    /// @param asksForVersion no store has the servers' version before one of them has told it, and the first two that
    /// are
    ///        asked do not; else it is in the defaults.
    explicit StressedModule(bool asksForVersion);

    /// Takes everything down as a host does, in whatever state it is.
    ~StressedModule();

    StressedModule(const StressedModule&) = delete;
    StressedModule& operator=(const StressedModule&) = delete;

    // Any thread.

    ConfigAdapter& adapter() { return *adapter_; }
    ConfigFeatureSet& featureSet() { return *adapter_; }
    SystemServiceImpl& system() { return *system_; }
    const std::shared_ptr<ServerHealthInformationImpl>& telephony() { return telephony_; }
    void start();
    void stop();
    void powerDown();
    void resetData();

    /// Everything that has been queued is on the disk, or will never be.
    void persist() { persistence_->drain(); }

    /// How many transfers have ever been started.
    std::size_t downloads() const { return transport_->startedUrls().size(); }

    /// How many servers have ever been asked for their version.
    std::size_t versionQueries() const { return transport_->sentUrls().size(); }

    /// Runs on the dispatcher thread, after what has been queued so far. The second one waits for it: no lock may be
    /// held that a task may want.
    void post(const std::function<void()>& function);
    void runOnDispatcher(const std::function<void()>& function);
    bool isOnDispatcher() const { return dispatcher_->checkForUpdateAccess(); }

    /// Dispatcher thread.
    ConfigService& service() { return *service_; }

    const fakes::ScopedWorld& world() const { return world_; }

    /// For an object that must end with the module.
    std::weak_ptr<UnifiedFactory> factory() const { return factory_; }

private:
    void answerTransfers();
    void endNetwork();

    const simulation::QuietXml quietXml_;
    fakes::ScopedRecordingLog log_{5};
    fakes::ScopedWorld world_;
    const std::shared_ptr<ServicesDispatcherImpl> dispatcher_ = std::make_shared<ServicesDispatcherImpl>();
    const std::shared_ptr<TaskDispatcherImpl> persistence_ = std::make_shared<TaskDispatcherImpl>();
    const std::shared_ptr<ThreadPoolImpl> pool_ = std::make_shared<ThreadPoolImpl>(2);
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport_ = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<TesselSystemMonitor::SystemMonitorImpl> monitor_ =
        std::make_shared<TesselSystemMonitor::SystemMonitorImpl>();
    const std::shared_ptr<SystemServiceImpl> system_ = std::make_shared<SystemServiceImpl>();
    const std::shared_ptr<ServerHealthInformationImpl> telephony_;
    std::shared_ptr<UnifiedFactory> factory_ = std::make_shared<UnifiedFactory>(dispatcher_, persistence_);
    std::shared_ptr<ConfigAdapter> adapter_;
    std::shared_ptr<ConfigService> service_;
    std::atomic<int> silentAnswers_{2};
    std::thread network_;
};

}  // namespace torture
