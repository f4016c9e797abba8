#include "fetching/RemoteSource.h"

#include <chrono>
#include <utility>

#include "ConfigAdapter.h"
#include "fetching/FetchReport.h"
#include "output/ProgressLine.h"
#include "remote/TftpConfigStore.h"
#include "session/Interruption.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

/// How often the seconds of the progress line are looked at.
constexpr std::chrono::milliseconds TICK{250};

bool namesServer(const TftpServerDetails& details) {
    return !details.server1.empty() || !details.server2.empty() || !details.server3.empty();
}

}  // namespace

RemoteSource::RemoteSource(Session& session, Interruption& interruption)
    : session_(session), interruption_(interruption), journal_(session.host().adapter()->getDownloadJournal()) {
    journal_->setListener([&interruption] { interruption.nudge(); });
}

RemoteSource::~RemoteSource() { stop(); }

void RemoteSource::start() {
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
    if (worker_.joinable()) {
        worker_.join();
    }
    if (const auto adapter = session_.host().adapter(); adapter != nullptr) {
        adapter->stopTftpConfigSource();
    }
}

}  // namespace corvidctl
