#pragma once

#include <optional>
#include <string>
#include <vector>

#include "chain/ConfigMap.h"

namespace corvidctl {

/// The keys that this system reads itself, that a provisioning link can set, that have been renamed, or that its own
/// files ship with. Keys of other modules of the client are not among them, so a key that is not known may well be a
/// good one. Case does not count.
class KnownKeys {
public:
    KnownKeys();

    /// Takes a further key for a known one; where it is as close as another, the other was meant.
    void add(const std::wstring& key);

    bool contains(const std::wstring& key) const;

    /// The known key that was probably meant by one that is not known. Keys that differ in their numbers alone, as a
    /// third server does from a second, are taken for different keys and not for slips.
    /// @return nothing if the key is known, or close to none.
    std::optional<std::string> meantBy(const std::wstring& key) const;

    /// The name that a renamed key has today; nothing for a key that has not been renamed.
    std::optional<std::wstring> currentNameOf(const std::wstring& key) const;

    /// Whether the value of a key is hidden whatever a file says.
    static bool isAlwaysSensitive(const std::wstring& key);

    /// Whether the value of a key is enciphered as soon as it has been downloaded.
    static bool isEncipheredOnDownload(const std::wstring& key);

private:
    SensitiveKeySet keys_;
    std::vector<std::string> names_;  ///< of the same keys, as closest() takes them
    ConfigMap currentNames_;          ///< old name to current name
};

}  // namespace corvidctl
