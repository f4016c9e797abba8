#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corvidctl {

/// A value that is to be written down. UTF-8.
struct ExportedValue {
    std::string key;
    std::string value;
    bool isSensitive = false;
};

/// A value that a form cannot hold.
struct LeftOutValue {
    std::string key;
    std::string reason;  ///< the rest of a sentence that begins with "since"
};

/// What an export gave.
struct ExportView {
    std::optional<std::string> store;  ///< nothing: the effective configuration
    std::string format;
    std::optional<std::string> file;  ///< nothing: the document is the answer
    std::string document;
    std::size_t keys = 0;             ///< in the document
    std::vector<std::string> hidden;  ///< keys that are left out since they are sensitive
    std::vector<LeftOutValue> leftOut;
};

}  // namespace corvidctl
