#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "ConfigValue.h"
#include "ModelTypes.h"

namespace simulation {

/// An observer of one live value, which tells which of its properties has changed. Dispatcher thread.
class PropertyWatcher final : public ConfigValueObserver {
public:
    using Heard = std::function<void(Property property, ConfigValue& value)>;

    PropertyWatcher(std::shared_ptr<ConfigValue> value, Heard heard)
        : value_(std::move(value)), heard_(std::move(heard)) {}

    const std::shared_ptr<ConfigValue>& value() const { return value_; }

    void OnValueChanged() override { heard_(Property::Value, *value_); }
    void OnOriginalValueChanged() override { heard_(Property::OriginalValue, *value_); }
    void OnisOverriddenChanged() override { heard_(Property::isOverridden, *value_); }
    void OnisDefinedChanged() override { heard_(Property::isDefined, *value_); }
    void OnValueStoreNameChanged() override { heard_(Property::ValueStoreName, *value_); }
    void OnOriginalValueStoreNameChanged() override { heard_(Property::OriginalValueStoreName, *value_); }

private:
    const std::shared_ptr<ConfigValue> value_;
    const Heard heard_;
};

}  // namespace simulation
