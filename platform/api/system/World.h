#pragma once

#include <boost/function.hpp>

#include <functional>
#include <memory>
#include <string>

namespace TesselSystemMonitor {
class SystemMonitor;
}

namespace platform {

class HttpTransport;

/// Runs functions beside the dispatcher thread.
class ThreadPool {
public:
    virtual ~ThreadPool() = default;

    /// Queues the function and returns at once. @return false if the pool takes no more work. Any thread.
    virtual bool run(const boost::function<void()>& function, const std::string& name) = 0;
};

/// Everything outside the process that the platform's free functions reach: the one place that a host sets up before
/// it injects a module, and that a test replaces.
struct World {
    std::string configDirectory;             ///< the user's configuration directory, no trailing separator
    std::string installationDirectory;       ///< where the installed data files lie, no trailing separator
    std::string bootstrapFilePath;           ///< the bootstrap properties file
    std::function<bool()> fipsMode;          ///< asked at each FipsUtils::isFipsEnabled(); empty means off
    std::shared_ptr<ThreadPool> threadPool;  ///< null: ThreadUtils drops its work
    std::shared_ptr<TesselSystemMonitor::SystemMonitor> systemMonitor;  ///< null: a monitor that never reports
    std::shared_ptr<HttpTransport> httpTransport;                       ///< null: every transfer fails
};

/// Sets the world of this process. Callers that are under way finish with the old one. Any thread.
void setWorld(std::shared_ptr<const World> world);

/// The world of this process; an empty one until a host has set it. Never null. Any thread.
std::shared_ptr<const World> getWorld();

}  // namespace platform
