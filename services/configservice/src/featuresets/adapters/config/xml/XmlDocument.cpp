#include "xml/XmlDocument.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/valid.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "InputFile.h"
#include "quill/XmlUtils.h"
#include "tessel/TesselLogger.h"

namespace {

// libxml2's own limits when it is given no options.
constexpr std::uintmax_t longestText = 10'000'000;
constexpr int deepestElement = 256;

constexpr int elementsAroundAnEntry = 2;

// Limits of our own: libxml2 compares each attribute of an element, those that a declaration adds included, with all
// others of it, each declaration with all others, and looks each prefix up among all namespaces in scope. Its table of
// names stops growing at some ten thousand, so that each further name is compared with more and more others.
constexpr int mostAttributes = 1'000;
constexpr int mostNamespaces = 256;
constexpr int mostNames = 262'144;
constexpr std::uint64_t mostComparisons = 200'000'000;

// It asks nobody between the values that an attribute may have, compares each with all before it, and calls itself for
// each to give them back; nor between the attributes that stand in an entity. Both have room only in as many bytes.
constexpr int longestDocumentType = 32'768;

constexpr std::size_t mostProblems = 1'000;

/// As many references as a document has room for, and a few more for those that it looks for twice.
constexpr std::uintmax_t shortestReference = 3;  // &a;
constexpr std::uintmax_t fewReferences = 1000;

struct ParserFreer {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

using Parser = std::unique_ptr<xmlParserCtxt, ParserFreer>;

/// What is read from: gives the next bytes, at most as many as asked for; 0 at the end, negative for a failure.
using Source = std::function<int(char* bytes, int most)>;

/// Who is told what a reading finds.
struct Receivers {
    std::vector<XmlProblem>* problems = nullptr;  ///< null: libxml2 tells of them in its own way
    XmlEntryReceiver* entries = nullptr;          ///< null: they stay in the document
};

/// One reading of a document; the parser's _private.
struct Reading {
    const Source& source;
    const std::string& name;  ///< of the document
    Receivers receivers;
    xmlParserCtxt* parser = nullptr;
    bool tellsOfLimits = true;
    int attributeDeclarations = 0;
    int bytesOfDocumentType = 0;
    std::uint64_t comparisons = 0;
    std::uintmax_t undeclaredReferences = 0;
    std::uintmax_t mostUndeclaredReferences = 0;
    bool hasFatalProblem = false;
    std::size_t otherProblems = 0;  ///< that are not kept
    int lineOfOthers = 0;           ///< of the first of them
};

Reading& readingOf(const void* parser) {
    return *static_cast<Reading*>(static_cast<const xmlParserCtxt*>(parser)->_private);
}

/// Keeps the first ones, and the first one for which there is no document, however late it comes.
void keepProblem(Reading& reading, bool isFatal, XmlProblem problem) {
    std::vector<XmlProblem>& problems = *reading.receivers.problems;
    const bool isFirstFatal = isFatal && !std::exchange(reading.hasFatalProblem, true);
    if (problems.size() < mostProblems || isFirstFatal) {
        problems.push_back(std::move(problem));
    } else if (reading.otherProblems++ == 0) {
        reading.lineOfOthers = problem.line;
    }
}

/// A few bytes make a problem, which takes hundreds of them.
void countOtherProblems(const Reading& reading) {
    if (reading.otherProblems > 0) {
        reading.receivers.problems->push_back(
            {true, reading.lineOfOthers, 0, "further problems from here on: " + std::to_string(reading.otherProblems)});
    }
}

void collectProblem(void* context, xmlError* error) {
    std::string text = error->message != nullptr ? error->message : "";
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    keepProblem(readingOf(context), error->level == XML_ERR_FATAL,
                {error->level != XML_ERR_WARNING, error->line, error->int2, std::move(text)});
}

/// @param limit null: it has been told.
void tellOfLimit(Reading& reading, const char* limit) {
    if (limit == nullptr) {
        return;
    }
    const int line = xmlSAX2GetLineNumber(reading.parser);
    if (reading.receivers.problems != nullptr) {
        reading.receivers.problems->push_back({true, line, 0, limit});
    } else {
        TesselLog(TesselLogger_getLogger("XmlDocument"), 3, __FILE__, __LINE__, "readXmlFile",
                  "XML document is refused: " + reading.name + ":" + std::to_string(line) + ": " + limit);
    }
}

// A parser that is only stopped hands out what it has read so far.
void refuse(void* context, const char* limit) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    tellOfLimit(readingOf(parser), limit);
    xmlStopParser(parser);
    parser->wellFormed = 0;
}

constexpr const char* tooManyAttributes = "an element has more than 1000 attributes";
constexpr const char* tooManyNamespaces = "more than 256 namespaces are declared for an element";

void refuseDocumentType(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    refuse(context, "a document of this size has a document type declaration");
}

void declareAttribute(void* context, const xmlChar* element, const xmlChar* name, int type, int defaulting,
                      const xmlChar* value, xmlEnumeration* choices) {
    // Takes the choices over.
    xmlSAX2AttributeDecl(context, element, name, type, defaulting, value, choices);
    if (++readingOf(context).attributeDeclarations > mostAttributes) {
        refuse(context, "more than 1000 attributes are declared");
    }
}

// libxml2 does not bound what they grow to, and some versions never return from a short document of them.
xmlEntity* refuseParameterEntity(void* context, const xmlChar*) {
    refuse(context, "a reference to a parameter entity");
    return nullptr;
}

// libxml2 bounds what entities grow to, and not how often they repeat a reference to one that is not declared: a few
// lines may have it complain for hours.
xmlEntity* findEntity(void* context, const xmlChar* name) {
    xmlEntity* const entity = xmlSAX2GetEntity(context, name);
    Reading& reading = readingOf(context);
    if (entity == nullptr && ++reading.undeclaredReferences > reading.mostUndeclaredReferences) {
        refuse(context, std::exchange(reading.tellsOfLimits, false)
                            ? "entities repeat references to one that is not declared"
                            : nullptr);
        // Around the contents of an entity, which have a parser of their own.
        reading.parser->wellFormed = 0;
    }
    return entity;
}

void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaceCount,
                  const xmlChar** namespaces, int attributeCount, int defaultedCount, const xmlChar** attributes) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    Reading& reading = readingOf(context);
    const auto count = static_cast<std::uint64_t>(attributeCount);
    reading.comparisons += count * count;
    if (attributeCount > mostAttributes) {
        refuse(parser, tooManyAttributes);
    } else if (reading.comparisons > mostComparisons) {
        refuse(parser, "too many elements have too many attributes");
    } else if (parser->nsNr > 2 * mostNamespaces) {
        refuse(parser, tooManyNamespaces);
    } else if ((parser->options & XML_PARSE_HUGE) != 0 && parser->nodeNr >= deepestElement) {
        refuse(parser, "elements are nested deeper than 256");
    } else {
        xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount, defaultedCount,
                              attributes);
    }
}

