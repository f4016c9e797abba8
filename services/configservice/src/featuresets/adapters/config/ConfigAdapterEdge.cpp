#include "ConfigAdapter.h"
#include "quill/FunctionTask.h"
#include "remote/TftpConfigStore.h"

namespace {

// The numbers of the host's types and states of server health.
constexpr int SOFTPHONE_TYPE = 2;
constexpr int SECOND_TELEPHONY_TYPE = 4;
constexpr int CONNECTED = 1;

bool isOfType(const std::shared_ptr<ServerHealthInformation>& entry, int type) {
    return entry != nullptr && entry->getServerHealthType() == type;
}

bool isConnected(const std::shared_ptr<ServerHealthInformation>& entry) {
    return entry != nullptr && entry->getConnectionStatus() == CONNECTED;
}

}  // namespace

void ConfigAdapter::checkEdgeReady() {
    const std::shared_ptr<ServicesDispatcher> dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "checkEdgeReady",
                  std::string("No services dispatcher: telephony is not watched"));
        return;
    }
    if (!dispatcher->checkForUpdateAccess()) {
        dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(weakly(&ConfigAdapter::checkEdgeReady),
                                                                           "ConfigAdapter::checkEdgeReady"));
        return;
    }
    const auto service = findSystemService("checkEdgeReady", "telephony is not watched");
    if (service != nullptr && service->isEdgeMode()) {
        watchEdge(*service);
    }
}

void ConfigAdapter::watchEdge(SystemService& service) {
    const EdgeWatch::Wait wait = edgeWatch_.begin();
    EdgeWatch::Entries listed;
    if (noteTelephonyEntries(service, wait, listed)) {
        // The download that the start of the source has just asked for does not come too early.
        edgeWatch_.end(wait);
        return;
    }
    if (!edgeWatch_.hasBothEntries()) {
        watchServerHealthList(service, wait);
    }
    for (const EdgeWatch::Telephony which : {EdgeWatch::SOFTPHONE, EdgeWatch::SECOND_TELEPHONY}) {
        if (const EdgeWatch::Entry entry = edgeWatch_.entry(which)) {
            watchTelephonyStatus(entry, which, wait);
            // One of an earlier check that the list has no more counts only when it tells of a change.
            if (entry == listed[which]) {
                lookAgainAt(entry, wait);
            }
        }
    }
    if (!edgeWatch_.hasBothEntries()) {
        // An entry may have come before the notifier was there to tell it.
        onServerHealthInformationListChanged();
    }
}

bool ConfigAdapter::noteTelephonyEntries(const SystemService& service, EdgeWatch::Wait wait,
                                         EdgeWatch::Entries& listed) {
    bool connected = false;
    const std::shared_ptr<ServerHealthInformationList> list = service.getServerHealthInformationList();
    for (const EdgeWatch::Entry& entry : *list) {
        if (isOfType(entry, SOFTPHONE_TYPE)) {
            listed[EdgeWatch::SOFTPHONE] = entry;
            edgeWatch_.putEntry(wait, EdgeWatch::SOFTPHONE, entry);
            connected = connected || isConnected(entry);
        } else if (isOfType(entry, SECOND_TELEPHONY_TYPE)) {
            listed[EdgeWatch::SECOND_TELEPHONY] = entry;
            edgeWatch_.putEntry(wait, EdgeWatch::SECOND_TELEPHONY, entry);
            connected = connected || isConnected(entry);
        }
    }
    return connected;
}

void ConfigAdapter::watchServerHealthList(SystemService& service, EdgeWatch::Wait wait) {
    const auto notifier = service.getSystemServiceNotifiers()->getServerHealthInformationListNotifier();
    edgeWatch_.keepListConnection(
        wait, notifier->connect([changed = weakly(&ConfigAdapter::onServerHealthInformationListChanged)](
                                    bool, const std::shared_ptr<ServerHealthInformationList>&,
                                    const std::shared_ptr<ServerHealthInformationList>&) { changed(); }));
}

void ConfigAdapter::watchTelephonyStatus(const EdgeWatch::Entry& entry, EdgeWatch::Telephony which,
                                         EdgeWatch::Wait wait) {
    const auto notifier = entry->getServerHealthInformationNotifiers()->getConnectionStatusNotifier();
    edgeWatch_.keepStatusConnection(wait, which, notifier->connect(statusChangeOf(entry, wait)));
}

