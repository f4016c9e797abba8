#pragma once

#include <string>
#include <vector>

namespace simulation {

/// A document that a simulated server delivers, and what a store that has taken it holds.
struct DownloadDocument {
    struct Entry {
        std::wstring key;
        std::wstring text;
        bool sensitive = false;  ///< marked so in the document
        bool secret = false;     ///< kept enciphered
    };

    std::string name;
    std::string text;
    bool readable = true;
    std::vector<Entry> entries;  ///< none of an unreadable document
};

/// The documents that steps choose from.
const std::vector<DownloadDocument>& downloadDocuments();

/// What a simulated server answers when it is asked for its version.
struct VersionAnswer {
    std::string body;     ///< empty: the request fails
    std::string version;  ///< the version text inside; empty if there is none
};

/// The answers that steps choose from; the first is a failure.
const std::vector<VersionAnswer>& versionAnswers();

}  // namespace simulation
