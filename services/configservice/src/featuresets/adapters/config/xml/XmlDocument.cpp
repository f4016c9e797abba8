#include "xml/XmlDocument.h"

#include <libxml/parser.h>

#include <cstdint>
#include <filesystem>
#include <functional>
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

/// Feeds a parser with the document, under the given options.
using Feed = std::function<xmlDoc*(xmlParserCtxt&, int options)>;

std::shared_ptr<xmlDoc> finish(xmlParserCtxt& parser, xmlDoc* read) {
    const std::shared_ptr<xmlDoc> document(read, XmlDocFreer());
    // A text that is too long ends the parsing without making the document ill-formed: it comes back cut off.
    return parser.disableSAX == 0 ? document : nullptr;
}

std::shared_ptr<xmlDoc> readWithoutOptions(const Feed& feed, std::vector<XmlProblem>* problems) {
    const Parser parser = makeParser(problems);
    if (parser == nullptr) {
        return nullptr;
    }
    if (problems != nullptr) {
        parser->sax->serror = collectProblem;
    }
    return finish(*parser, feed(*parser, 0));
}

std::shared_ptr<xmlDoc> readWithLongTexts(const Feed& feed) {
    const Parser parser = makeParser(nullptr);
    if (parser == nullptr) {
        return nullptr;
    }
    parser->sax->internalSubset = refuseDocumentType;
    parser->sax->startElementNs = startElementUnlessTooDeep;
    return finish(*parser, feed(*parser, XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
}

std::shared_ptr<xmlDoc> read(const Feed& feed, std::uintmax_t size, std::vector<XmlProblem>* problems) {
    std::shared_ptr<xmlDoc> document = readWithoutOptions(feed, problems);
    if (document == nullptr && size > longestText) {
        document = readWithLongTexts(feed);
        if (document != nullptr && problems != nullptr) {
            problems->clear();
        }
    }
    return document;
}

std::uintmax_t sizeOf(const std::string& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

/// A pipe, a socket or a device: reading it might never end.
bool isNeitherFileNorFolder(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_other(path, error);
}

std::shared_ptr<xmlDoc> readFile(const std::string& path, std::vector<XmlProblem>* problems) {
    if (isNeitherFileNorFolder(path)) {
        if (problems != nullptr) {
            problems->push_back({true, 0, 0, "expected a file"});
        }
        return nullptr;
    }
    const Feed feed = [&path](xmlParserCtxt& parser, int options) {
        return xmlCtxtReadFile(&parser, path.c_str(), nullptr, options);
    };
    return read(feed, sizeOf(path), problems);
}

}  // namespace

void XmlDocFreer::operator()(xmlDoc* document) const { xmlFreeDoc(document); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path) { return readFile(path, nullptr); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, std::vector<XmlProblem>& problems) {
    return readFile(path, &problems);
}

std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return nullptr;
    }
    const Feed feed = [&](xmlParserCtxt& parser, int options) {
        return xmlCtxtReadMemory(&parser, text, static_cast<int>(length), baseName.c_str(), nullptr, options);
    };
    return read(feed, length, nullptr);
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
