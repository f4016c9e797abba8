#pragma once

#include <memory>

#include "contracts/PropertyNotifierConnection.h"

/// Ends a notifier's connection. One that is gone, or has ended already, is no error. Any thread that the notifier
/// allows.
void disconnectProperty(const std::weak_ptr<PropertyNotifierConnection>& connection);
