#pragma once

#include <map>
#include <set>
#include <string>

#include "chain/FoldedKey.h"
#include "quill/StringUtils.h"

/// Orders keys without regard to case.
struct caseInsensitiveMapComparator {
    bool operator()(const std::wstring& a, const std::wstring& b) const { return KeyUnits::compare(a, b) < 0; }
};

/// Orders narrow or wide texts without regard to case.
template <typename String>
struct caseInsensitiveStringComparator {
    bool operator()(const String& a, const String& b) const {
        return QuillCoreUtils::caseInsensitiveStringCompare(a, b) < 0;
    }
};

/// Keys and values. Keys that differ only in case are one key, which keeps the spelling of its first insertion.
using ConfigMap = std::map<std::wstring, std::wstring, caseInsensitiveMapComparator>;

/// Keys whose values must not be shown.
using SensitiveKeySet = std::set<std::wstring, caseInsensitiveStringComparator<std::wstring>>;

/// Store name to the names of the stores that it must wait for.
using ChainedStoreMap = std::map<std::string, std::set<std::string>, caseInsensitiveStringComparator<std::string>>;
