#pragma once

#include <string>
#include <vector>

#include "validating/FilePlace.h"
#include "validating/Finding.h"
#include "validating/KnownKeys.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

/// What can be told of the keys of one file by what the module does with them, the other stores left aside.
class KeyFindings {
public:
    /// @param entries must outlive this. @param place where the file stands. @param reveal show what a key holds of a
    ///        secret.
    KeyFindings(const std::vector<DocumentReport::Entry>& entries, FilePlace place, bool reveal);

    /// In the order of the entries.
    std::vector<Finding> find();

private:
    using Entry = DocumentReport::Entry;

    void noticeUnknownKey(const Entry& entry);
    void noticeOldName(const Entry& entry);
    void noticeSensitivity(const Entry& entry);
    void noticePlace(const Entry& entry);

    /// The entry of a key under exactly this name; null if there is none.
    const Entry* entryOf(const std::wstring& key) const;
    void add(Severity severity, const char* kind, const Entry& entry, std::string text);

    const std::vector<Entry>& entries_;
    const FilePlace place_;
    const bool reveal_;
    const KnownKeys known_;
    std::vector<Finding> findings_;
};

}  // namespace corvidctl
