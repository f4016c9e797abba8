#include "inspecting/RunningClient.h"

#include <utility>

#include "fetching/FetchReport.h"
#include "fetching/KeptCopy.h"

namespace corvidctl {

StartedClient::StartedClient(const Invocation& invocation) : files(invocation.host), session(invocation) {
    files.noteStarted();
}

RunningClient::RunningClient(std::unique_ptr<StartedClient> started, std::string configDirectory,
                             Interruption& interruption, ChangeJournal& journal, std::function<void()> onChange)
    : configDirectory_(std::move(configDirectory)),
      journal_(journal),
      started_(std::move(started)),
      versionBefore_(storedVersion(session())),
      scope_(session(), journal, [tell = std::move(onChange)](const ChangeView&) { tell(); }),
      remote_(session(), interruption) {}

void RunningClient::startRemote() {
    const std::lock_guard lock(mutex_);
    remote_.start();
    hasStarted_ = true;
}

bool RunningClient::fetchAgain() {
    const std::lock_guard lock(mutex_);
    const bool isBeingAsked = !hasStarted_ || !remote_.isSettled();
    return isBeingAsked || remote_.fetchAgain();
}

void RunningClient::noteDelivered() {
    const DownloadJournal::Snapshot downloads = remote_.downloads();
    const FetchView fetched = summarise(downloads, versionBefore_, false);
    std::string lost = corvidctl::noteDelivery(session(), configDirectory_, downloads, fetched);
    const std::lock_guard lock(mutex_);
    lostCopy_ = std::move(lost);
}

std::string RunningClient::lostCopy() const {
    const std::lock_guard lock(mutex_);
    return lostCopy_;
}

bool RunningClient::finish() {
    remote_.stop();
    scope_.stop();
    return session().finish();
}

}  // namespace corvidctl
