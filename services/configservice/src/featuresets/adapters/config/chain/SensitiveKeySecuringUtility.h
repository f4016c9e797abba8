#pragma once

#include <array>
#include <string>

#include "chain/ConfigMap.h"

/// Enciphers the values of the two well-known password keys.
class SensitiveKeySecuringUtility {
public:
    static const std::wstring EDI_PSW_KEY;
    static const std::wstring BDI_PSW_KEY;
    static const std::array<std::wstring, 2> WELL_KNOWN_SENSITIVE_KEYS;

    /// Enciphers, in place, the values of the well-known keys that the map holds. The clear text is wiped.
    static void secureWellKnownSensitiveKeys(ConfigMap& map);

    /// Enciphers the value of one entry in place: base64 text that only this process can decipher.
    static void secureKey(ConfigMap::value_type& entry);
};
