#include "exporting/ExportForm.h"

#include <libxml/tree.h>

#include <nlohmann/json.hpp>

#include "ConfigStoreConstants.h"
#include "output/MachineText.h"
#include "quill/StringUtils.h"
#include "xml/XmlCharacters.h"

namespace corvidctl {

namespace {

bool hasBlanksAround(const std::string& text) { return QuillCoreUtils::trim(text) != text; }

bool isXmlName(const std::string& key) {
    return xmlValidateNCName(reinterpret_cast<const xmlChar*>(key.c_str()), 0) == 0;
}

bool isHiddenInDocuments(const std::string& key) {
    return QuillCoreUtils::caseInsensitiveStringEquals(QuillCoreUtils::toWideString(key),
                                                       ConfigStoreConstants::certificateValidationEnabled);
}

/// Text for the content of an element. A carriage return would be read as a line feed.
std::string asXml(const std::string& text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r':
            result += "&#13;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

}  // namespace

std::string ServerForm::obstacleTo(const ExportedValue& value) const {
    if (!isXmlName(value.key)) {
        return "its key is no XML name";
    }
    if (isHiddenInDocuments(value.key)) {
        return "no configuration document can set it";
    }
    if (hasBlanksAround(value.value)) {
        return "white space around a value is not read";
    }
    return toXmlText(QuillCoreUtils::toWideString(value.value)).replaced ? "it has a character that XML cannot hold"
                                                                         : "";
}

std::string ServerForm::write(const std::vector<ExportedValue>& values) const {
    std::string document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<config version=\"1.0\">\n  <Exported>\n";
    for (const ExportedValue& value : values) {
        document += "    <" + value.key + (value.isSensitive ? " sensitive=\"true\">" : ">") + asXml(value.value) +
                    "</" + value.key + ">\n";
    }
    return document + "  </Exported>\n</config>\n";
}

std::string JsonForm::obstacleTo(const ExportedValue&) const { return {}; }

std::string JsonForm::write(const std::vector<ExportedValue>& values) const {
    Json object = Json::object();
    for (const ExportedValue& value : values) {
        object[value.key] = value.value;
    }
    return printed(object, Format::Json);
}

std::string PropertiesForm::obstacleTo(const ExportedValue& value) const {
    if (value.key.find(':') != std::string::npos) {
        return "its key has a colon, which would end it";
    }
    if (value.key.starts_with('#')) {
        return "its key begins with a number sign, which would make the line a comment";
    }
    if ((value.key + value.value).find('\n') != std::string::npos) {
        return "it has a line feed, which would end the line";
    }
    return hasBlanksAround(value.key) || hasBlanksAround(value.value)
               ? "white space around a key or a value is not read"
               : "";
}

std::string PropertiesForm::write(const std::vector<ExportedValue>& values) const {
    std::string document = "# One key:value a line; everything after the first colon is the value.\n";
    for (const ExportedValue& value : values) {
        document += value.key + ":" + (value.value.empty() ? "" : " ") + value.value + "\n";
    }
    return document;
}

std::unique_ptr<ExportForm> exportForm(const std::string& format) {
    if (format == "server") {
        return std::make_unique<ServerForm>();
    }
    if (format == "json") {
        return std::make_unique<JsonForm>();
    }
    return format == "properties" ? std::make_unique<PropertiesForm>() : nullptr;
}

}  // namespace corvidctl
