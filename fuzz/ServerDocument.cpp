// Any bytes as a server's file: keys come out folded, once each and never empty, a second reading of the same bytes
// comes to the same values and marks, and what the tool tells of them is whether, and as what, they can be read.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Oracle.h"
#include "chain/ConfigMap.h"
#include "quill/StringUtils.h"
#include "xml/DocumentInspector.h"
#include "xml/XmlConfigParser.h"

namespace {

/// The tool reads a file, and as a whole, the module a text, entry by entry.
void inspect(const std::uint8_t* data, std::size_t size, bool isRead, const ConfigMap& values,
             const SensitiveKeySet& marks) {
    static const fuzz::Folder folder;
    const DocumentReport report = inspectDocument(folder.write("server.xml", data, size), DocumentReport::Form::Server);
    bool isWellFormed = true;
    for (const DocumentReport::Finding& error : report.errors) {
        isWellFormed = isWellFormed && error.kind == DocumentReport::Kind::WrongForm;
    }
    fuzz::demand(isWellFormed == isRead, "the tool tells otherwise whether the document can be read");
    fuzz::demand(report.valid || !report.errors.empty(), "a document that is refused without a reason");
    fuzz::demand(report.entries.size() == values.size(), "the tool tells of another number of keys");
    for (const DocumentReport::Entry& entry : report.entries) {
        const auto found = values.find(entry.key);
        fuzz::demand(found != values.end() && found->second == entry.value, "the tool tells of another value");
        fuzz::demand(entry.sensitive == (marks.count(entry.key) > 0), "the tool tells of other marks");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::keepXmlQuiet();
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    const std::string document(reinterpret_cast<const char*>(data), size);
    const bool isRead = XmlConfigParser::readFromMemory(document, values, sensitiveKeys);
    inspect(data, size, isRead, values, sensitiveKeys);
    if (!isRead) {
        fuzz::demand(values.empty(), "values of a document that was refused");
        return 0;
    }
    for (const auto& [key, value] : values) {
        fuzz::demand(!key.empty(), "an empty key");
        fuzz::demand(QuillCoreUtils::toLowercase(key) == key, "a key that is not folded");
    }
    ConfigMap again;
    SensitiveKeySet marksAgain;
    fuzz::demand(XmlConfigParser::readFromMemory(document, again, marksAgain) && again == values,
                 "other values at the second reading");
    fuzz::demand(marksAgain == sensitiveKeys, "other marks at the second reading");
    return 0;
}
