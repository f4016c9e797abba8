#pragma once

#include <memory>

#include "ConfigValueNotifiers.h"
#include "ConfigValueObserver.h"
#include "UnifiedBusinessObjectNotifiersImpl.h"

/// The notifiers of a live value. Dispatcher thread only.
class ConfigValueNotifiersImpl : public UnifiedBusinessObjectNotifiersImpl,
                                 public virtual ConfigValueNotifiers,
                                 public virtual ConfigValueObserver {
public:
    std::shared_ptr<PropertyNotifier> getKeyNotifier() override;
    std::shared_ptr<PropertyNotifier> getValueNotifier() override;
    std::shared_ptr<PropertyNotifier> getOriginalValueNotifier() override;
    std::shared_ptr<PropertyNotifier> getisOverriddenNotifier() override;
    std::shared_ptr<PropertyNotifier> getisDefinedNotifier() override;
    std::shared_ptr<PropertyNotifier> getValueStoreNameNotifier() override;
    std::shared_ptr<PropertyNotifier> getOriginalValueStoreNameNotifier() override;

    void OnInfoChanged() override;
    void OnKeyChanged() override;
    void OnValueChanged() override;
    void OnOriginalValueChanged() override;
    void OnisOverriddenChanged() override;
    void OnisDefinedChanged() override;
    void OnValueStoreNameChanged() override;
    void OnOriginalValueStoreNameChanged() override;

    /// Fetches ahead what lies so many steps from this pointer on the way to those who are connected to the value, this
    /// object at first. Reads what lies nearer. @return whether anything lies further.
    bool fetchAhead(unsigned step) const;

private:
    std::shared_ptr<PropertyNotifierImpl> keyNotifier_;
    std::shared_ptr<PropertyNotifierImpl> valueNotifier_;
    std::shared_ptr<PropertyNotifierImpl> originalValueNotifier_;
    std::shared_ptr<PropertyNotifierImpl> isOverriddenNotifier_;
    std::shared_ptr<PropertyNotifierImpl> isDefinedNotifier_;
    std::shared_ptr<PropertyNotifierImpl> valueStoreNameNotifier_;
    std::shared_ptr<PropertyNotifierImpl> originalValueStoreNameNotifier_;
};
