#include "fetching/RemoteSource.h"

#include <chrono>
#include <mutex>
#include <utility>

#include "ConfigAdapter.h"
#include "fetching/FetchReport.h"
#include "output/ProgressLine.h"
#include "quill/ThreadUtils.h"
#include "remote/TftpConfigStore.h"
#include "session/Interruption.h"
#include "session/Session.h"
#include "system/SystemMonitor.h"

namespace corvidctl {

namespace {

/// How often the seconds of the progress line are looked at.
constexpr std::chrono::milliseconds TICK{250};

bool namesServer(const TftpServerDetails& details) {
    return !details.server1.empty() || !details.server2.empty() || !details.server3.empty();
}

}  // namespace

/// Turns the source off and on once a power down is called off, on the host's pool: the dispatcher thread, which tells
/// of it, is not to wait for servers.
class RemoteSource::PowerObserver final : public TesselSystemMonitor::PowerEventObserver,
                                          public std::enable_shared_from_this<PowerObserver> {
public:
    explicit PowerObserver(const std::shared_ptr<ConfigAdapter>& adapter)
        : journal_(adapter->getDownloadJournal()), adapter_(adapter) {}
    virtual ~PowerObserver() = default;

    PowerObserver(const PowerObserver&) = delete;
    PowerObserver& operator=(const PowerObserver&) = delete;

    /// Waits for what it is at. Later events mean nothing.
    void stop() {
        const std::lock_guard lock(mutex_);
        adapter_.reset();
    }

    void onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) override {
        if (type == TesselSystemMonitor::PowerEventTypeEnum::PowerDownCalledOff) {
            QuillCoreUtils::ThreadUtils::runInThreadPool(
                [self = shared_from_this(), work = journal_->beginWork()] { self->turnOffAndOn(); },
                "the remote source after a power down that was called off");
        }
    }

private:
    void turnOffAndOn() {
        const std::lock_guard lock(mutex_);
        if (const auto adapter = adapter_.lock()) {
            adapter->stopTftpConfigSource();
            adapter->startTftpConfigSource();
        }
    }

    const std::shared_ptr<DownloadJournal> journal_;
    std::mutex mutex_;
    std::weak_ptr<ConfigAdapter> adapter_;  ///< under mutex_; null once this has been stopped
};

RemoteSource::RemoteSource(Session& session, Interruption& interruption)
    : session_(session),
      interruption_(interruption),
      journal_(session.host().adapter()->getDownloadJournal()),
      powerObserver_(std::make_shared<PowerObserver>(session.host().adapter())) {
    journal_->setListener([&interruption] { interruption.nudge(); });
}

RemoteSource::~RemoteSource() { stop(); }

void RemoteSource::start() {
    TesselSystemMonitor::SystemMonitorFactory::getInstance()->addPowerEventObserver(powerObserver_);
    workBeside([adapter = session_.host().adapter()] { adapter->startTftpConfigSource(); });
}

bool RemoteSource::fetchAgain() {
    const auto store = session_.host().adapter()->getTftpConfigStore();
    if (store == nullptr || !namesServer(store->lastServerDetails())) {
        return false;
    }
    workBeside([store] { store->attemptDownloadFromCachedAddress(); });
    return true;
}

void RemoteSource::workBeside(std::function<void()> work) {
    if (worker_.joinable()) {
        worker_.join();
    }
    busy_ = true;
    worker_ = std::thread([this, work = std::move(work)] {
        work();
        busy_ = false;
        interruption_.nudge();
    });
}

bool RemoteSource::isSettled() const {
    // In this order: what the worker has begun is in the record before it ends.
    return !busy_ && journal_->snapshot().settled;
}

bool RemoteSource::waitUntilSettled(ProgressLine& progress) {
    bool interrupted = interruption_.waitForNews(std::chrono::milliseconds(0));
    while (!interrupted && !isSettled()) {
        progress.show(activity(downloads()));
        interrupted = interruption_.waitForNews(TICK);
    }
    progress.clear();
    return !interrupted;
}

void RemoteSource::stop() {
    journal_->setListener({});
    // Whether or not the worker is at it: what a new file has set off asks servers on threads of the host's.
    session_.host().interruptRequests();
    powerObserver_->stop();
    if (worker_.joinable()) {
        worker_.join();
    }
    if (const auto adapter = session_.host().adapter(); adapter != nullptr) {
        adapter->stopTftpConfigSource();
    }
}

}  // namespace corvidctl
