#include "SimulatedModule.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "ConfigAdapter.h"
#include "InjectConfigService.h"

namespace simulation {

SimulatedModule::SimulatedModule(std::shared_ptr<ServicesDispatcher> dispatcher,
                                 const std::function<void(fakes::ScopedWorld&)>& prepare)
    : persistence_(std::make_shared<fakes::HandSteppedTaskDispatcher>()),
      factory_(std::make_shared<UnifiedFactory>(std::move(dispatcher), persistence_)) {
    if (prepare) {
        prepare(world_);
    }
    InjectConfigService(factory_);
    service_ = factory_->getService<ConfigService>();
    featureSet_ = factory_->getFeatureSet<ConfigFeatureSet>();
    adapter_ = factory_->getFeatureSetAdapter(CONFIG_SERVICE_ID);
    manager_ = std::dynamic_pointer_cast<ConfigAdapter>(adapter_)->getConfigStoreManager();
    adapter_->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
}

SimulatedModule::~SimulatedModule() {
    adapter_->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    adapter_->Destroy();
    factory_->clear();
}

std::vector<ModelStore> storesAfterStart() {
    ModelStore override;
    override.name = "TftpOverrideConfigStore";
    override.priority = 10;
    override.readOnly = true;

    ModelStore localFile;
    localFile.name = "LocalFileConfigStore";
    localFile.priority = 20;
    localFile.movesOldVoicemailKey = true;

    ModelStore provisioning;
    provisioning.name = "UrlProvisioningConfigStore";
    provisioning.priority = 499;
    provisioning.readOnly = true;
    provisioning.local = true;

    ModelStore bootstrap;
    bootstrap.name = "BootstrapConfigStore";
    bootstrap.priority = 500;
    bootstrap.readOnly = true;
    bootstrap.local = true;
    bootstrap.hidesEvenWhatItLacks = true;

    ModelStore inMemory;
    inMemory.name = "InMemoryConfigStore";
    inMemory.priority = 600;
    inMemory.local = true;

    ModelStore defaults;
    defaults.name = "corvid-config-defaults.xml";
    defaults.priority = std::numeric_limits<int>::max();
    defaults.readOnly = true;
    defaults.local = true;

    std::vector<ModelStore> stores = {override, localFile, provisioning, bootstrap, inMemory, defaults};
    for (ModelStore& store : stores) {
        store.hidesPeerToPeerOnFips = true;
    }
    return stores;
}

std::vector<ModelStore> storesOf(ConfigStoreManager& manager) {
    const std::vector<ModelStore> own = storesAfterStart();
    std::vector<ModelStore> stores;
    for (const auto& store : manager.getStores()) {
        const auto known =
            std::find_if(own.begin(), own.end(), [&](const ModelStore& one) { return one.name == store->getName(); });
        ModelStore copy = known == own.end() ? ModelStore{} : *known;
        copy.name = store->getName();
        copy.priority = store->getPriority();
        copy.readOnly = store->isReadOnly();
        copy.local = store->isLocal();
        copy.cached = store->shouldCacheConfigStore();
        copy.hidesPeerToPeerOnFips = true;
        copy.entries = entriesOf(*store);
        stores.push_back(std::move(copy));
    }
    return stores;
}

ModelEntries entriesOf(ConfigStore& store) {
    ModelStore copy;
    for (const std::wstring& key : store.getKeys()) {
        std::wstring text;
        if (store.getValue(key, text)) {
            copy.put(key, text);
        }
    }
    return copy.entries;
}

ValueState stateOf(const ConfigValue& value) {
    return {value.getKey(),       value.getValue(),          value.getOriginalValue(),         value.getisOverridden(),
            value.getisDefined(), value.getValueStoreName(), value.getOriginalValueStoreName()};
}

}  // namespace simulation
