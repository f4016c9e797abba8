#pragma once

#include <optional>
#include <string>
#include <vector>

/// What this system would make of a document, and what its author should know.
struct DocumentReport {
    enum class Form {
        Server,  ///< groups of entries, as the server sends and the cache keeps them
        Local,   ///< "userConfig" elements with names and values
    };

    struct Entry {
        std::wstring key;  ///< as a store lists it: in lower case, and under its current name where the store moves it
        std::wstring value;  ///< as a store holds it; not masked
        int line = 0;        ///< from 1; lines beyond 65535 may be told as 65535
        bool sensitive = false;
        bool isMarkup = false;  ///< the value is the entry's own mark-up
        std::wstring name;      ///< the key as the document spells it
    };

    enum class Kind {
        Unreadable,      ///< there is no file, or none that can be read
        Syntax,          ///< what the XML parser has to say
        WrongForm,       ///< the document has the other form than its place asks for
        DuplicateKey,    ///< an earlier entry has the key
        LostEntry,       ///< what looks like an entry and gives no key
        IgnoredText,     ///< text where none is read
        IgnoredElement,  ///< an element that is no entry and holds none
        MarkupValue,     ///< the value is the entry's own mark-up
        NeverAnswered,   ///< a key that the stores of such a document hide
    };

    struct Finding {
        Kind kind = Kind::Syntax;
        int line = 0;    ///< from 1; 0 if unknown
        int column = 0;  ///< from 1; 0 if unknown
        std::string text;
        /// Of the entry that this is about, as in Entry; of an element that would be one, its name; empty if it is
        /// about none.
        std::wstring key;
    };

    bool valid = false;  ///< true if the file can be read as a document, and has the form that its place asks for
    Form form = Form::Server;
    bool formIsGuessed = false;  ///< the form was recognised by what stands in the document
    std::vector<Entry> entries;  ///< one for each key, in document order
    /// Of a kind at most the first 1,000, and one more, about no key, that says how many others there are. What makes a
    /// document unreadable is among the errors whatever their number.
    std::vector<Finding> warnings;
    std::vector<Finding> errors;
};

/// The form in which this system reads a file of this name, whatever stands in it; nothing for other names. Case does
/// not count.
/// @param fileName UTF-8, without a folder.
std::optional<DocumentReport::Form> formOfFile(const std::string& fileName);

/// Reads a file as the stores would. The file is neither moved nor changed. Any thread.
/// @param path UTF-8. A file of the name "corvid-config-defaults.xml" is read as the installation's defaults are.
/// @param form the form to read it in; nothing: that of its name (formOfFile()), else what stands in it decides: any
///        "userConfig" element makes it a local file. A document that gives no key in this form, but would in the
///        other, is not valid.
DocumentReport inspectDocument(const std::string& path, std::optional<DocumentReport::Form> form = std::nullopt);
