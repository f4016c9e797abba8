#include "xml/XmlDocument.h"

#include <libxml/parser.h>

#include <filesystem>
#include <limits>
#include <system_error>

#include "quill/XmlUtils.h"

namespace {

// libxml2's own limits when it is given no options.
constexpr std::uintmax_t longestText = 10'000'000;
constexpr int deepestElement = 256;

struct ParserFreer {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

using Parser = std::unique_ptr<xmlParserCtxt, ParserFreer>;

Parser makeParser(std::vector<XmlProblem>* problems) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    Parser parser(xmlNewParserCtxt());
    if (parser != nullptr) {
        parser->_private = problems;
    }
    return parser;
}

void collectProblem(void* context, xmlError* error) {
    auto* problems = static_cast<std::vector<XmlProblem>*>(static_cast<xmlParserCtxt*>(context)->_private);
    std::string text = error->message != nullptr ? error->message : "";
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    problems->push_back({error->level != XML_ERR_WARNING, error->line, error->int2, std::move(text)});
}

// A parser that is only stopped hands out what it has read so far.
void refuse(xmlParserCtxt* parser) {
    xmlStopParser(parser);
    parser->wellFormed = 0;
}

void refuseDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    refuse(static_cast<xmlParserCtxt*>(context));
}

void startElementUnlessTooDeep(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                               int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                               const xmlChar** attributes) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    if (parser->nodeNr >= deepestElement) {
        refuse(parser);
        return;
    }
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount, defaultedCount,
                          attributes);
}

std::shared_ptr<xmlDoc> readFirst(const std::string& path, std::vector<XmlProblem>* problems) {
    if (problems == nullptr) {
        QuillCoreUtils::XmlUtils::initialiseLibrary();
        return {xmlReadFile(path.c_str(), nullptr, 0), XmlDocFreer()};
    }
    const Parser parser = makeParser(problems);
    if (parser == nullptr) {
        return nullptr;
    }
    parser->sax->serror = collectProblem;
    return {xmlCtxtReadFile(parser.get(), path.c_str(), nullptr, 0), XmlDocFreer()};
}

bool mayHoldALongText(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return !error && size > longestText;
}

std::shared_ptr<xmlDoc> readWithLongTexts(const std::string& path) {
    const Parser parser = makeParser(nullptr);
    if (parser == nullptr) {
        return nullptr;
    }
    parser->sax->internalSubset = refuseDocumentType;
    parser->sax->startElementNs = startElementUnlessTooDeep;
    constexpr int options = XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    return {xmlCtxtReadFile(parser.get(), path.c_str(), nullptr, options), XmlDocFreer()};
}

std::shared_ptr<xmlDoc> readTwice(const std::string& path, std::vector<XmlProblem>* problems) {
    std::shared_ptr<xmlDoc> document = readFirst(path, problems);
    if (document == nullptr && mayHoldALongText(path)) {
        document = readWithLongTexts(path);
        if (document != nullptr && problems != nullptr) {
            problems->clear();
        }
    }
    return document;
}

}  // namespace

void XmlDocFreer::operator()(xmlDoc* document) const { xmlFreeDoc(document); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path) { return readTwice(path, nullptr); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, std::vector<XmlProblem>& problems) {
    return readTwice(path, &problems);
}

std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return nullptr;
    }
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    return {xmlReadMemory(text, static_cast<int>(length), baseName.c_str(), nullptr, 0), XmlDocFreer()};
}

xmlNode* nextXmlNode(const xmlNode* node, const xmlNode* top) {
    if (node->children != nullptr && node->type != XML_ENTITY_REF_NODE) {
        return node->children;
    }
    const xmlNode* const end = top->parent;
    while (node != nullptr && node != end) {
        if (node->next != nullptr) {
            return node->next;
        }
        node = node->parent;
    }
    return nullptr;
}

std::string xmlAttributeText(const xmlAttr* attribute) {
    if (attribute->children == nullptr) {
        return {};
    }
    const std::shared_ptr<xmlChar> text(xmlNodeListGetString(attribute->doc, attribute->children, 1),
                                        [](xmlChar* owned) { xmlFree(owned); });
    return text != nullptr ? reinterpret_cast<const char*>(text.get()) : std::string();
}
