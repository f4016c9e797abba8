#include "impl/system/ServerHealthInformationImpl.h"

#include <utility>

namespace {

class Notifiers : public ServerHealthInformationNotifiers {
public:
    explicit Notifiers(std::shared_ptr<PropertyNotifier> status) : status_(std::move(status)) {}

    std::shared_ptr<PropertyNotifier> getConnectionStatusNotifier() override { return status_; }

private:
    const std::shared_ptr<PropertyNotifier> status_;
};

}  // namespace

ServerHealthInformationImpl::ServerHealthInformationImpl(int type, int status)
    : type_(type),
      status_(status),
      statusNotifier_(std::make_shared<SignalNotifier>()),
      notifiers_(std::make_shared<Notifiers>(statusNotifier_)) {}

ServerHealthInformationImpl::~ServerHealthInformationImpl() = default;

std::shared_ptr<ServerHealthInformationNotifiers> ServerHealthInformationImpl::getServerHealthInformationNotifiers() {
    return notifiers_;
}

void ServerHealthInformationImpl::setConnectionStatus(int status) {
    if (status_.exchange(status) != status) {
        statusNotifier_->fire();
    }
}
