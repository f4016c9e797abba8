#pragma once

#include <memory>
#include <string>

#include "ConfigService.h"
#include "UnifiedServiceImpl.h"
#include "tessel/TesselLogger.h"

// An observer of another layer does not compile: the overloads hide those of the base on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// The properties of the configuration service: their fields, getters, setters and fires. Dispatcher thread only;
/// getters, setters and fires check it.
///
/// A setter never fires: whoever owns a change decides when its observers hear of it.
class ConfigServiceBaseImpl : public UnifiedServiceImpl, public ConfigService {
public:
    static const char* const className;

    explicit ConfigServiceBaseImpl(const std::shared_ptr<UnifiedFactory>& factory);

    /// @param checksAccess false: the object's operations may be called on any thread.
    ConfigServiceBaseImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess);

    void initNotifiers() override;

    bool getConfigReady() const override;
    virtual void setConfigReady(bool configReady);

    void addObserver(std::weak_ptr<ConfigServiceObserver> observer) override;
    void removeObserver(std::weak_ptr<ConfigServiceObserver> observer) override;
    std::shared_ptr<ConfigServiceNotifiers> getConfigServiceNotifiers() override;

    /// Tells the observers that are registered now. What an observer throws goes on to the caller; an observer of
    /// another layer is passed over.
    void fireConfigReady();

protected:
    /// The log of this layer.
    static TesselLogger* logger();

private:
    bool configReady_ = false;
};

#pragma GCC diagnostic pop
