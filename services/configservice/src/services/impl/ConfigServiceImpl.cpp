#include "ConfigServiceImpl.h"

#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/DisableP2PCallOnFips.h"
#include "quill/StringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* serviceLogger() {
    static TesselLogger* const logger = TesselLogger_getLogger("ConfigServiceImpl");
    return logger;
}

/// The two texts of a value as a log may show them.
struct ShownTexts {
    std::wstring value;
    std::wstring originalValue;
};

ShownTexts shownTexts(const ConfigValueImpl& config, bool sensitive) {
    if (sensitive) {
        return {ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT, ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT};
    }
    return {config.getValue(), config.getOriginalValue()};
}

std::wstring reportLine(const ConfigValueImpl& config, const std::wstring& value, const std::wstring& valueStoreName,
                        const std::wstring& originalValue) {
    return L"Key: " + config.getKey() + L" -  Value - [" + value + L"] valueStoreName [" + valueStoreName +
           L"] | OriginalValue [" + originalValue + L"] originalValueStoreName [" + config.getOriginalValueStoreName() +
           L"]\n";
}

}  // namespace

ConfigServiceImpl::ConfigServiceImpl(const std::shared_ptr<UnifiedFactory>& factory) : ConfigServiceBaseImpl(factory) {
    initialize(factory);
    setConfigReady(true);
    fireConfigReady();
}

ConfigServiceImpl::~ConfigServiceImpl() = default;

void ConfigServiceImpl::initialize(const std::shared_ptr<UnifiedFactory>&) { liveValues_.clear(); }

std::shared_ptr<ConfigValue> ConfigServiceImpl::getConfig(std::wstring key) {
    EnsureUpdateAccess(true);
    return findConfig(key);
}

void ConfigServiceImpl::setConfig(std::wstring key, std::wstring value) {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->setConfig(key, value);
    }
}

void ConfigServiceImpl::setInMemoryConfig(std::wstring key, std::wstring value) {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->setInMemoryConfig(key, value);
    }
}

std::shared_ptr<std::vector<std::shared_ptr<ConfigValue>>> ConfigServiceImpl::getAllConfig() {
    const auto all = std::make_shared<std::vector<std::shared_ptr<ConfigValue>>>();
    for (const auto& config : liveValues_.inOrder()) {
        DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(config);
        all->push_back(config);
    }
    return all;
}

void ConfigServiceImpl::resetConfig(std::wstring key) {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->resetConfig(key);
    }
}

bool ConfigServiceImpl::removeConfigStoreAndCache(std::wstring storeName) {
    EnsureUpdateAccess(true);
    const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>();
    return featureSet != nullptr && featureSet->removeConfigStore(QuillCoreUtils::toString(storeName));
}

void ConfigServiceImpl::removeAllCachedConfigStores() {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->removeAllCachedConfigStores();
    }
}

void ConfigServiceImpl::logConfig() {
    TesselLog(serviceLogger(), 4, __FILE__, __LINE__, "logConfig", buildMasterReport());
}

void ConfigServiceImpl::setKeySensitive(std::wstring key) {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->setKeySensitive(key);
    }
}

bool ConfigServiceImpl::isKeySensitive(std::wstring key) {
    EnsureUpdateAccess(true);
    return isMarkedSensitive(key);
}

bool ConfigServiceImpl::isMarkedSensitive(const std::wstring& key) const { return sensitiveKeys_.count(key) != 0; }

bool ConfigServiceImpl::setUrlProvisioningData(std::wstring data) {
    const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>();
    return featureSet != nullptr && featureSet->setUrlProvisioningData(std::move(data));
}

bool ConfigServiceImpl::resetAllowUriProvisioningData() {
    const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>();
    return featureSet != nullptr && featureSet->resetAllowUriProvisioningData();
}

void ConfigServiceImpl::OnConfigChanged(std::wstring key, std::wstring value, std::wstring originalValue,
                                        bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                        std::wstring originalValueStoreName, bool silent) {
    const FoldedKey folded(key);
    takeReport({folded, value, originalValue, isOverridden, isDefined, valueStoreName, originalValueStoreName, silent});
}

void ConfigServiceImpl::FireIfRequired(std::wstring key) { fireIfRequired(FoldedKey(key)); }

void ConfigServiceImpl::takeReport(const KeyReport& report) {
    EnsureUpdateAccess(true);
    // This reference keeps the object alive: an observer may empty the cache and drop its own.
    const std::shared_ptr<ConfigValueImpl> config = findConfig(report.key);
    if (report.silent) {
        config->silentUpdate(report.value, report.originalValue, report.isOverridden, report.isDefined,
                             report.valueStoreName, report.originalValueStoreName);
    } else {
        config->update(report.value, report.originalValue, report.isOverridden, report.isDefined, report.valueStoreName,
                       report.originalValueStoreName);
    }
}

