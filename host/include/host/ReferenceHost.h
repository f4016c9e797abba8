#pragma once

#include <functional>
#include <memory>
#include <string>

class ConfigAdapter;
class ConfigFeatureSet;
class ConfigService;
class UnifiedFactory;
class SystemServiceImpl;

namespace host {

/// What a host is made of. All texts are UTF-8; directories have no trailing separator.
struct ReferenceHostOptions {
    /// What FIPS mode the host is in.
    enum class Fips {
        Auto,  ///< the system's own mode, asked anew each time
        On,
        Off,
    };

    std::string configDirectory;        ///< the user's configuration directory; need not exist
    std::string installationDirectory;  ///< where "corvid-config-defaults.xml" lies
    std::string bootstrapFilePath;      ///< the bootstrap properties file; may be missing
    Fips fips = Fips::Auto;             ///< what the module is told when it asks for FIPS mode
    std::string caFile;                 ///< further trusted certificates (PEM) for HTTPS; empty: none
    int logLevel = 3;                   ///< 0 nothing at all, 2 failures, 3 warnings, 4 information, 5 debug
    std::string logFile;                ///< a file, pipe or terminal where the log goes; empty: to standard error
    bool colours = false;               ///< whether a log on standard error is coloured

    /// Whether the lines of a log on standard error clear what else the host may have written there: a progress line on
    /// a terminal that understands escape sequences.
    bool logClearsLines = false;

    /// Whether the machine's power events are heard. A power down then ends the stores, once everything is on disk, and
    /// the machine waits for that as long as it ever waits. What is set on the dispatcher thread before it is told of
    /// the power down is written; what another thread sets while the stores end may be lost. When the power down is
    /// called off, the feature set that it has ended starts again: what was set meanwhile is written, and what was set
    /// in memory only is gone, as at any start. Then observers of power events are told: a client that has turned the
    /// remote source on turns it off and on again; ConfigFeatureSet::startTftpConfigSource() tells why.
    bool powerEvents = true;
    std::string powerBusAddress;  ///< the bus to hear them on, as D-Bus writes addresses; empty: the system's own

    /// Whether other programs on this machine are to know that this one works on the configuration directory, and this
    /// one is to know of them; see platform::DirectoryClaim. A start then waits, for two seconds at most, for a program
    /// that is just changing the directory, and logs a warning if another one works on it besides. A directory that is
    /// missing at the start is not claimed.
    bool claimsDirectory = true;

    /// Whether the process may leave a core when it crashes, and be debugged by its user. If not, that stays so when
    /// the host has stopped; see platform::forbidCoreDumps.
    bool coreDumps = false;

    /// The shared module to put in, loaded with dlopen and never unloaded; empty: the one that is linked in.
    std::string modulePath;

    /// Puts a module in, instead of either of those, on the dispatcher thread. It may throw: start() then fails.
    std::function<void(const std::shared_ptr<UnifiedFactory>&)> inject;
};

/// A whole host around the configuration module: builds the factory, starts the threads, registers the host's services,
/// puts the module in and starts its feature set; takes all of it down again without a leak or a lost value.
///
/// One at a time in a process, since the world and the log are the process's; another may follow. One thread owns a
/// host: start() and stop() belong to it. The other operations may be called on any thread between the two.
class ReferenceHost {
public:
    using Options = ReferenceHostOptions;  ///< what a host is made of

    /// Does nothing yet.
    explicit ReferenceHost(Options options);

    /// Stops, unless that has been done.
    ~ReferenceHost();

    ReferenceHost(const ReferenceHost&) = delete;
    ReferenceHost& operator=(const ReferenceHost&) = delete;

    /// Sets the world and the log, starts the threads, puts the module in and starts the feature set. The remote source
    /// stays off. Reads, writes and notifications work when this returns.
    /// @return false if the module could not be put in, or the log file not be opened: everything is down again, and
    ///         failure() says why. A second call, after a stop too, answers false.
    ///
    /// What a client that `inject` has put in throws, when the start of the feature set tells it of a value, comes out
    /// here at the end: the host runs, as after true, until it is stopped.
    bool start();

    /// Why start() answered false, in one line.
    const std::string& failure() const { return failure_; }

    /// Ends the version requests that are under way, and fails all later ones for good, so that a stop need not wait
    /// for servers that do not answer; stop() does so itself. Transfers go on. Any thread, while the host runs.
    void interruptRequests();

    /// Takes everything down: nothing runs any more, what was stored is on disk, every object of the module is gone
    /// unless the caller holds it, and no thread is left but one of libcurl's that may still be
    /// waiting for a name server, touches nothing of ours, and ends by itself. A power event that is being told is
    /// waited for; none is told afterwards. Not on the dispatcher thread, nor in a power event. Does nothing the second
    /// time.
    void stop();

    /// Runs the function on the dispatcher thread and returns when it has run; in place on that thread itself. An
    /// exception of the function's comes out here. Whoever calls must hold no lock that the dispatcher thread wants.
    /// @return false if the host does not run: the function has not run either.
    bool runOnDispatcher(const std::function<void()>& function);

    /// Returns when every change so far has reached the disk. Not on the host's own threads.
    void persistAll();

    /// The registry; null unless the host runs, as with all operations below.
    std::shared_ptr<UnifiedFactory> factory() const;

    /// The live values. Dispatcher thread only, for its own operations.
    std::shared_ptr<ConfigService> service() const;

    /// The chain of stores, for modules that bring stores of their own. Any thread.
    std::shared_ptr<ConfigFeatureSet> featureSet() const;

    /// The module's inside, for a tool that looks there; null if the module was not the one that is linked in.
    std::shared_ptr<ConfigAdapter> adapter() const;

    /// The host's own service, to play its part: edge mode, user profile, data reset.
    std::shared_ptr<SystemServiceImpl> systemService() const;

private:
    struct Parts;

    bool prepareLog();
    void assemble();
    void claimDirectory();
    bool putModuleIn();
    void startFeatureSet();
    void listenToPowerEvents();
    void reportPowerDown();
    void reportPowerDownCalledOff();
    void stopFeatureSet();

    const Options options_;
    std::string failure_;
    bool used_ = false;
    std::unique_ptr<Parts> parts_;
};

}  // namespace host
