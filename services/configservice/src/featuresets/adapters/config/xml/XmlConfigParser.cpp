#include "xml/XmlConfigParser.h"

#include <libxml/parser.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "InputFile.h"
#include "chain/DisableP2PCallOnFips.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "quill/XmlUtils.h"
#include "tessel/SecureStringUtils.h"
#include "tessel/TesselLogger.h"
#include "xml/EntryList.h"
#include "xml/SiblingLock.h"
#include "xml/XmlCharacters.h"
#include "xml/XmlDocument.h"
#include "xml/XmlFileWriter.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("XmlConfigParser");
    return instance;
}

std::string_view view(const xmlChar* text) { return text != nullptr ? reinterpret_cast<const char*>(text) : ""; }

std::string narrow(const xmlChar* text) { return std::string(view(text)); }

std::string siblingOf(const std::string& path) { return path + XmlConfigParser::TEMPORARY_ENDING; }

/// Makes the folder of a file if it is missing. @return false, and logged, if it is not one to write to.
bool prepareParentDirectory(const std::string& path) {
    const std::string directory = QuillCoreUtils::FileUtils::getParentDirectory(path);
    if (QuillCoreUtils::FileUtils::isStrangersLink(directory) ||
        QuillCoreUtils::FileUtils::isStrangersLink(QuillCoreUtils::FileUtils::getConfigDirectory())) {
        TesselLog(logger(), 2, __FILE__, __LINE__, "writeToFile",
                  "data NOT written to file, since somebody else has put a link in the place of its folder or of the "
                  "configuration's: " +
                      path);
        return false;
    }
    if (!directory.empty() && !QuillCoreUtils::FileUtils::fileExists(directory)) {
        QuillCoreUtils::FileUtils::createDirectory(directory);
    }
    return true;
}

void writeEntry(XmlFileWriter& writer, const std::wstring& key, const std::wstring& value) {
    const XmlText name = toXmlText(key);
    const bool isWhole = writer.writeElement(name.text, value);
    if (name.replaced || !isWhole) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "writeToFile",
                  "characters that XML cannot hold were replaced in the entry: " + name.text);
    }
}

bool writeCachedForm(XmlFileWriter& writer, const ConfigMap& values) {
    writer.startElement("Corvid");
    writer.startElement("CachedConfig");
    for (const auto& [key, value] : values) {
        writeEntry(writer, key, value);
    }
    writer.endElement();
    writer.endElement();
    return writer.finish();
}

// The root's element child "version" that stands last.
std::string lastVersion(const xmlNode* root) {
    std::string version;
    for (xmlNode* child = root->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE && narrow(child->name) == "version") {
            version = XmlConfigParser::extractStringFromXmlNode(child);
        }
    }
    return version;
}

void logMissingRoot(const char* function) {
    TesselLog(logger(), 3, __FILE__, __LINE__, function, std::string("XML document root element not available."));
}

void logInvalidSyntax() {
    TesselLog(logger(), 2, __FILE__, __LINE__, "parseXmlConfig",
              std::string("\n************\nError Invalid XML syntax detected - Unable to read xml "
                          "configuration.\n************"));
}

bool isTextOrCdata(const xmlNode* node) { return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE; }

bool hasText(const xmlNode* node) { return isTextOrCdata(node) && node->content != nullptr; }

/// The text of an element that has one text or CDATA section and nothing else; null for any other element.
xmlNode* onlyText(const xmlNode* element) {
    xmlNode* const child = element->children;
    return child != nullptr && child->next == nullptr && hasText(child) ? child : nullptr;
}

std::size_t lengthOfText(const xmlNode* element) {
    std::size_t length = 0;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        length += hasText(child) ? static_cast<std::size_t>(xmlStrlen(child->content)) : 0;
    }
    return length;
}

bool isWellKnownSecret(const std::wstring& name) {
    const auto& keys = SensitiveKeySecuringUtility::WELL_KNOWN_SENSITIVE_KEYS;
    return std::any_of(keys.begin(), keys.end(), [&name](const std::wstring& key) {
        return QuillCoreUtils::caseInsensitiveStringEquals(key, name);
    });
}

