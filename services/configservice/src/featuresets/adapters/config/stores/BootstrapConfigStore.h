#pragma once

#include <istream>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/ConfigMap.h"
#include "chain/FoldedLookup.h"
#include "chain/KeyedValues.h"

/// The settings that the installer wrote, read once, at construction. A missing or unreadable file leaves an empty
/// store and one level 3 line. Any thread, without a lock: nothing changes afterwards.
///
/// The file is UTF-8 text. A line is "key:value", split at its first colon, both sides trimmed; a line without a colon
/// is a key with an empty value. Empty lines, and lines whose first character after white space is "#", are skipped. Of
/// several lines with one key (case ignored) the last one gives the value. There may be a password in it: what has been
/// read of it is overwritten, but for the store's own values.
class BootstrapConfigStore : public ConfigStore, public FoldedLookup {
public:
    BootstrapConfigStore(const std::string& name, const std::string& filePath, std::int32_t priority);

    /// Applies the rule for FIPS mode to a hit and to a miss: a miss may hand back "false" with the result false.
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool lookUp(const FoldedKey& key, std::wstring& value) override;

    /// Does nothing, false.
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;

    /// Does nothing, false.
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;
    void persistValues() override;
    void destroy() override;
    bool isLocal() override;
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override;

    /// ":", built at its first use.
    static const std::string& SPLITTER();

    /// What a line says that is not empty, for tools that look at such a file too.
    /// @param line without its line feed. @param key may become empty. @return false for a comment.
    static bool readKeyValue(const std::string& line, std::string& key, std::string& value);

private:
    bool readConfigFromFile(std::istream& stream);
    static void takeLine(const std::string& line, ConfigMap& values);
    static bool isLineComment(std::string line);
    static bool isValidConfigValue(const std::vector<std::string>& parts);
    bool getValueFromMap(const KeyedValues& map, const FoldedKey& key, std::wstring& value);

    const std::int32_t priority_;
    KeyFilter filter_;
    KeyedValues values_{filter_};
    const std::string filePath_;
    const std::string name_;
};
