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
    bool isClientState = false;  ///< what a client keeps for itself, and no other client has a use for
};

/// A value that is left out of an export.
struct LeftOutValue {
    std::string key;
    std::string reason;          ///< the rest of a sentence that begins with "since"
    bool isClientState = false;  ///< it says nothing about the configuration; to leave it out is no failure
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
    std::vector<std::string> failed;  ///< a sentence for each store that failed to load and is missing therefore
};

}  // namespace corvidctl
