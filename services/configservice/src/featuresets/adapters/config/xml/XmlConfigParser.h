#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>

#include "chain/ConfigMap.h"

/// Where configuration documents (XML 1.0) meet libxml2. Static functions without state; each call owns its document.
/// Failures are results and log lines; nothing throws on bad input. All narrow strings are UTF-8.
class XmlConfigParser {
public:
    /// Writes a map in cached form. The file is the old one or the new one, whole, at every instant.
    /// @return true if the writer could be opened.
    static bool writeToFile(const std::string& path, const ConfigMap& values);

    /// Writes a document's text. @return true unless the file could not be saved.
    static bool writeToFile(const std::string& path, const std::string& text);

    /// @param values emptied first. @param sensitiveKeys only added to. @return true if a document with a root was read.
    static bool readFromFile(const std::string& path, ConfigMap& values, SensitiveKeySet& sensitiveKeys);
    static bool readFromMemory(const std::string& text, ConfigMap& values, SensitiveKeySet& sensitiveKeys);

    static bool parseXmlConfig(const std::shared_ptr<xmlDoc>& document, ConfigMap& values,
                               SensitiveKeySet& sensitiveKeys);
    static void parseXmlGroup(const std::shared_ptr<xmlDoc>& document, xmlNode* group, ConfigMap& values,
                              SensitiveKeySet& sensitiveKeys);

    /// Reads which store must wait for which. Always false: the caller looks at the map.
    static bool readChainedConfigFile(const std::string& path, ChainedStoreMap& stores);
    static void parseChainedConfigXml(xmlNode* node, ChainedStoreMap& stores);
    static void parseChainedAttribute(xmlNode* node, ChainedStoreMap& stores);

    /// The text of the last "version" child of the root of a version response; empty if there is none.
    static std::string parseUdsVersionFromXmlResponse(const std::string& body);

    static std::string extractStringFromXmlNode(xmlNode* node);
    static std::string extractXmlStringFromXmlNode(const std::shared_ptr<xmlDoc>& document, xmlNode* node);
    static bool parseSensitiveAttribute(xmlNode* node);
};

/// Wipes the content of a node, and the buffer if one is given, if the name is that of a well-known secret. A null node
/// is no error.
void memzeroSensitiveNodeValue(xmlNode* node, const std::wstring& elementName,
                               const std::shared_ptr<xmlBuffer>& buffer);
