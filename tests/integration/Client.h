#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "DownloadWatch.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/TemporaryDirectory.h"
#include "host/ReferenceHost.h"
#include "remote/TftpConfigStore.h"

namespace integration {

/// What a client finds at its first start.
struct ClientOptions {
    std::vector<std::string> servers = {};         ///< addresses; at most three
    std::string version = {};                      ///< of the servers; empty: they are asked
    std::map<std::string, std::string> more = {};  ///< further lines of the bootstrap file
    std::string trusted = {};                      ///< authorities of the servers' certificates (PEM)
    std::string modulePath = {};                   ///< the shared module; empty: the one that is linked in
};

/// A client's whole configuration service, real from its files to the wire. It logs at level 5 into a record once it
/// has been started.
class Client {
public:
    explicit Client(ClientOptions options);

    /// Stops.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// As a new process would, over the files that the last run left. The remote source stays off.
    /// @throws std::runtime_error if the host does not start.
    void start();
    void stop();

    /// start(), then fetch().
    void startAndFetch();

    /// Switches the remote source on and waits until its download has settled.
    DownloadJournal::Snapshot fetch();

    const fakes::TemporaryDirectory& directory() const { return directory_; }

    host::ReferenceHost& host() const { return *host_; }

    // The module's inside; not with the shared module, which shows none.

    /// Null while the remote source is off.
    std::shared_ptr<TftpConfigStore> store() const;
    const std::shared_ptr<DownloadJournal>& journal() const { return journal_; }
    const DownloadWatch& watch() const { return *watch_; }
    bool hasStore(const std::string& name) const;

    const fakes::RecordingLogSink& log() const { return *log_; }

    /// What the chain answers; empty if no store holds the key.
    std::wstring value(const std::wstring& key) const;

    /// Which store the chain's answer comes from.
    std::wstring storeOf(const std::wstring& key) const;
    /// A user's write, on the dispatcher thread.
    void set(const std::wstring& key, const std::wstring& value) const;

    /// The file with the last values of the server; empty if there is none.
    std::string cacheFile() const;

private:
    void writeBootstrapFile() const;
    host::ReferenceHost::Options hostOptions() const;

    const ClientOptions options_;
    const fakes::TemporaryDirectory directory_;
    const std::shared_ptr<fakes::RecordingLogSink> log_ = std::make_shared<fakes::RecordingLogSink>();
    std::unique_ptr<host::ReferenceHost> host_;
    std::shared_ptr<DownloadJournal> journal_;
    std::unique_ptr<DownloadWatch> watch_;
};

}  // namespace integration
