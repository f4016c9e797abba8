#pragma once

#include <atomic>
#include <memory>

#include "impl/system/ResetDataProviderImpl.h"
#include "impl/system/SignalNotifier.h"
#include "system/SystemService.h"
#include "tessel/Mutex.h"

/// What a host knows about the client, as the host tells it. Any thread. Callbacks run on the thread that makes the
/// change, after it, with no lock held; of two changes on two threads at once, either may be told first.
class SystemServiceImpl : public SystemService {
public:
    SystemServiceImpl();
    ~SystemServiceImpl() override;

    bool isEdgeMode() const override { return edgeMode_; }
    std::shared_ptr<ServerHealthInformationList> getServerHealthInformationList() const override;
    std::shared_ptr<SystemServiceNotifiers> getSystemServiceNotifiers() override;
    std::shared_ptr<ResetDataProvider> getResetDataProvider() override;

    /// Whether the client reaches its servers from outside their network. Nobody is told.
    void setEdgeMode(bool edgeMode) { edgeMode_ = edgeMode; }

    /// Replaces the list, then fires once for the entries that are gone and once for those that are new, each time with
    /// the whole new list; not at all if both lists hold the same entries. Null entries are left out.
    void setServerHealthInformationList(ServerHealthInformationList list);

    /// Appends an entry and fires. Null, or one that is there already, changes nothing.
    void addServerHealthInformation(const std::shared_ptr<ServerHealthInformation>& entry);

    /// Removes an entry and fires. One that is not there changes nothing.
    void removeServerHealthInformation(const std::shared_ptr<ServerHealthInformation>& entry);

    /// Another user's profile has been loaded: fires the user-profile notifier.
    void userProfileChanged();

    /// The host's side of getResetDataProvider(). Never null.
    std::shared_ptr<ResetDataProviderImpl> resetDataProvider() const { return resetDataProvider_; }

private:
    class ListNotifier;

    void fireListChange(bool added, const ServerHealthInformationList& whole,
                        const ServerHealthInformationList& concerned);

    std::atomic<bool> edgeMode_{false};
    mutable tessel::Mutex mutex_;
    ServerHealthInformationList list_ TESSEL_GUARDED_BY(mutex_);
    const std::shared_ptr<SignalNotifier> userProfileNotifier_;
    const std::shared_ptr<ListNotifier> listNotifier_;
    const std::shared_ptr<SystemServiceNotifiers> notifiers_;
    const std::shared_ptr<ResetDataProviderImpl> resetDataProvider_;
};
