#pragma once

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DownloadStep.h"
#include "QuietXml.h"
#include "SimulatedChain.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedThreadPool.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"
#include "fakes/TftpConfigStoreTestAccess.h"
#include "remote/TftpConfigStore.h"
#include "tessel/LogSink.h"

namespace simulation {

/// The lines of the classes that download, in the order in which they and whatever is told besides came. One thread.
class DownloadTale : public tessel::LogSink {
public:
    void write(const tessel::LogRecord& record) override;
    void tell(const std::string& event);

    /// Nothing is written down from here on, or is again.
    void pause(bool paused) { paused_ = paused; }

    /// Everything since the last call.
    std::vector<std::string> take();

private:
    std::vector<std::string> events_;
    bool paused_ = false;
};

/// The real store of the server's file with everything around it in the test's hands, taking the same steps as the
/// model. One thread.
class DownloadWorld {
public:
    explicit DownloadWorld(const ServerDetails& start);
    ~DownloadWorld();

    DownloadWorld(const DownloadWorld&) = delete;
    DownloadWorld& operator=(const DownloadWorld&) = delete;

    void apply(const DownloadStep& step);

    /// What can be seen now, as lines; the events since the last call first.
    std::vector<std::string> facts();

    /// A broken promise that no single step of the model tells; none if all are kept.
    std::optional<std::string> brokenPromise() const;

    /// Ends whatever still runs, and lets go of the store. @return what is left behind that should not be.
    std::optional<std::string> leftBehind();

private:
    class Observer;

    void react(int observer, const std::vector<std::wstring>& keys);
    void announce(const DownloadStep& step);
    void complete(const DownloadStep& step);
    void answerVersion(const DownloadStep& step);
    void observe(const DownloadStep& step);
    std::optional<std::wstring> read(const std::wstring& key);
    std::string answerRequest(const std::string& url);
    void addRecord(std::vector<std::string>& lines) const;

    const QuietXml quietXml_;
    fakes::ScopedWorld world_;
    const std::shared_ptr<DownloadTale> tale_;
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher_;
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool_;
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport_;
    const std::shared_ptr<UnifiedFactory> factory_;
    const std::shared_ptr<SimulatedChain> chain_;
    std::map<std::string, std::string> versionBodies_;
    std::vector<std::unique_ptr<Observer>> observers_;  ///< in the order of their addresses
    std::shared_ptr<TftpConfigStore> store_;
    bool telling_ = false;
    bool forced_ = false;
};

}  // namespace simulation
