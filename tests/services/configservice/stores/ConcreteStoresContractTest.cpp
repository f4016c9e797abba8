#include <filesystem>
#include <fstream>

#include "ConfigStoreConstants.h"
#include "StoreTestSupport.h"
#include "fakes/OwnStoreContract.h"
#include "stores/BootstrapConfigStore.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "stores/XmlConfigStore.h"

namespace {

using Values = std::map<std::wstring, std::wstring>;

std::shared_ptr<ConfigStore> makeXmlStore(const Values& values, const std::filesystem::path& folder) {
    const std::string path = (folder / "document.xml").string();
    XmlConfigParser::writeToFile(path, ConfigMap(values.begin(), values.end()));
    return std::make_shared<XmlConfigStore>("Xml", 10, false, path, true);
}

std::shared_ptr<ConfigStore> makeCacheStore(const Values& values, const std::filesystem::path& folder) {
    return std::make_shared<CacheConfigStore>("cachedX.xml", 240, (folder / "Cache/cachedX.xml").string(),
                                              ConfigMap(values.begin(), values.end()));
}

std::shared_ptr<ConfigStore> makeReadCacheStore(const Values& values, const std::filesystem::path& folder) {
    makeCacheStore(values, folder);
    return std::make_shared<CacheConfigStore>("cachedX.xml", 240, (folder / "Cache/cachedX.xml").string());
}

std::shared_ptr<ConfigStore> makeBootstrapStore(const Values& values, const std::filesystem::path& folder) {
    std::string text;
    for (const auto& [key, value] : values) {
        text += QuillCoreUtils::toString(key) + ": " + QuillCoreUtils::toString(value) + "\n";
    }
    const std::string path = (folder / "bootstrap.properties").string();
    std::ofstream(path) << text;
    return std::make_shared<BootstrapConfigStore>(ConfigStoreConstants::BOOTSTRAP_STORE_NAME, path, 500);
}

std::shared_ptr<ConfigStore> makeLocalStore(const Values& values, const std::filesystem::path& folder) {
    auto store = std::make_shared<LocalFileConfigStore>("Local", 20, folder.string(), "local.xml", false, false);
    for (const auto& [key, value] : values) {
        store->storeValue(key, value);
    }
    return store;
}

std::shared_ptr<ConfigStore> makeDefaultsStore(const Values& values, const std::filesystem::path& folder) {
    makeLocalStore(values, folder)->persistValues();
    return std::make_shared<LocalFileConfigStore>("Defaults", 2147483447, folder.string(), "local.xml", true, true);
}

std::vector<StoreContractCase> concreteStores() {
    return {
        StoreContractCase{.kind = "XmlConfigStore",
                          .make = makeXmlStore,
                          .name = "Xml",
                          .priority = 10,
                          .readOnly = true,
                          .local = false,
                          .empties = false},
        StoreContractCase{.kind = "CacheConfigStoreFromValues",
                          .make = makeCacheStore,
                          .name = "cachedX.xml",
                          .priority = 240,
                          .readOnly = true,
                          .empties = false},
        StoreContractCase{.kind = "CacheConfigStoreFromFile",
                          .make = makeReadCacheStore,
                          .name = "cachedX.xml",
                          .priority = 240,
                          .readOnly = true,
                          .empties = false},
        StoreContractCase{.kind = "BootstrapConfigStore",
                          .make = makeBootstrapStore,
                          .name = "BootstrapConfigStore",
                          .priority = 500,
                          .readOnly = true,
                          .stores = false,
                          .removes = false,
                          .empties = false},
        StoreContractCase{
            .kind = "LocalFileConfigStore", .make = makeLocalStore, .name = "Local", .priority = 20, .local = false},
        StoreContractCase{.kind = "ReadOnlyLocalFileConfigStore",
                          .make = makeDefaultsStore,
                          .name = "Defaults",
                          .priority = 2147483447,
                          .readOnly = true}};
}

INSTANTIATE_TEST_SUITE_P(ConcreteStores, StoreContract, testing::ValuesIn(concreteStores()), nameOfStoreContractCase);
INSTANTIATE_TEST_SUITE_P(ConcreteStores, OwnStoreContract, testing::ValuesIn(concreteStores()),
                         nameOfStoreContractCase);

}  // namespace