bool isSharedContent(const xmlNode* node) {
    return node->doc != nullptr && node->doc->dict != nullptr && xmlDictOwns(node->doc->dict, node->content) == 1;
}

/// Not kept: whoever has a node keeps its document.
std::shared_ptr<xmlDoc> documentOf(const xmlNode& node) { return {std::shared_ptr<xmlDoc>(), node.doc}; }

void gather(xmlNode* entry, EntryList& entries) {
    std::wstring key = XmlConfigParser::extractKey(entry);
    const bool isSensitive = XmlConfigParser::parseSensitiveAttribute(entry);
    std::wstring value = XmlConfigParser::extractValue(entry, key);
    entries.add(std::move(key), std::move(value), isSensitive);
}

void gatherGroup(const xmlNode* group, EntryList& entries) {
    for (xmlNode* entry = group->children; entry != nullptr; entry = entry->next) {
        if (entry->type == XML_ELEMENT_NODE) {
            gather(entry, entries);
        }
    }
}

/// Gathers the entries of a document as it is read.
class Gathering : public XmlEntryReceiver {
public:
    void begin() override { entries.clear(); }
    void take(xmlNode* entry) override { gather(entry, entries); }

    EntryList entries;
};

}  // namespace

bool XmlConfigParser::writeToFile(const std::string& path, const ConfigMap& values) {
    const auto always = [] { return true; };
    return write(path, values, always, [] {}) != Outcome::NotOpened;
}

XmlConfigParser::Outcome XmlConfigParser::write(const std::string& path, const ConfigMap& values,
                                                const std::function<bool()>& isWanted,
                                                const std::function<void()>& onNotReplaced) {
    if (!prepareParentDirectory(path)) {
        return Outcome::NotOpened;
    }
    const SiblingLock lock(QuillCoreUtils::FileUtils::getParentDirectory(path));
    if (!isWanted()) {
        return Outcome::LeftAlone;
    }
    const std::string sibling = siblingOf(path);
    XmlFileWriter writer(sibling);
    if (!writer.isOpen()) {
        return Outcome::NotOpened;
    }
    const bool written = writeCachedForm(writer, values);
    if (written && QuillCoreUtils::FileUtils::replaceFileDurably(sibling, path)) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "writeToFile", "data written to file: " + path);
        return Outcome::Written;
    }
    if (written) {
        onNotReplaced();
    } else {
        QuillCoreUtils::FileUtils::removeFile(sibling);
    }
    TesselLog(logger(), 2, __FILE__, __LINE__, "writeToFile", "data NOT written to file: " + path);
    return Outcome::Failed;
}

bool XmlConfigParser::writeToFile(const std::string& path, const std::string& text) {
    // The terminating zero byte is handed over too: it is where libxml2 looks for the end of the document.
    const std::shared_ptr<xmlDoc> document = readXmlMemory(text.c_str(), text.length() + 1, path);
    if (!prepareParentDirectory(path)) {
        return false;
    }
    const SiblingLock lock(QuillCoreUtils::FileUtils::getParentDirectory(path));
    const std::string sibling = siblingOf(path);
    if (document == nullptr || !XmlFileWriter::saveDocument(sibling, *document)) {
        return false;
    }
    return QuillCoreUtils::FileUtils::replaceFileDurably(sibling, path);
}

bool XmlConfigParser::readFromFile(const std::string& path, ConfigMap& values, SensitiveKeySet& sensitiveKeys) {
    return read(path, values, sensitiveKeys) == Reading::Done;
}

