#pragma once

#include <libxml/tree.h>

#include <functional>
#include <memory>
#include <string>

#include "chain/ConfigMap.h"

/// Where configuration documents (XML 1.0) meet libxml2. Static functions without state; each call owns its document.
/// Failures are results and log lines; nothing throws on bad input. All narrow strings are UTF-8. Any thread.
///
/// A document is: a root of any name, its element children ("groups", whose names mean nothing), and their element
/// children, which are the entries. An entry's lower-cased local name is its key; the first entry of a key wins. Its
/// value is its text, trimmed, or, if it has a child that is neither text nor CDATA, its own serialised mark-up.
class XmlConfigParser {
public:
    /// What is written stands in a sibling of the file first, of the file's name and this. The name does not end in
    /// ".xml", so that no reader of the folder takes an unfinished file for a store.
    static constexpr const char* TEMPORARY_ENDING = ".temp";

    /// What has become of a write.
    enum class Outcome {
        Written,    ///< the file holds the values
        LeftAlone,  ///< the file was to be left alone
        NotOpened,  ///< the writer could not be opened
        Failed,     ///< on the way; the file is as it was, or the new one in a folder that could not be synced
    };

    /// Writes a map in cached form: root "Corvid", its child "CachedConfig", an element for each key. A key that is no
    /// XML name is written all the same and makes the file unreadable; one that is empty is left out. A character that
    /// XML cannot hold is written as U+FFFD, with a level 3 line that names the key. The parent folder is made if it
    /// is missing; where it or the configuration folder is a link of somebody else's (FileUtils::isStrangersLink())
    /// nothing is written, which is logged at level 2. The file is the old one or the new one, whole, at every instant.
    /// @return true if the writer could be opened. A write that fails later is logged at level 2 and leaves the old
    ///         file; or the new one, where only its folder could not be synced.
    static bool writeToFile(const std::string& path, const ConfigMap& values);

    /// The same, and tells more. Among those who write through this class, nobody gets between the two calls.
    /// @param isWanted looks whether the file is to be written. @param onNotReplaced looks at what is in place once a
    /// document that was whole could not be put there durably.
    static Outcome write(const std::string& path, const ConfigMap& values, const std::function<bool()>& isWanted,
                         const std::function<void()>& onNotReplaced);

    /// Writes a document's text, as libxml2 spells it, with the same promise.
    /// @return true if the text is a document and the file holds it.
    static bool writeToFile(const std::string& path, const std::string& text);

    /// Reads a file. A missing one is passed over in silence.
    /// @param values emptied first. @param sensitiveKeys only added to: receives the keys marked sensitive="true".
    /// @return true if a document with a root was read.
    static bool readFromFile(const std::string& path, ConfigMap& values, SensitiveKeySet& sensitiveKeys);

    /// What has become of a reading.
    enum class Reading {
        Done,        ///< the values are those of the document
        NoDocument,  ///< there is no file, or no document with a root in it
        Refused,     ///< there may be one, which the disk does not let be looked at or read
    };

    /// The same, and tells more.
    static Reading read(const std::string& path, ConfigMap& values, SensitiveKeySet& sensitiveKeys);

    /// The same for a text. An empty one is passed over in silence.
    static bool readFromMemory(const std::string& text, ConfigMap& values, SensitiveKeySet& sensitiveKeys);

    /// Adds a document's entries to what the map holds already. @return true if the document is there and has a root.
    static bool parseXmlConfig(const std::shared_ptr<xmlDoc>& document, ConfigMap& values,
                               SensitiveKeySet& sensitiveKeys);

    /// Adds the entries of one group.
    static void parseXmlGroup(const std::shared_ptr<xmlDoc>& document, xmlNode* group, ConfigMap& values,
                              SensitiveKeySet& sensitiveKeys);

    /// The key of an entry: its lower-cased local name.
    static std::wstring extractKey(const xmlNode* entry);

    /// True if the value of an entry is its serialised mark-up.
    static bool isMarkup(const xmlNode* entry);

    /// The value of an entry as a store holds it, the rule for FIPS mode applied. Wipes the tree's copy of a well-known
    /// secret, so an entry gives its value once. @param key as extractKey() gave it.
    static std::wstring extractValue(xmlNode* entry, const std::wstring& key);

    /// Reads which store must wait for which: every element "ConfigStore" of the file with both the attributes "name"
    /// and "chainedTo", names compared without regard to case.
    /// @param stores added to. @return always false: the caller looks at the map.
    static bool readChainedConfigFile(const std::string& path, ChainedStoreMap& stores);

    /// Adds the declarations of a node, its following siblings and everything below them. Null is no error.
    static void parseChainedConfigXml(xmlNode* node, ChainedStoreMap& stores);

    /// Adds the declaration of one element, if it is one.
    static void parseChainedAttribute(xmlNode* node, ChainedStoreMap& stores);

    /// The text of the last "version" child of the root of a version response; empty if there is none.
    static std::string parseUdsVersionFromXmlResponse(const std::string& body);

    /// The text and CDATA children of an element, joined and trimmed. The tree's copy of a well-known secret is wiped.
    static std::string extractStringFromXmlNode(xmlNode* node);

    /// An element with everything in it as mark-up, untrimmed.
    static std::string extractXmlStringFromXmlNode(const std::shared_ptr<xmlDoc>& document, xmlNode* node);

    /// True if the first attribute "sensitive", in any case, says so as QuillCoreUtils::toBool() understands it.
    static bool parseSensitiveAttribute(xmlNode* node);
};

/// Wipes the content of a node, and the buffer if one is given, if the name is that of a well-known secret. A null node
/// is no error. Content that the document shares with other nodes (libxml2 keeps texts of three characters and fewer
/// once for all) is left to the end of the document, since wiping it would change those nodes.
void memzeroSensitiveNodeValue(xmlNode* node, const std::wstring& elementName,
                               const std::shared_ptr<xmlBuffer>& buffer);
