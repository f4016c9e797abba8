#include "impl/system/SystemServiceImpl.h"

#include <algorithm>
#include <utility>

class SystemServiceImpl::ListNotifier : public ServerHealthInformationListNotifier {
public:
    std::weak_ptr<PropertyNotifierConnection> connect(const Callback& callback) override {
        return connections_->connect(callback);
    }

    void fire(bool added, const std::shared_ptr<ServerHealthInformationList>& whole,
              const std::shared_ptr<ServerHealthInformationList>& concerned) {
        // A reference of the fire's own: a callback may drop the last one to the service.
        const auto connections = connections_;
        connections->call(added, whole, concerned);
    }

private:
    const std::shared_ptr<platform::ConnectionList<Callback>> connections_ =
        std::make_shared<platform::ConnectionList<Callback>>();
};

namespace {

class Notifiers : public SystemServiceNotifiers {
public:
    Notifiers(std::shared_ptr<PropertyNotifier> userProfile, std::shared_ptr<ServerHealthInformationListNotifier> list)
        : userProfile_(std::move(userProfile)), list_(std::move(list)) {}

    std::shared_ptr<PropertyNotifier> getUserProfileNotifier() override { return userProfile_; }
    std::shared_ptr<ServerHealthInformationListNotifier> getServerHealthInformationListNotifier() override {
        return list_;
    }

private:
    const std::shared_ptr<PropertyNotifier> userProfile_;
    const std::shared_ptr<ServerHealthInformationListNotifier> list_;
};

bool contains(const ServerHealthInformationList& list, const std::shared_ptr<ServerHealthInformation>& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

/// The entries of one list that the other does not hold, in their order.
ServerHealthInformationList difference(const ServerHealthInformationList& list,
                                       const ServerHealthInformationList& other) {
    ServerHealthInformationList result;
    std::copy_if(list.begin(), list.end(), std::back_inserter(result),
                 [&](const auto& entry) { return !contains(other, entry); });
    return result;
}

}  // namespace

SystemServiceImpl::SystemServiceImpl()
    : userProfileNotifier_(std::make_shared<SignalNotifier>()),
      listNotifier_(std::make_shared<ListNotifier>()),
      notifiers_(std::make_shared<Notifiers>(userProfileNotifier_, listNotifier_)),
      resetDataProvider_(std::make_shared<ResetDataProviderImpl>()) {}

SystemServiceImpl::~SystemServiceImpl() = default;

std::shared_ptr<ServerHealthInformationList> SystemServiceImpl::getServerHealthInformationList() const {
    const tessel::ScopedLock lock(mutex_);
    return std::make_shared<ServerHealthInformationList>(list_);
}

std::shared_ptr<SystemServiceNotifiers> SystemServiceImpl::getSystemServiceNotifiers() { return notifiers_; }

std::shared_ptr<ResetDataProvider> SystemServiceImpl::getResetDataProvider() { return resetDataProvider_; }

void SystemServiceImpl::setServerHealthInformationList(ServerHealthInformationList list) {
    std::erase(list, nullptr);
    ServerHealthInformationList old = list;
    {
        const tessel::ScopedLock lock(mutex_);
        old.swap(list_);
    }
    fireListChange(false, list, difference(old, list));
    fireListChange(true, list, difference(list, old));
}

void SystemServiceImpl::addServerHealthInformation(const std::shared_ptr<ServerHealthInformation>& entry) {
    ServerHealthInformationList whole;
    {
        const tessel::ScopedLock lock(mutex_);
        if (entry == nullptr || contains(list_, entry)) {
            return;
        }
        list_.push_back(entry);
        whole = list_;
    }
    fireListChange(true, whole, {entry});
}

void SystemServiceImpl::removeServerHealthInformation(const std::shared_ptr<ServerHealthInformation>& entry) {
    ServerHealthInformationList whole;
    {
        const tessel::ScopedLock lock(mutex_);
        if (std::erase(list_, entry) == 0) {
            return;
        }
        whole = list_;
    }
    fireListChange(false, whole, {entry});
}

void SystemServiceImpl::userProfileChanged() { userProfileNotifier_->fire(); }

void SystemServiceImpl::fireListChange(bool added, const ServerHealthInformationList& whole,
                                       const ServerHealthInformationList& concerned) {
    if (concerned.empty()) {
        return;
    }
    // Each fire gets lists of its own: a callback is free to change what it is handed.
    listNotifier_->fire(added, std::make_shared<ServerHealthInformationList>(whole),
                        std::make_shared<ServerHealthInformationList>(concerned));
}
