#include "DisconnectProperty.h"

void disconnectProperty(const std::weak_ptr<PropertyNotifierConnection>& connection) {
    const std::shared_ptr<PropertyNotifierConnection> alive = connection.lock();
    if (alive != nullptr && alive->connected()) {
        alive->disconnect();
    }
}