/// How many elements around the place where the document is read; the contents of entities have parsers of their own,
/// where nothing is an entry, and count as deep inside.
int depthOf(const xmlParserCtxt& parser) {
    return &parser == readingOf(&parser).parser ? parser.nodeNr : deepestElement;
}

/// Does early what libxml2 does at the end of a document: mark-up is written as befits the document's encoding.
void noteEncoding(const xmlParserCtxt& parser) {
    if (parser.myDoc->encoding == nullptr) {
        parser.myDoc->encoding = xmlStrdup(parser.inputTab[0]->encoding);
    }
}

/// Nobody looks identifiers up here, and to take an attribute out of their table libxml2 writes out its value, which
/// with an entity of many parts takes seconds for each.
void forgetIdentifiers(xmlDoc& document) {
    if (document.ids != nullptr) {
        xmlFreeIDTable(static_cast<xmlIDTable*>(document.ids));
        document.ids = nullptr;
    }
    if (document.refs != nullptr) {
        xmlFreeRefTable(static_cast<xmlRefTable*>(document.refs));
        document.refs = nullptr;
    }
}

void handEntryOver(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    auto* parser = static_cast<xmlParserCtxt*>(context);
    xmlNode* const element = parser->node;
    xmlSAX2EndElementNs(context, name, prefix, uri);
    if (depthOf(*parser) == elementsAroundAnEntry) {
        noteEncoding(*parser);
        readingOf(context).receivers.entries->take(element);
        forgetIdentifiers(*parser->myDoc);
        xmlUnlinkNode(element);
        xmlFreeNode(element);
    }
}

