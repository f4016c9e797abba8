#pragma once

#include <libxml/tree.h>

#include <optional>
#include <string>

/// One "userConfig" element of a local file.
struct LocalFileEntry {
    std::wstring key;  ///< lower-cased, under its current name; never empty
    std::wstring value;
    std::wstring name;  ///< the key as the file spells it
};

/// How the local file names its parts, shared by the store and by tools that look at such a file.
class LocalFileFormat {
public:
    /// True for an element "userConfig" in any case.
    static bool isEntry(const xmlNode* node);

    /// True if a store of this name reads the old voicemail key under its current name: every store but the
    /// installation's defaults.
    static bool movesVoicemailKey(const std::string& storeName);

    /// The current name of a key: that of "VVM_Mailstore_Server_0", in any case, is "VoicemailPrimaryServer". Any other
    /// is its own, and what is returned is the argument.
    static const std::wstring& currentKey(const std::wstring& key);

    /// What an entry says. @param node an element for which isEntry() is true. @return nothing for one without a key.
    static std::optional<LocalFileEntry> readEntry(const xmlNode* node, bool movesVoicemailKey);
};
