#include "ConfigAdapter.h"

void ConfigAdapter::checkEdgeReady() {
    // Watching starts with the downloads themselves: there is nothing to repeat before.
}

void ConfigAdapter::refreshConfigFeatureSet() {
    runExclusively("ConfigAdapter::refreshConfigFeatureSet", &ConfigAdapter::refresh);
}

void ConfigAdapter::refresh() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    switchTftpSourceOff();
    configStoreManager_->reset();
    disconnectEdgeWatch();
    clearEdgeEntries();
    addInMemoryStore();
    addLocalFileStore();
    addOverrideStore();
    InitialiseCachedConfigStores();
    if (getNumCacheStores() > 0) {
        SetEnabledServices();
    }
    removeCustomServerValuesIfPolicySet();
}