bool isInEntry(const void* context) {
    return depthOf(*static_cast<const xmlParserCtxt*>(context)) > elementsAroundAnEntry;
}

// Text between entries must go too, not only for its size: two texts between which an entry has been taken out would
// stand side by side, and libxml2 would append the second one to the first without making room.

void keepTextOfEntries(void* context, const xmlChar* text, int length) {
    if (isInEntry(context)) {
        xmlSAX2Characters(context, text, length);
    }
}

void keepCdataOfEntries(void* context, const xmlChar* text, int length) {
    if (isInEntry(context)) {
        xmlSAX2CDataBlock(context, text, length);
    }
}

void handEntriesOver(xmlParserCtxt& parser, XmlEntryReceiver& receiver) {
    receiver.begin();
    parser.sax->endElementNs = handEntryOver;
    // The same for both, or libxml2 would tell the one from the other by guessing.
    parser.sax->characters = keepTextOfEntries;
    parser.sax->ignorableWhitespace = keepTextOfEntries;
    parser.sax->cdataBlock = keepCdataOfEntries;
}

/// What is wrong with the start tag or the document type that is being read, or with the names until there; null if
/// nothing is. The parser's
/// list of attributes has five places for each, is made twice as long as it must be, and never gets shorter; that of
/// namespaces has two for each.
const char* excessOf(const xmlParserCtxt& parser) {
    if (xmlDictSize(parser.dict) > mostNames) {
        return "more than 262144 different names";
    }
    constexpr int placesForMost = 2 * (5 * mostAttributes + 10);
    if (parser.maxatts > placesForMost) {
        return tooManyAttributes;
    }
    if (parser.nsNr > 2 * mostNamespaces) {
        return tooManyNamespaces;
    }
    return readingOf(&parser).bytesOfDocumentType > longestDocumentType
               ? "the document type declaration is longer than 32768 bytes"
               : nullptr;
}

// Nobody is asked between two attributes of an element, but for the bytes that are yet to come. Here the parser must
// not be stopped: an end within a start tag, or within a document type, makes the document ill-formed.
int giveBytes(void* context, char* bytes, int most) {
    auto& reading = *static_cast<Reading*>(context);
    const char* const excess = excessOf(*reading.parser);
    if (excess == nullptr) {
        const int count = reading.source(bytes, most);
        constexpr int inTheDocumentType = 1;
        reading.bytesOfDocumentType += reading.parser->inSubset == inTheDocumentType ? count : 0;
        return count;
    }
    if (std::exchange(reading.tellsOfLimits, false)) {
        tellOfLimit(reading, excess);
    }
    return 0;
}

/// @param size of the document in bytes. @param options of libxml2, or 0.
std::shared_ptr<xmlDoc> readOnce(const Source& source, const std::string& baseName, std::uintmax_t size, int options,
                                 Receivers receivers) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    const Parser parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return nullptr;
    }
    Reading reading{source, baseName, receivers, parser.get()};
    reading.mostUndeclaredReferences = fewReferences + size / shortestReference;
    parser->_private = &reading;
    parser->sax->startElementNs = startElement;
    parser->sax->attributeDecl = declareAttribute;
    parser->sax->getParameterEntity = refuseParameterEntity;
    parser->sax->getEntity = findEntity;
    if (receivers.problems != nullptr) {
        parser->sax->serror = collectProblem;
    }
    if (receivers.entries != nullptr) {
        handEntriesOver(*parser, *receivers.entries);
    }
    if ((options & XML_PARSE_HUGE) != 0) {
        parser->sax->internalSubset = refuseDocumentType;
    }
    const std::shared_ptr<xmlDoc> document(
        xmlCtxtReadIO(parser.get(), giveBytes, nullptr, &reading, baseName.c_str(), nullptr, options), XmlDocFreer());
    countOtherProblems(reading);
    // A text that is too long ends the parsing without making the document ill-formed: it comes back cut off.
    return parser->disableSAX == 0 ? document : nullptr;
}

