#include "xml/XmlDocument.h"

#include <fcntl.h>
#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "quill/XmlUtils.h"

namespace {

// libxml2's own limits when it is given no options.
constexpr std::uintmax_t longestText = 10'000'000;
constexpr int deepestElement = 256;

// Limits of our own: libxml2 compares each attribute of an element, those that a declaration adds included, with all
// others of it, each declaration with all others, and looks each prefix up among all namespaces in scope.
constexpr int mostAttributes = 1'000;
constexpr int mostNamespaces = 256;
constexpr std::uint64_t mostComparisons = 200'000'000;

struct ParserFreer {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};

using Parser = std::unique_ptr<xmlParserCtxt, ParserFreer>;

/// What is read from: gives the next bytes, at most as many as asked for; 0 at the end, negative for a failure.
using Source = std::function<int(char* bytes, int most)>;

/// One reading of a document; the parser's _private.
struct Reading {
    const Source& source;
    std::vector<XmlProblem>* problems;  ///< null: libxml2 tells of them in its own way
    xmlParserCtxt* parser = nullptr;
    bool tellsOfLimits = true;
    int attributeDeclarations = 0;
    std::uint64_t comparisons = 0;
};

Reading& readingOf(void* parser) { return *static_cast<Reading*>(static_cast<xmlParserCtxt*>(parser)->_private); }

void collectProblem(void* context, xmlError* error) {
    std::string text = error->message != nullptr ? error->message : "";
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    readingOf(context).problems->push_back(
        {error->level != XML_ERR_WARNING, error->line, error->int2, std::move(text)});
}

void tellOfLimit(Reading& reading, const char* limit) {
    if (reading.problems != nullptr) {
        reading.problems->push_back({true, xmlSAX2GetLineNumber(reading.parser), 0, limit});
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

/// What is wrong with the start tag that is being read; null if nothing is. The parser's list of attributes has five
/// places for each, is made twice as long as it must be, and never gets shorter; that of namespaces has two for each.
const char* excessOf(const xmlParserCtxt& parser) {
    constexpr int placesForMost = 2 * (5 * mostAttributes + 10);
    if (parser.maxatts > placesForMost) {
        return tooManyAttributes;
    }
    return parser.nsNr > 2 * mostNamespaces ? tooManyNamespaces : nullptr;
}

// Nobody is asked between two attributes of an element, but for the bytes that are yet to come. Here the parser must
// not be stopped: an end within a start tag makes the document ill-formed.
int giveBytes(void* context, char* bytes, int most) {
    auto& reading = *static_cast<Reading*>(context);
    const char* const excess = excessOf(*reading.parser);
    if (excess == nullptr) {
        return reading.source(bytes, most);
    }
    if (std::exchange(reading.tellsOfLimits, false)) {
        tellOfLimit(reading, excess);
    }
    return 0;
}

/// @param options of libxml2, or 0.
std::shared_ptr<xmlDoc> readOnce(const Source& source, const std::string& baseName, int options,
                                 std::vector<XmlProblem>* problems) {
    QuillCoreUtils::XmlUtils::initialiseLibrary();
    const Parser parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return nullptr;
    }
    Reading reading{source, problems, parser.get()};
    parser->_private = &reading;
    parser->sax->startElementNs = startElement;
    parser->sax->attributeDecl = declareAttribute;
    parser->sax->getParameterEntity = refuseParameterEntity;
    if (problems != nullptr) {
        parser->sax->serror = collectProblem;
    }
    if ((options & XML_PARSE_HUGE) != 0) {
        parser->sax->internalSubset = refuseDocumentType;
    }
    const std::shared_ptr<xmlDoc> document(
        xmlCtxtReadIO(parser.get(), giveBytes, nullptr, &reading, baseName.c_str(), nullptr, options), XmlDocFreer());
    // A text that is too long ends the parsing without making the document ill-formed: it comes back cut off.
    return parser->disableSAX == 0 ? document : nullptr;
}

/// Begins to read the document from its first byte.
using Opener = std::function<Source()>;

std::shared_ptr<xmlDoc> read(const Opener& open, const std::string& baseName, std::uintmax_t size,
                             std::vector<XmlProblem>* problems) {
    std::shared_ptr<xmlDoc> document = readOnce(open(), baseName, 0, problems);
    if (document == nullptr && size > longestText) {
        constexpr int longTexts = XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
        document = readOnce(open(), baseName, longTexts, nullptr);
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

/// A file that is read without a buffer of the C library's, which nobody would overwrite.
class UnbufferedFile {
public:
    explicit UnbufferedFile(const std::string& path)
        : descriptor_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {}

    ~UnbufferedFile() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    UnbufferedFile(const UnbufferedFile&) = delete;
    UnbufferedFile& operator=(const UnbufferedFile&) = delete;

    /// As a Source does.
    int read(char* bytes, int most) const {
        ssize_t count = -1;
        do {
            count = ::read(descriptor_, bytes, static_cast<std::size_t>(most));
        } while (count < 0 && errno == EINTR);
        return static_cast<int>(count);
    }

private:
    const int descriptor_;
};

/// The bytes of a file as they are: left to open a file by itself, libxml2 would unpack a compressed one, without a
/// limit to what comes out of it.
Source openFile(const std::string& path) {
    return [file = std::make_shared<const UnbufferedFile>(path)](char* bytes, int most) {
        return file->read(bytes, most);
    };
}

Source openText(std::string_view text) {
    return [text](char* bytes, int most) mutable {
        const std::size_t count = text.copy(bytes, static_cast<std::size_t>(most));
        text.remove_prefix(count);
        return static_cast<int>(count);
    };
}

std::shared_ptr<xmlDoc> readFile(const std::string& path, std::vector<XmlProblem>* problems) {
    if (isNeitherFileNorFolder(path)) {
        if (problems != nullptr) {
            problems->push_back({true, 0, 0, "expected a file"});
        }
        return nullptr;
    }
    return read([&path] { return openFile(path); }, path, sizeOf(path), problems);
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
    return read([=] { return openText({text, length}); }, baseName, length, nullptr);
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
