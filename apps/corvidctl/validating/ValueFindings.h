#pragma once

#include <string>
#include <vector>

#include "validating/FilePlace.h"
#include "validating/Finding.h"
#include "validating/KnownKeys.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

/// What the module's rules make of the values of one file, the other stores left aside.
class ValueFindings {
public:
    /// @param entries must outlive this. @param place where the file stands.
    ValueFindings(const std::vector<DocumentReport::Entry>& entries, FilePlace place);

    /// Asks for the FIPS mode of the process.
    std::vector<Finding> find();

private:
    using Entry = DocumentReport::Entry;

    void noticeFipsRule(const Entry& entry);
    void noticeLinkPolicy(const Entry& entry);
    void noticeServerPolicy(const Entry& entry);
    void noticeErasedServers(const Entry& policy, const std::vector<std::wstring>& servers);
    void noticeStoreList(const Entry& entry);
    void noticeMeetingsType(const Entry& entry);

    void add(Severity severity, const char* kind, const Entry& entry, const std::string& text);

    const std::vector<Entry>& entries_;
    const FilePlace place_;
    const KnownKeys known_;
    std::vector<Finding> findings_;
};

}  // namespace corvidctl
