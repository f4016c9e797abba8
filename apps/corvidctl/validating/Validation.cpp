#include "validating/Validation.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "ConfigStoreConstants.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "validating/FileContents.h"
#include "validating/FilePlace.h"
#include "validating/KeyFindings.h"
#include "validating/PropertiesInspector.h"
#include "validating/ShownKey.h"
#include "validating/ValueFindings.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

namespace {

using Form = ValidationView::Form;
using Kind = DocumentReport::Kind;
using QuillCoreUtils::FileUtils;

const char* wordOf(Kind kind) {
    switch (kind) {
    case Kind::Unreadable:
        return FindingKind::Unreadable;
    case Kind::Syntax:
        return FindingKind::Syntax;
    case Kind::WrongForm:
        return FindingKind::WrongForm;
    case Kind::DuplicateKey:
        return FindingKind::DuplicateKey;
    case Kind::LostEntry:
        return FindingKind::LostEntry;
    case Kind::IgnoredText:
        return FindingKind::IgnoredText;
    case Kind::IgnoredElement:
        return FindingKind::IgnoredElement;
    case Kind::MarkupValue:
        return FindingKind::MarkupValue;
    case Kind::NeverAnswered:
        break;
    }
    return FindingKind::NeverAnswered;
}

void addAll(std::vector<Finding>& findings, std::vector<Finding> more) {
    findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// The parser's words without what they quote of a value: that may be a secret.
std::string withoutQuotes(const std::string& text) {
    return text.starts_with("Entity '") ? "an entity is used that is not defined" : text.substr(0, text.find('\n'));
}

/// What was found, as it may be shown: the parser quotes the file, other sentences end with a key or with no name at
/// all.
std::string textOf(const DocumentReport::Finding& finding, bool reveal) {
    return finding.kind == Kind::Syntax ? withoutQuotes(finding.text)
                                        : shownKey(QuillCoreUtils::toWideString(finding.text), reveal);
}

void addFindings(ValidationView& view, Severity severity, const std::vector<DocumentReport::Finding>& findings,
                 bool reveal) {
    for (const DocumentReport::Finding& finding : findings) {
        view.findings.push_back({severity, wordOf(finding.kind), finding.line, finding.column,
                                 shownKey(finding.key, reveal), textOf(finding, reveal)});
    }
}

void addEntries(ValidationView& view, const std::vector<DocumentReport::Entry>& entries, bool reveal) {
    for (const DocumentReport::Entry& entry : entries) {
        const bool sensitive = entry.sensitive || KnownKeys::isAlwaysSensitive(entry.key) || holdsSecret(entry.key);
        const std::wstring& shown =
            sensitive && !reveal ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : entry.value;
        view.entries.push_back(
            {shownKey(entry.key, reveal), QuillCoreUtils::toString(shown), entry.line, sensitive, entry.isMarkup});
    }
}

/// A client that cannot read its local file saves it under another name and goes on without it.
void noticeMove(ValidationView& view, const std::string& fileName) {
    if (formOfFile(fileName) != DocumentReport::Form::Local) {
        return;
    }
    const std::string backup = fileName.substr(0, fileName.find_last_of('.')) + "-backup.xml";
    view.findings.push_back(
        {Severity::Info, FindingKind::MovedAside, 0, 0, "",
         "a client that starts on this file renames it to " + backup + " and has none of its values"});
}

/// @param path where the document lies, if not at its own place.
std::vector<DocumentReport::Entry> inspectXml(ValidationView& view, const std::string& path,
                                              const std::string& fileName, bool reveal) {
    DocumentReport report = inspectDocument(path);
    view.valid = report.valid;
    view.form = report.form == DocumentReport::Form::Local ? Form::LocalFile : Form::Document;
    view.formIsGuessed = report.formIsGuessed;
    addFindings(view, Severity::Error, report.errors, reveal);
    addFindings(view, Severity::Warning, report.warnings, reveal);
    const bool isBroken = std::any_of(report.errors.begin(), report.errors.end(),
                                      [](const auto& error) { return error.kind != Kind::WrongForm; });
    if (isBroken) {
        noticeMove(view, fileName);
    }
    return std::move(report.entries);
}

std::vector<DocumentReport::Entry> inspectLines(ValidationView& view, const std::string& contents) {
    PropertiesReport report = inspectProperties(contents);
    view.valid = true;  // each line is a key, or is passed over
    view.form = Form::Properties;
    view.findings = std::move(report.findings);
    return std::move(report.entries);
}

/// A document of which the name says that it is one. What its file does not give is no fault of the document.
std::vector<DocumentReport::Entry> inspectNamedXml(ValidationView& view, const std::string& fileName, bool reveal) {
    std::vector<DocumentReport::Entry> entries = inspectXml(view, view.file, fileName, reveal);
    std::error_code error;
    if (!view.valid && std::filesystem::is_regular_file(view.file, error)) {
        readThrough(view.file);
    }
    return entries;
}

/// Reads the file, which may be a pipe, in the form that suits it.
std::vector<DocumentReport::Entry> inspectFile(ValidationView& view, const std::string& fileName, bool reveal) {
    if (QuillCoreUtils::toLowercase(fileName).ends_with(".xml")) {
        return inspectNamedXml(view, fileName, reveal);
    }
    const std::string contents = readToEnd(view.file);
    const bool isNamed = isNamedProperties(fileName);
    if (!isNamed && !looksLikeProperties(contents)) {
        return inspectXml(view, FileInMemory(contents).path(), fileName, reveal);
    }
    view.formIsGuessed = !isNamed;
    return inspectLines(view, contents);
}

}  // namespace

ValidationView validateFile(const std::string& file, bool reveal) {
    ValidationView view;
    view.file = file;
    const std::string fileName = FileUtils::getFileName(file);
    const std::vector<DocumentReport::Entry> entries = inspectFile(view, fileName, reveal);
    addEntries(view, entries, reveal);
    const FilePlace place = placeOf(fileName, view.form);
    addAll(view.findings, KeyFindings(entries, place, reveal).find());
    addAll(view.findings, ValueFindings(entries, place).find());
    std::stable_sort(view.findings.begin(), view.findings.end(),
                     [](const Finding& one, const Finding& other) { return one.line < other.line; });
    return view;
}

}  // namespace corvidctl