XmlConfigParser::Reading XmlConfigParser::read(const std::string& path, ConfigMap& values,
                                               SensitiveKeySet& sensitiveKeys) {
    values.clear();
    if (!QuillCoreUtils::FileUtils::fileExists(path)) {
        return InputFile::mayBeThere(path) ? Reading::Refused : Reading::NoDocument;
    }
    Gathering gathering;
    int error = 0;
    if (readXmlFile(path, gathering, error) == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "readFromFile",
                  L"XML in file did not exist or is an invalid XML document: " + QuillCoreUtils::toWideString(path));
        const bool isRefused = error != 0 && InputFile::mayBeThere(path) && !InputFile::isKnownAsOther(path);
        return isRefused ? Reading::Refused : Reading::NoDocument;
    }
    gathering.entries.moveTo(values, sensitiveKeys);
    return Reading::Done;
}

bool XmlConfigParser::readFromMemory(const std::string& text, ConfigMap& values, SensitiveKeySet& sensitiveKeys) {
    values.clear();
    if (text.empty()) {
        return false;
    }
    Gathering gathering;
    if (readXmlMemory(text.data(), text.length(), "xmlDocument", gathering) == nullptr) {
        logInvalidSyntax();
        return false;
    }
    gathering.entries.moveTo(values, sensitiveKeys);
    return true;
}

bool XmlConfigParser::parseXmlConfig(const std::shared_ptr<xmlDoc>& document, ConfigMap& values,
                                     SensitiveKeySet& sensitiveKeys) {
    if (document == nullptr) {
        logInvalidSyntax();
        return false;
    }
    const xmlNode* const root = xmlDocGetRootElement(document.get());
    if (root == nullptr) {
        logMissingRoot("parseXmlConfig");
        return false;
    }
    EntryList entries;
    for (const xmlNode* group = root->children; group != nullptr; group = group->next) {
        if (group->type == XML_ELEMENT_NODE) {
            gatherGroup(group, entries);
        }
    }
    entries.moveTo(values, sensitiveKeys);
    return true;
}

void XmlConfigParser::parseXmlGroup(const std::shared_ptr<xmlDoc>& /*document*/, xmlNode* group, ConfigMap& values,
                                    SensitiveKeySet& sensitiveKeys) {
    EntryList entries;
    gatherGroup(group, entries);
    entries.moveTo(values, sensitiveKeys);
}

std::wstring XmlConfigParser::extractKey(const xmlNode* entry) {
    std::wstring key = QuillCoreUtils::toWideString(view(entry->name));
    QuillCoreUtils::lowercase(key);
    return key;
}

bool XmlConfigParser::isMarkup(const xmlNode* entry) {
    for (const xmlNode* child = entry->children; child != nullptr; child = child->next) {
        if (!isTextOrCdata(child)) {
            return true;
        }
    }
    return false;
}

std::wstring XmlConfigParser::extractValue(xmlNode* entry, const std::wstring& key) {
    std::wstring value;
    if (xmlNode* const text = onlyText(entry)) {
        // Straight from the tree: there is no copy to wipe.
        value = QuillCoreUtils::toWideString(QuillCoreUtils::trimmed(view(text->content)));
        memzeroSensitiveNodeValue(text, key, nullptr);
    } else {
        std::string copy =
            isMarkup(entry) ? extractXmlStringFromXmlNode(documentOf(*entry), entry) : extractStringFromXmlNode(entry);
        value = QuillCoreUtils::toWideString(copy);
        tessel::SecureStringUtils::TesselZeroString(copy);
    }
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key, value);
    return value;
}

bool XmlConfigParser::readChainedConfigFile(const std::string& path, ChainedStoreMap& stores) {
    if (!QuillCoreUtils::FileUtils::fileExists(path)) {
        return false;
    }
    const std::shared_ptr<xmlDoc> document = readXmlFile(path);
    if (document == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "readChainedConfigFile",
                  "XML in file did not exist or is an invalid XML document: " + path);
        return false;
    }
    parseChainedConfigXml(xmlDocGetRootElement(document.get()), stores);
    return false;
}

void XmlConfigParser::parseChainedConfigXml(xmlNode* node, ChainedStoreMap& stores) {
    for (xmlNode* current = node; current != nullptr; current = nextXmlNode(current, node)) {
        if (current->type == XML_ELEMENT_NODE) {
            parseChainedAttribute(current, stores);
        }
    }
}

