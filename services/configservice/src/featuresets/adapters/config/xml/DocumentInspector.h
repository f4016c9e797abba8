#pragma once

#include <string>
#include <vector>

/// What this system would make of a document, and what its author should know.
struct DocumentReport {
    enum class Form {
        Server,  ///< groups of entries, as the server sends and the cache keeps them
        Local,   ///< "userConfig" elements with names and values
    };

    struct Entry {
        std::wstring key;    ///< as a store lists it, in lower case
        std::wstring value;  ///< as a store holds it; not masked
        int line = 0;        ///< from 1; lines beyond 65535 may be told as 65535
        bool sensitive = false;
        bool isMarkup = false;  ///< the value is the entry's own mark-up
    };

    struct Finding {
        int line = 0;    ///< from 1; 0 if unknown
        int column = 0;  ///< from 1; 0 if unknown
        std::string text;
    };

    bool valid = false;  ///< true if the file can be read as a document
    Form form = Form::Server;
    std::vector<Entry> entries;  ///< one for each key, in document order
    std::vector<Finding> warnings;
    std::vector<Finding> errors;
};

/// Reads a file as the stores would, recognising its form by what stands in it: any "userConfig" element makes it a
/// local file. The file is neither moved nor changed. Any thread.
/// @param path UTF-8. A file of the name "corvid-config-defaults.xml" is read as the installation's defaults are.
DocumentReport inspectDocument(const std::string& path);
