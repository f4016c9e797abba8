#pragma once

#include <functional>
#include <memory>
#include <string>

#include "AdapterFixture.h"
#include "fakes/HandSteppedThreadPool.h"
#include "fakes/ScriptedHttpTransport.h"

/// A module whose remote source downloads from a transport without a network. The test's thread is the dispatcher
/// thread; what a transfer's end does there, it does at once.
class DownloadFixture : public AdapterFixture {
protected:
    DownloadFixture() {
        world.change([this](platform::World& changed) {
            changed.httpTransport = transport;
            changed.threadPool = pool;
        });
    }

    /// What a user's file holds of a server.
    static Values oneServer() { return {{"TFTPPrimaryServer", "one"}}; }

    /// Started, with the source on and the first transfer running. The installation knows the server's version, so
    /// that no server is asked for it.
    void switchOn(const Values& local = oneServer()) {
        writeLocal(local);
        writeDefaults({{"Telephony_Enabled", "default"}, {"HomeUdsVersion", "12"}});
        injectAndStart();
        adapter()->startTftpConfigSource();
    }

    /// The transfer that runs ends with this file.
    bool deliver(const Values& values) { return transport->deliver(serverDocument(values)); }

    /// Has the file downloaded once more and ends that with this one.
    void download(const Values& values) {
        adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
        ASSERT_TRUE(deliver(values));
    }

    /// What the transport's thread would do, on this one: reports wait for the dispatcher to be stepped.
    void elsewhere(const std::function<void()>& action) {
        dispatcher->setUpdateAccess(false);
        action();
        dispatcher->setUpdateAccess(true);
    }

    std::size_t flagRuns() const {
        return log->count(4, "Setting telephonyEnabled flag: 1") + log->count(4, "Setting telephonyEnabled flag: 0");
    }
    bool isCached() const { return world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"); }
    std::string cached() const { return cacheFile("cachedTFTPConfigStore.xml"); }

    const std::shared_ptr<fakes::ScriptedHttpTransport> transport = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool = std::make_shared<fakes::HandSteppedThreadPool>();
};
