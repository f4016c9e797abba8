#pragma once

#include <memory>

#include "unified/UnifiedCallback.h"

/// Called when the host asks its modules to forget the user's data.
class ProviderResetDataCallback : public UnifiedCallback {
public:
    ~ProviderResetDataCallback() override = default;

    /// Its own.
    std::string getInterfaceName() const override { return "ProviderResetDataCallback"; }

    /// On whatever thread asked for the reset. A module may put it off until the thread is out of its own callbacks.
    virtual void InvokeResetData() = 0;
};

/// Where modules register for a data reset. Any thread. Callbacks are shared: a registered one lives until it is
/// removed or the provider is gone.
class ResetDataProvider {
public:
    virtual ~ResetDataProvider() = default;

    /// The same callback counts once; null is ignored.
    virtual void registerResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) = 0;

    /// One that is not registered is no error.
    virtual void removeResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) = 0;
};
