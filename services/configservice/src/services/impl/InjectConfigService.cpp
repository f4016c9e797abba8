#include <memory>

#include "ConfigAdapter.h"
#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ConfigServiceImpl.h"
#include "InjectConfigService.h"
#include "unified/UnifiedFactory.h"

void InjectConfigService(const std::shared_ptr<UnifiedFactory>& factory) {
    const auto service = std::make_shared<ConfigServiceImpl>(factory);
    factory->setService<ConfigService>(CONFIG_SERVICE_ID, service);

    // The adapter's constructor looks the service up and starts to push into it, so the service comes first.
    if (factory->getFeatureSet<ConfigFeatureSet>() == nullptr) {
        factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, std::make_shared<ConfigAdapter>(factory));
    }
}
