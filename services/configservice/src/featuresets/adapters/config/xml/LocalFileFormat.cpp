#include "xml/LocalFileFormat.h"

#include <string_view>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "xml/XmlDocument.h"

namespace {

std::string_view view(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

/// True for the name in any case; nearly always it is spelt as this system writes it.
bool isNamed(const xmlChar* name, std::string_view known) {
    return view(name) == known || QuillCoreUtils::caseInsensitiveStringEquals(view(name), known);
}

/// The text of an attribute; one that is all in one piece, as nearly every one is, is not copied first.
std::wstring wideTextOf(const xmlAttr* attribute) {
    const xmlNode* const child = attribute->children;
    const bool isOnePiece = child != nullptr && child->next == nullptr && child->type == XML_TEXT_NODE;
    return isOnePiece && child->content != nullptr ? QuillCoreUtils::toWideString(view(child->content))
                                                   : QuillCoreUtils::toWideString(xmlAttributeText(attribute));
}

}  // namespace

bool LocalFileFormat::isEntry(const xmlNode* node) {
    return node->type == XML_ELEMENT_NODE && isNamed(node->name, "userConfig");
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
        if (isNamed(attribute->name, "name")) {
            entry.name = wideTextOf(attribute);
            entry.key = QuillCoreUtils::toLowercase(entry.name);
            entry.key = movesVoicemailKey ? currentKey(entry.key) : entry.key;
        } else if (isNamed(attribute->name, "value")) {
            entry.value = wideTextOf(attribute);
        }
    }
    return entry.key.empty() ? std::nullopt : std::optional(std::move(entry));
}
