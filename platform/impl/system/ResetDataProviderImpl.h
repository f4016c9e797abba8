#pragma once

#include <memory>
#include <vector>

#include "system/ResetDataProvider.h"
#include "tessel/Mutex.h"

/// The host's list of those who forget the user's data when it asks. Any thread.
class ResetDataProviderImpl : public ResetDataProvider {
public:
    void registerResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) override;
    void removeResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) override;

    /// Calls all that are registered at this moment, in the order of registration, on the calling thread and with no
    /// lock held. All are called, whatever one throws; the first exception leaves then, each further one is a level 2
    /// line.
    void invokeResetData();

    /// Drops every callback: the host's end, since a callback's owner usually holds the host in turn.
    void clear();

private:
    using Callbacks = std::vector<std::shared_ptr<ProviderResetDataCallback>>;

    tessel::Mutex mutex_;
    Callbacks callbacks_ TESSEL_GUARDED_BY(mutex_);
};
