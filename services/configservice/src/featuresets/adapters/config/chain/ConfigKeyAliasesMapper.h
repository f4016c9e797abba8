#pragma once

#include "chain/ConfigMap.h"

/// The one table of renamed keys.
class ConfigKeyAliasesMapper {
public:
    /// @param aliasMap receives old key to current key. @param legacyMap receives current key to old key.
    static void GetConfigKeyAliases(ConfigMap& aliasMap, ConfigMap& legacyMap);
};
