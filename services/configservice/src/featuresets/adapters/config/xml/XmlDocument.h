#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <vector>

/// Releases a parsed document.
struct XmlDocFreer {
    void operator()(xmlDoc* document) const;
};

/// What libxml2 had to say about a document.
struct XmlProblem {
    bool isError;      ///< false: a warning
    int line;          ///< from 1; 0 if unknown
    int column;        ///< from 1; 0 if unknown
    std::string text;  ///< without a line feed at its end
};

/// Takes the entries of a document while it is being read: the elements that are children of the root's own children.
class XmlEntryReceiver {
public:
    virtual ~XmlEntryReceiver() = default;

    /// A reading begins. There may be a second one; what was taken before is void then.
    virtual void begin() = 0;

    /// The next entry in document order, with all that stands in it. It ends when this returns.
    virtual void take(xmlNode* entry) = 0;
};

/// Reads a file as a document, with no parser options: no external entity is loaded, no network is touched, entities
/// that grow out of proportion and elements nested deeper than 256 make the file unreadable.
///
/// With no options libxml2 also refuses an attribute of more than 10,000,000 bytes and cuts a document off after a text
/// of that length; this system's own stores may have written either. A document of more than that size that was refused
/// or cut off is therefore read a second time with that limit lifted. A document type declaration or deeper nesting
/// ends this second reading, so it gives an attacker no more room than the first.
///
/// Beyond libxml2's own limits a document is refused of which an element has more than 1,000 attributes or 256
/// namespaces in scope, that declares more than 1,000 attributes, of which many elements have hundreds of them, of
/// which the document type declaration is longer than 32,768 bytes, or that has more than 262,144 different names (of
/// elements, attributes and what it declares): libxml2 compares each with many or all others, which may take it hours.
/// So is one that refers to a parameter entity, of which a few lines may keep it busy for ever, and one whose entities
/// repeat references to some that are not declared more often than a document of that size has room for, of which
/// libxml2 would complain for hours. A compressed file is no document, and neither is a pipe, a socket or a device. Any
/// thread.
/// @return null if there is no well-formed document.
/// @param error receives what the disk said when the file could not be read to its end, an errno; 0 if it could, and is
///        just no well-formed document.
std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, int& error);
std::shared_ptr<xmlDoc> readXmlFile(const std::string& path);

/// The same for a file that a user has named, which may be a pipe, with libxml2's diagnostics in a list instead of on
/// the standard error stream.
/// @param problems receives what the deciding reading found, in order: the first 1,000, what comes later only if it is
///        the first for which there is no document, or one of the limits above, and at the end how many others there
///        are.
std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, std::vector<XmlProblem>& problems);

/// The same for a document of many entries, which never stands in memory as a whole.
/// @param entries receives them before it is known whether the document is well-formed.
/// @return the document without its entries and without the text between them.
std::shared_ptr<xmlDoc> readXmlFile(const std::string& path, XmlEntryReceiver& entries, int& error);

/// Reads a text as a document in the same way.
/// @param baseName the name under which the document knows itself.
/// @return null if there is no well-formed document, or if the text is longer than 2,147,483,647 bytes.
std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName);
std::shared_ptr<xmlDoc> readXmlMemory(const char* text, std::size_t length, const std::string& baseName,
                                      XmlEntryReceiver& entries);

/// The node that follows in document order within the tree of top and top's following siblings; null after the last.
/// Entity references are not entered: what stands below them is the declaration, whose neighbours are other
/// declarations, and a walk through these need not end.
xmlNode* nextXmlNode(const xmlNode* node, const xmlNode* top);

/// The text of an attribute. A reference to an entity of the document's own stands in it as it is written, "&name;": a
/// short document could make any length of text of it. Empty for an attribute without a text.
std::string xmlAttributeText(const xmlAttr* attribute);
