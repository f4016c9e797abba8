#pragma once

#include <string>
#include <thread>

#include "fakes/TemporaryDirectory.h"
#include "host/ReferenceHost.h"

namespace torture {

/// A whole host in a folder of its own that downloads the file of one server. One thread.
class DownloadingHost {
public:
    struct Options {
        std::string server;       ///< its name
        std::string version;      ///< of the server; empty: it is asked for its version first
        std::string caFile;       ///< who may sign for it
        std::string filesAtHand;  ///< folder of an earlier host, whose files this one begins with; empty: none
    };

    /// Starts it. @throws std::runtime_error if it does not start.
    explicit DownloadingHost(const Options& options);

    /// Stops it.
    ~DownloadingHost();

    DownloadingHost(const DownloadingHost&) = delete;
    DownloadingHost& operator=(const DownloadingHost&) = delete;

    /// Begins the download on a thread of its own, which asks for the version if it has to.
    void beginFetching();

    /// Returns when what beginFetching() began has come back. The file may still be on its way.
    void waitUntilFetching();

    /// Returns when nothing is on its way any more, and everyone has been told. The host runs.
    void waitUntilSettled() const;

    /// Has the file come from this server instead, as a user would.
    void changeServer(const std::wstring& name);

    /// Ends the source, as a client does: the request for a version is interrupted, since the end of the source waits
    /// for it otherwise. What is on its way goes on.
    void endSource();

    /// Ends the host.
    void stop();

    std::string folder() const { return home_.path(); }

    /// The copy of the server's file, byte for byte; empty if there is none.
    std::string cache() const { return home_.read("config/Cache/cachedTFTPConfigStore.xml"); }

private:
    host::ReferenceHost::Options hostOptions(const Options& options) const;

    const fakes::TemporaryDirectory home_;
    host::ReferenceHost host_;
    std::thread fetching_;
};

}  // namespace torture