/// Begins to read the document from its first byte.
using Opener = std::function<Source()>;

std::shared_ptr<xmlDoc> read(const Opener& open, const std::string& baseName, std::uintmax_t size,
                             Receivers receivers) {
    const QuillCoreUtils::XmlReading reading(baseName);
    // Of no effect but that short texts lie in their nodes, where a secret among them can be wiped.
    constexpr int shortTextsInNodes = XML_PARSE_COMPACT;
    std::shared_ptr<xmlDoc> document = readOnce(open(), baseName, size, shortTextsInNodes, receivers);
    if (document == nullptr && size > longestText) {
        constexpr int longTexts = XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
        document = readOnce(open(), baseName, size, shortTextsInNodes | longTexts, {nullptr, receivers.entries});
        if (document != nullptr && receivers.problems != nullptr) {
            receivers.problems->clear();
        }
    }
    return document;
}

/// @param failure receives an errno, if the disk gives one.
std::uintmax_t sizeOf(const std::string& path, int& failure) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error) {
        failure = error.value();
        return 0;
    }
    return size;
}

/// The bytes of a file as they are: left to open a file by itself, libxml2 would unpack a compressed one, without a
/// limit to what comes out of it. @param failure as of sizeOf(); outlives the source.
Source openFile(const std::string& path, InputFile::Pipes pipes, int& failure) {
    return [file = std::make_shared<InputFile>(path, pipes), &failure](char* bytes, int most) {
        const int count = file->read(bytes, most);
        if (count < 0) {
            failure = file->error();
        }
        return count;
    };
}

Source openText(std::string_view text) {
    return [text](char* bytes, int most) mutable {
        const std::size_t count = text.copy(bytes, static_cast<std::size_t>(most));
        text.remove_prefix(count);
        return static_cast<int>(count);
    };
}

std::shared_ptr<xmlDoc> readFile(const std::string& path, Receivers receivers, int& failure,
                                 InputFile::Pipes pipes = InputFile::Pipes::Refuse) {
    failure = 0;
    const std::uintmax_t size = sizeOf(path, failure);
    return read([&] { return openFile(path, pipes, failure); }, path, size, receivers);
}

std::shared_ptr<xmlDoc> readMemory(std::string_view text, const std::string& baseName, Receivers receivers) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return nullptr;
    }
    return read([text] { return openText(text); }, baseName, text.size(), receivers);
}

}  // namespace

void XmlDocFreer::operator()(xmlDoc* document) const { xmlFreeDoc(document); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, int& error) { return readFile(path, {}, error); }

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path) {
    int ignored = 0;
    return readXmlFile(path, ignored);
}

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, std::vector<XmlProblem>& problems) {
    int ignored = 0;
    return readFile(path, {&problems, nullptr}, ignored, InputFile::Pipes::Read);
}

std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, XmlEntryReceiver& entries, int& error) {
    return readFile(path, {nullptr, &entries}, error);
}

std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName) {
    return readMemory({text, length}, baseName, {});
}

std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName,
                                      XmlEntryReceiver& entries) {
    return readMemory({text, length}, baseName, {nullptr, &entries});
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
    std::string text;
    for (const xmlNode* child = attribute->children; child != nullptr; child = child->next) {
        if (child->type == XML_ENTITY_REF_NODE) {
            text.append("&").append(reinterpret_cast<const char*>(child->name)).append(";");
        } else if (child->content != nullptr) {
            text.append(reinterpret_cast<const char*>(child->content));
        }
    }
    return text;
}
