#include "validating/PropertiesInspector.h"

#include <map>
#include <utility>

#include "chain/ConfigMap.h"
#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;
using QuillCoreUtils::trim;
using QuillCoreUtils::trimleft;

constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

std::vector<std::string> linesOf(const std::string& contents) {
    std::vector<std::string> lines;
    QuillCoreUtils::split(contents, lines, "\n");
    return lines;
}

bool isComment(const std::string& line) { return trimleft(line).starts_with('#'); }

bool isMarkup(const std::string& contents) {
    const std::string start = trimleft(contents.starts_with(BYTE_ORDER_MARK) ? contents.substr(3) : contents);
    return start.starts_with('<');
}

/// Goes through the lines and fills a report.
class PropertiesInspection {
public:
    PropertiesReport run(const std::string& contents) {
        if (isMarkup(contents)) {
            report_.findings.push_back({Severity::Warning, FindingKind::WrongForm, 1, 0, "",
                                        "it looks like mark-up; a file of this name is read line by line all the same, "
                                        "as key:value"});
        }
        for (const std::string& line : linesOf(contents)) {
            ++line_;
            if (!line.empty()) {
                inspectLine(line);
            }
        }
        return std::move(report_);
    }

private:
    void inspectLine(const std::string& line) {
        if (line_ == 1 && line.starts_with(BYTE_ORDER_MARK)) {
            add(Severity::Warning, FindingKind::ByteOrderMark,
                "byte order mark is read as the start of the first key, save the file without it");
        }
        if (isComment(line)) {
            return;
        }
        const std::wstring wide = toWideString(line);
        if (toString(wide) != line) {
            add(Severity::Warning, FindingKind::IllFormedText, "bytes that are no UTF-8 are read as U+FFFD");
        }
        const std::size_t colon = line.find(':');
        const std::string key = shownKey(toWideString(trim(line.substr(0, colon))));
        const std::string value = colon == std::string::npos ? std::string() : trim(line.substr(colon + 1));
        if (key.empty()) {
            noticeNamelessLine(colon);
            return;
        }
        if (colon == std::string::npos) {
            noticeMissingColon(line, key);
        }
        enter(toWideString(key), toWideString(value));
    }

    void noticeNamelessLine(std::size_t colon) {
        if (colon != std::string::npos) {
            add(Severity::Warning, FindingKind::LostEntry, "entry without a name is never asked for");
        } else if (!std::exchange(hasToldBlankLine_, true)) {
            add(Severity::Info, FindingKind::BlankLine,
                "line of nothing but white space is read as a key without a name, which does no harm");
        }
    }

    void noticeMissingColon(const std::string& line, const std::string& key) {
        const bool hasOther = line.find('=') != std::string::npos;
        add(Severity::Warning, FindingKind::NoSeparator,
            std::string("line has no colon, so all of it is a key with an empty value") +
                (hasOther ? "; a colon parts key and value, not an equals sign" : ""),
            key);
    }

    void enter(const std::wstring& key, const std::wstring& value) {
        const auto [known, added] = places_.emplace(key, report_.entries.size());
        if (added) {
            report_.entries.push_back({key, value, line_, false, false, key});
            return;
        }
        DocumentReport::Entry& entry = report_.entries[known->second];
        report_.findings.push_back(
            {Severity::Warning, FindingKind::DuplicateKey, entry.line, 0, toString(entry.key),
             "duplicate key is ignored, line " + std::to_string(line_) + " counts: " + toString(entry.key)});
        entry.line = line_;
        entry.value = value;
    }

    void add(Severity severity, const char* kind, std::string text, const std::string& key = {}) {
        report_.findings.push_back({severity, kind, line_, 0, key, std::move(text)});
    }

    PropertiesReport report_;
    int line_ = 0;
    bool hasToldBlankLine_ = false;
    std::map<std::wstring, std::size_t, caseInsensitiveStringComparator<std::wstring>> places_;  ///< in the entries
    std::vector<int> columns_;                                                                   ///< of the entries
};

}  // namespace

bool isNamedProperties(const std::string& fileName) {
    return QuillCoreUtils::toLowercase(fileName).ends_with(".properties");
}

bool looksLikeProperties(const std::string& contents) {
    if (contents.find('\0') != std::string::npos || isMarkup(contents)) {
        return false;
    }
    for (const std::string& line : linesOf(contents)) {
        if (!isComment(line) && line.find(':') != std::string::npos) {
            return true;
        }
    }
    return false;
}

PropertiesReport inspectProperties(const std::string& contents) { return PropertiesInspection().run(contents); }

}  // namespace corvidctl
