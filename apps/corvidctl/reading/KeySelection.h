#pragma once

#include <string>
#include <vector>

#include "reading/ChainReader.h"

namespace corvidctl {

/// The keys that a command's GLOB arguments choose.
class KeySelection {
public:
    /// @param globs UTF-8; none chooses every key. One without "*" and "?" is a key, and may be an old name.
    KeySelection(const std::vector<std::string>& globs, const KeyNames& names);
    KeySelection(const std::vector<std::string>& globs, const ChainReader& reader)
        : KeySelection(globs, reader.names()) {}

    /// @param key under its current name.
    bool contains(const std::wstring& key) const;

private:
    std::vector<std::wstring> patterns_;
};

}  // namespace corvidctl
