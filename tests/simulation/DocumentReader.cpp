#include "DocumentReader.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <functional>
#include <memory>

namespace simulation {

namespace {

constexpr int MANY_NAMESPACES = 200;

using Visitor = std::function<void(const xmlNode& element, int depth)>;

std::string textOf(const xmlChar* text) { return text == nullptr ? "" : reinterpret_cast<const char*>(text); }

bool isAscii(const std::string& text) {
    return std::none_of(text.begin(), text.end(),
                        [](char unit) { return (static_cast<unsigned char>(unit) & 0x80U) != 0; });
}

/// The XML library gives well-formed UTF-8.
std::wstring widened(const std::string& text) {
    std::wstring wide;
    for (const char unit : text) {
        const auto byte = static_cast<unsigned char>(unit);
        if (byte < 0x80) {
            wide += static_cast<wchar_t>(byte);
        } else if (byte >= 0xC0) {
            wide += static_cast<wchar_t>(byte & (byte >= 0xF0 ? 0x07U : byte >= 0xE0 ? 0x0FU : 0x1FU));
        } else {
            wide.back() = static_cast<wchar_t>(static_cast<unsigned>(wide.back()) << 6U | (byte & 0x3FU));
        }
    }
    return wide;
}

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
}

void walk(const xmlNode& element, int depth, const Visitor& visit) {
    visit(element, depth);
    for (const xmlNode* child = element.children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            walk(*child, depth + 1, visit);
        }
    }
}

/// At a document type, whose entities may keep the XML library busy for hours.
void giveUp(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    static_cast<DocumentReading*>(parser->_private)->isExact = false;
    xmlStopParser(parser);
}

/// @param take is given each element, with as many elements around it as the depth tells, and adds to the reading.
DocumentReading read(const std::string& text,
                     const std::function<void(const xmlNode& element, int depth, DocumentReading& reading)>& take) {
    DocumentReading reading;
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> parser(xmlNewParserCtxt(), &xmlFreeParserCtxt);
    parser->_private = &reading;
    parser->sax->internalSubset = giveUp;
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), "document", nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        &xmlFreeDoc);
    const xmlNode* const root = document == nullptr ? nullptr : xmlDocGetRootElement(document.get());
    if (root == nullptr || !reading.isExact) {
        return reading;
    }
    int namespaces = 0;
    walk(*root, 0, [&](const xmlNode& element, int depth) {
        for (const xmlNs* one = element.nsDef; one != nullptr; one = one->next) {
            ++namespaces;
        }
        take(element, depth, reading);
    });
    reading.isExact = reading.isExact && namespaces < MANY_NAMESPACES;
    return reading;
}

/// The first entry of a key is the one that counts.
void add(DocumentReading& reading, const std::string& name, const std::string& text) {
    reading.isExact = reading.isExact && isAscii(name);
    const std::wstring spelling = widened(name);
    reading.entries.try_emplace(folded(spelling), ModelEntry{spelling, widened(text)});
}

std::string valueOf(const xmlNode& entry) {
    std::string text;
    for (const xmlNode* child = entry.children; child != nullptr; child = child->next) {
        if (child->type != XML_TEXT_NODE && child->type != XML_CDATA_SECTION_NODE) {
            const std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> markup(xmlBufferCreate(), &xmlBufferFree);
            xmlNodeDump(markup.get(), entry.doc, const_cast<xmlNode*>(&entry), 0, 0);
            return textOf(xmlBufferContent(markup.get()));
        }
        text += textOf(child->content);
    }
    return trimmed(text);
}

}  // namespace

DocumentReading readServersForm(const std::string& text) {
    DocumentReading reading = read(text, [](const xmlNode& element, int depth, DocumentReading& taken) {
        if (depth == 2) {
            add(taken, folded(textOf(element.name)), valueOf(element));
        }
    });
    reading.entries.erase(L"certificatevalidationenabled");  // never a document's to say
    return reading;
}

DocumentReading readUsersForm(const std::string& text, bool movesVoicemailKey) {
    return read(text, [movesVoicemailKey](const xmlNode& element, int, DocumentReading& taken) {
        taken.isExact = taken.isExact && isAscii(textOf(element.name));
        if (folded(textOf(element.name)) != "userconfig") {
            return;
        }
        std::string key;
        std::string value;
        for (const xmlAttr* attribute = element.properties; attribute != nullptr; attribute = attribute->next) {
            const std::string name = folded(textOf(attribute->name));
            std::string content;
            for (const xmlNode* piece = attribute->children; piece != nullptr; piece = piece->next) {
                content += textOf(piece->content);
            }
            taken.isExact = taken.isExact && isAscii(name);
            key = name == "name" ? content : key;
            value = name == "value" ? content : value;
        }
        if (!key.empty()) {
            const std::string name = folded(key);
            const bool moves = movesVoicemailKey && name == "vvm_mailstore_server_0";
            add(taken, moves ? "VoicemailPrimaryServer" : name, value);
        }
    });
}

}  // namespace simulation
