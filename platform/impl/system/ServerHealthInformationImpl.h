#pragma once

#include <atomic>
#include <memory>

#include "impl/system/SignalNotifier.h"
#include "system/ServerHealthInformation.h"

/// A server health entry that the host keeps up to date. Any thread.
class ServerHealthInformationImpl : public ServerHealthInformation {
public:
    /// @param type, status as in ServerHealthInformation.
    explicit ServerHealthInformationImpl(int type, int status = 0);
    ~ServerHealthInformationImpl() override;

    int getServerHealthType() const override { return type_; }
    int getConnectionStatus() const override { return status_; }
    std::shared_ptr<ServerHealthInformationNotifiers> getServerHealthInformationNotifiers() override;

    /// Fires the status notifier on the calling thread if the status has changed.
    void setConnectionStatus(int status);

private:
    const int type_;
    std::atomic<int> status_;
    const std::shared_ptr<SignalNotifier> statusNotifier_;
    const std::shared_ptr<ServerHealthInformationNotifiers> notifiers_;
};
