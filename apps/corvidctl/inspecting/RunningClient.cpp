#include "inspecting/RunningClient.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "fetching/FetchReport.h"
#include "fetching/KeptCopy.h"

namespace corvidctl {

namespace {

ValueView storedVersion(Session& session) {
    ValueView version;
    session.work([&version](Session::Inside& inside) {
        version = inside.reader.describe(ConfigStoreConstants::HOME_UDS_VERSION);
    });
    return version;
}

}  // namespace

RunningClient::RunningClient(const Invocation& invocation, Interruption& interruption, ChangeJournal& journal,
                             std::function<void()> onChange)
    : configDirectory_(invocation.host.configDirectory),
      files_(invocation.host),
      journal_(journal),
      session_(invocation),
      versionBefore_(storedVersion(session_)),
      scope_(session_, journal, [tell = std::move(onChange)](const ChangeView&) { tell(); }),
      remote_(session_, interruption) {
    files_.noteStarted();
}

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
    std::string lost = fetched.ok ? copyThatIsNotKept(session_) : std::string();
    if (fetched.ok && lost.empty()) {
        noteDelivery(configDirectory_, downloads, fetched);
    }
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
    const bool isOnDisk = session_.finish();
    return isOnDisk;
}

}  // namespace corvidctl