void ConfigAdapter::lookAgainAt(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait) {
    if (isConnected(entry)) {
        takeTelephonyStatus(entry, wait);
    }
}

boost::function<void()> ConfigAdapter::statusChangeOf(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait) {
    return [weak = weak_from_this(), entry, wait] {
        if (const auto adapter = weak.lock()) {
            adapter->takeTelephonyStatus(entry, wait);
        }
    };
}

void ConfigAdapter::onServerHealthInformationListChanged() {
    // A stop on another thread may have ended the wait while the notifier was on its way here.
    const EdgeWatch::Wait wait = edgeWatch_.current();
    if (wait == EdgeWatch::NO_WAIT) {
        return;
    }
    const auto service =
        findSystemService("onServerHealthInformationListChanged", "a change of the server health is not seen");
    if (service == nullptr) {
        return;
    }
    if (takeInNewEntries(*service, wait)) {
        edgeWatch_.end(wait);
    } else if (edgeWatch_.hasBothEntries()) {
        // The list has nothing more to offer.
        edgeWatch_.endListConnection(wait);
    }
}

bool ConfigAdapter::takeInNewEntries(const SystemService& service, EdgeWatch::Wait wait) {
    const std::shared_ptr<ServerHealthInformationList> list = service.getServerHealthInformationList();
    for (const EdgeWatch::Entry& entry : *list) {
        if (isOfType(entry, SOFTPHONE_TYPE) && edgeWatch_.putMissingEntry(wait, EdgeWatch::SOFTPHONE, entry)) {
            if (isConnected(entry)) {
                TesselLog(logger(), 4, __FILE__, __LINE__, "onServerHealthInformationListChanged",
                          std::string("Softphone connected"));
                takeTelephonyStatus(entry, wait);
                return true;
            }
            TesselLog(logger(), 4, __FILE__, __LINE__, "onServerHealthInformationListChanged",
                      std::string("Adding softphone connection status notifier"));
            watchTelephonyStatus(entry, EdgeWatch::SOFTPHONE, wait);
            lookAgainAt(entry, wait);
        }
        if (isOfType(entry, SECOND_TELEPHONY_TYPE) &&
            edgeWatch_.putMissingEntry(wait, EdgeWatch::SECOND_TELEPHONY, entry)) {
            if (isConnected(entry)) {
                takeTelephonyStatus(entry, wait);
                return true;
            }
            watchTelephonyStatus(entry, EdgeWatch::SECOND_TELEPHONY, wait);
            lookAgainAt(entry, wait);
        }
    }
    return false;
}

void ConfigAdapter::onTelephonyConnectionStatusChanged(std::shared_ptr<ServerHealthInformation> entry) {
    takeTelephonyStatus(entry, edgeWatch_.current());
}

void ConfigAdapter::takeTelephonyStatus(const EdgeWatch::Entry& entry, EdgeWatch::Wait wait) {
    const std::shared_ptr<ServicesDispatcher> dispatcher = factory_->getServicesDispatcher();
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "onTelephonyConnectionStatusChanged",
                  std::string("No services dispatcher: telephony is not watched"));
        return;
    }
    if (!dispatcher->checkForUpdateAccess()) {
        dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
            statusChangeOf(entry, wait), "ConfigAdapter::onTelephonyConnectionStatusChanged"));
        return;
    }
    // Several reports of one wait may be on their way: only the first one asks for a download.
    if (!isConnected(entry) || !edgeWatch_.answer(wait)) {
        return;
    }
    // A client that is told of the version, once a server has given it, may throw.
    reportGate_->toTheEnd([&] {
        downloadForTelephony();
        edgeWatch_.end(wait);
        if (edgeWatch_.current() == EdgeWatch::NO_WAIT) {
            edgeWatch_.clearEntries();
        }
    });
}

void ConfigAdapter::downloadForTelephony() {
    if (!isStarted()) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "onTelephonyConnectionStatusChanged",
                  std::string("Config featureset not started"));
        return;
    }
    const std::shared_ptr<TftpConfigStore> store = tftpConfigStore_.get();
    if (store != nullptr) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "onTelephonyConnectionStatusChanged",
                  std::string("Telephony has connected in edge mode. Attempting download of tftp config store"));
        store->attemptDownloadFromCachedAddress();
    }
}
