#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager.h"
#include "contracts/PropertyNotifier.h"
#include "remote/TftpConfigStoreObserver.h"
#include "system/ResetDataProvider.h"
#include "system/ServerHealthInformation.h"
#include "system/SystemMonitor.h"
#include "tessel/Mutex.h"
#include "unified/FeatureSetAdapter.h"
#include "unified/UnifiedFactory.h"

class ConfigServiceImpl;
class TftpConfigStore;

/// The feature set: owns the chain, decides which stores exist and when, and passes the chain's reports to the service.
class ConfigAdapter : public FeatureSetAdapter,
                      public ConfigFeatureSet,
                      public ConfigStoreManager_Observer,
                      public TftpConfigStoreObserver,
                      public TesselSystemMonitor::PowerEventObserver,
                      public std::enable_shared_from_this<ConfigAdapter>,
                      public ProviderResetDataCallback {
public:
    explicit ConfigAdapter(const std::shared_ptr<UnifiedFactory>& factory);
    ~ConfigAdapter() override;

    /// The chain, for the tool and for tests that look inside.
    const std::shared_ptr<ConfigStoreManager>& getConfigStoreManager() const { return configStoreManager_; }

private:
    std::shared_ptr<ConfigStoreManager> configStoreManager_;
};
