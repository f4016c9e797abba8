#include "xml/LocalFileFormat.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "xml/XmlDocument.h"

namespace {

std::string lowercaseName(const xmlChar* name) {
    return QuillCoreUtils::toLowercase(reinterpret_cast<const char*>(name));
}

}  // namespace

bool LocalFileFormat::isEntry(const xmlNode* node) {
    return node->type == XML_ELEMENT_NODE && lowercaseName(node->name) == "userconfig";
}

bool LocalFileFormat::movesVoicemailKey(const std::string& storeName) {
    return !QuillCoreUtils::caseInsensitiveStringEquals(storeName,
                                                        ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME);
}

const std::wstring& LocalFileFormat::currentKey(const std::wstring& key) {
    const bool isOldName =
        QuillCoreUtils::caseInsensitiveStringEquals(key, ConfigStoreConstants::VOICEMAIL_SERVER_1_KEY);
    static const std::wstring currentName = L"VoicemailPrimaryServer";
    return isOldName ? currentName : key;
}

std::optional<LocalFileEntry> LocalFileFormat::readEntry(const xmlNode* node, bool movesVoicemailKey) {
    LocalFileEntry entry;
    for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
        const std::string name = lowercaseName(attribute->name);
        if (name == "name") {
            entry.name = QuillCoreUtils::toWideString(xmlAttributeText(attribute));
            entry.key = QuillCoreUtils::toLowercase(entry.name);
            entry.key = movesVoicemailKey ? currentKey(entry.key) : entry.key;
        } else if (name == "value") {
            entry.value = QuillCoreUtils::toWideString(xmlAttributeText(attribute));
        }
    }
    return entry.key.empty() ? std::nullopt : std::optional(std::move(entry));
}