void XmlConfigParser::parseChainedAttribute(xmlNode* node, ChainedStoreMap& stores) {
    if (!QuillCoreUtils::caseInsensitiveStringEquals(narrow(node->name), "ConfigStore")) {
        return;
    }
    std::string name;
    std::string chainedTo;
    for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        const std::string attributeName = narrow(attribute->name);
        if (QuillCoreUtils::caseInsensitiveStringEquals(attributeName, "name")) {
            name = xmlAttributeText(attribute);
        } else if (QuillCoreUtils::caseInsensitiveStringEquals(attributeName, "chainedTo")) {
            chainedTo = xmlAttributeText(attribute);
        }
    }
    if (!name.empty() && !chainedTo.empty()) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "parseChainedAttribute",
                  "ConfigStore: [" + name + "] depends on ConfigStore [" + chainedTo + "]");
        stores[name].insert(chainedTo);
    }
}

std::string XmlConfigParser::parseUdsVersionFromXmlResponse(const std::string& body) {
    if (body.empty()) {
        return {};
    }
    const std::shared_ptr<xmlDoc> document = readXmlMemory(body.data(), body.length(), "xmlDocument");
    if (document == nullptr) {
        return {};
    }
    const xmlNode* const root = xmlDocGetRootElement(document.get());
    if (root == nullptr) {
        logMissingRoot("parseUdsVersionFromXmlResponse");
        return {};
    }
    return lastVersion(root);
}

std::string XmlConfigParser::extractStringFromXmlNode(xmlNode* node) {
    std::string text;
    if (node->children != nullptr && node->children->content != nullptr) {
        // A text that grows would leave copies of a secret behind, and so would a temporary for each child.
        text.reserve(lengthOfText(node));
        const std::wstring name = QuillCoreUtils::toWideString(narrow(node->name));
        for (xmlNode* child = node->children; child != nullptr; child = child->next) {
            if (hasText(child)) {
                text.append(reinterpret_cast<const char*>(child->content));
                memzeroSensitiveNodeValue(child, name, nullptr);
            }
        }
    }
    std::string trimmed = QuillCoreUtils::trim(text);
    tessel::SecureStringUtils::TesselZeroString(text);
    return trimmed;
}

std::string XmlConfigParser::extractXmlStringFromXmlNode(const std::shared_ptr<xmlDoc>& document, xmlNode* node) {
    const std::shared_ptr<xmlBuffer> buffer(xmlBufferCreate(), QuillCoreUtils::XmlUtils::xmlBufferFreer);
    if (buffer == nullptr) {
        return {};
    }
    xmlNodeDump(buffer.get(), document.get(), node, 0, 0);
    std::string text = narrow(buffer->content);
    memzeroSensitiveNodeValue(node, QuillCoreUtils::toWideString(narrow(node->name)), buffer);
    return text;
}

bool XmlConfigParser::parseSensitiveAttribute(xmlNode* node) {
    for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        if (attribute->type == XML_ATTRIBUTE_NODE &&
            QuillCoreUtils::toLowercase(narrow(attribute->name)) == "sensitive") {
            // What a reference stands for, where a document declares it: a mark that is written so is meant all the
            // same.
            return attribute->children != nullptr &&
                   QuillCoreUtils::toBool(std::string(view(attribute->children->content)));
        }
    }
    return false;
}

void memzeroSensitiveNodeValue(xmlNode* node, const std::wstring& elementName,
                               const std::shared_ptr<xmlBuffer>& buffer) {
    if (node == nullptr || !isWellKnownSecret(elementName)) {
        return;
    }
    if (node->content != nullptr && !isSharedContent(node)) {
        tessel::SecureStringUtils::TesselZeroMemory(node->content, static_cast<std::size_t>(xmlStrlen(node->content)));
    }
    if (buffer != nullptr && buffer->content != nullptr) {
        tessel::SecureStringUtils::TesselZeroMemory(buffer->content, buffer->size);
    }
}