void ConfigServiceImpl::fireIfRequired(const FoldedKey& key) {
    const std::shared_ptr<ConfigValueImpl> config = findConfig(key);
    config->fireRequired();
}

void ConfigServiceImpl::updateSensitiveKeyList(std::wstring key) {
    EnsureUpdateAccess(true);
    sensitiveKeys_.insert(std::move(key));
}

void ConfigServiceImpl::setupConfigKeyAliases(ConfigMap aliases) {
    EnsureUpdateAccess(true);
    keyAliases_.exchange(std::move(aliases));
}

void ConfigServiceImpl::reset() {
    EnsureUpdateAccess(true);
    liveValues_.clear();
}

void ConfigServiceImpl::refreshConfigFeatureSet() {
    EnsureUpdateAccess(true);
    if (const auto featureSet = getFactory()->getFeatureSet<ConfigFeatureSet>()) {
        featureSet->refreshConfigFeatureSet();
    }
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::findConfig(const std::wstring& key) {
    return findConfig(FoldedKey(key));
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::findConfig(const FoldedKey& key) {
    const std::wstring* const target = aliasTarget(key);
    if (target == nullptr) {
        std::shared_ptr<ConfigValueImpl> config = findLive(key);
        return config != nullptr ? std::move(config) : createConfig(key.text());
    }
    if (const std::shared_ptr<ConfigValueImpl> config = findConfigFromKey(*target)) {
        TesselLog(serviceLogger(), 4, __FILE__, __LINE__, "findConfig",
                  L"findConfig key : [" + key.text() + L"] is an alias for key : [" + *target +
                      L"] actual lookup done on this key - value : [" +
                      shownTexts(*config, isMarkedSensitive(key.text())).value + L"]");
        return config;
    }
    // The object may have been made under the old name before the table of renamed keys arrived.
    std::shared_ptr<ConfigValueImpl> config = findLive(key);
    return config != nullptr ? std::move(config) : createConfig(*target);
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::findConfigFromKey(const std::wstring& key) {
    return findLive(FoldedKey(key));
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::findLive(const FoldedKey& key) {
    std::shared_ptr<ConfigValueImpl> config = liveValues_.find(key);
    if (config != nullptr) {
        DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(config);
    }
    return config;
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::createConfig(const std::wstring& key) {
    const auto config = std::make_shared<ConfigValueImpl>(getFactory(), key);
    liveValues_.add(config);
    return config;
}

std::shared_ptr<ConfigValueImpl> ConfigServiceImpl::createConfig(const std::wstring& key, const std::wstring& value,
                                                                 const std::wstring& originalValue, bool isOverridden,
                                                                 const std::wstring& valueStoreName,
                                                                 const std::wstring& originalValueStoreName) {
    const auto config = std::make_shared<ConfigValueImpl>(getFactory(), key, value, originalValue, isOverridden,
                                                          valueStoreName, originalValueStoreName);
    liveValues_.add(config);
    return config;
}

bool ConfigServiceImpl::isKeyAlias(const std::wstring& key, std::wstring& target) {
    const std::wstring* const found = aliasTarget(FoldedKey(key));
    target = found != nullptr ? *found : std::wstring();
    return found != nullptr;
}

const std::wstring* ConfigServiceImpl::aliasTarget(const FoldedKey& key) const {
    return keyAliasFilter_.mayHold(key.mark()) ? keyAliases_.find(key) : nullptr;
}

std::wstring ConfigServiceImpl::buildMasterReport() const {
    EnsureUpdateAccess(true);
    std::wstring defined;
    std::wstring undefined;
    for (const auto& config : liveValues_.inOrder()) {
        const ShownTexts shown = shownTexts(*config, isMarkedSensitive(config->getKey()));
        if (config->getisDefined()) {
            defined += reportLine(*config, shown.value, config->getValueStoreName(), shown.originalValue);
        } else {
            // Support tools know these lines as they are: the value, and then what is shown of it in the store's place.
            undefined += reportLine(*config, config->getValue(), shown.value, shown.originalValue);
        }
    }
    return L"\n*********************** Master Configuration Settings *********************\n"
           L"\nOriginalValue is the value set by the administrator\n"
           L"\nValue is the value retrieved by searching the config sources by priority\n"
           L"\nDefined Values\n--------------\n" +
           defined + L"\nUnDefined Values\n---------------\n" + undefined +
           L"\n*************************** End Settings ***************************\n";
}
