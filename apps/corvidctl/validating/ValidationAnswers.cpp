#include "validating/ValidationAnswers.h"

#include <nlohmann/json.hpp>

#include "output/MachineText.h"

namespace corvidctl::answers {

namespace {

std::string withPlace(const Finding& finding) {
    if (finding.line == 0) {
        return finding.text;
    }
    const std::string column = finding.column == 0 ? std::string() : ", column " + std::to_string(finding.column);
    return "line " + std::to_string(finding.line) + column + ": " + finding.text;
}

Json textsOf(const ValidationView& view, Severity severity) {
    Json texts = Json::array();
    for (const Finding& finding : view.findings) {
        if (finding.severity == severity) {
            texts.push_back(withPlace(finding));
        }
    }
    return texts;
}

Json toJson(const Finding& finding) {
    return {{"severity", wordOf(finding.severity)},
            {"kind", finding.kind},
            {"line", finding.line},
            {"column", finding.column == 0 ? Json(nullptr) : Json(finding.column)},
            {"key", finding.key},
            {"text", finding.text}};
}

Json toJson(const ValidationView& view) {
    Json keys = Json::array();
    for (const ValidationView::Entry& entry : view.entries) {
        keys.push_back(entry.key);
    }
    Json entries = Json::array();
    for (const ValidationView::Entry& entry : view.entries) {
        entries.push_back(
            {{"key", entry.key}, {"value", entry.value}, {"line", entry.line}, {"isSensitive", entry.isSensitive}});
    }
    Json findings = Json::array();
    for (const Finding& finding : view.findings) {
        findings.push_back(toJson(finding));
    }
    return {{"file", view.file},
            {"valid", view.valid},
            {"keys", keys},
            {"warnings", textsOf(view, Severity::Warning)},
            {"errors", textsOf(view, Severity::Error)},
            {"findings", findings},
            {"entries", entries}};
}

/// A finding with its file before it.
Json flat(const std::string& file, const Finding& finding) {
    Json json = {{"file", file}};
    json.update(toJson(finding));
    return json;
}

/// Every finding on a line of its own.
std::string findingLines(const std::vector<ValidationView>& views) {
    Json array = Json::array();
    for (const ValidationView& view : views) {
        for (const Finding& finding : view.findings) {
            array.push_back(flat(view.file, finding));
        }
    }
    return printedList(array, flat({}, Finding()), Format::Tsv);
}

}  // namespace

std::string validations(const std::vector<ValidationView>& views, Format format) {
    if (format == Format::Tsv) {
        return findingLines(views);
    }
    if (views.size() == 1 && format == Format::Json) {
        return printed(toJson(views.front()), format);
    }
    Json array = Json::array();
    for (const ValidationView& view : views) {
        array.push_back(toJson(view));
    }
    return printedList(array, toJson(ValidationView()), format);
}

}  // namespace corvidctl::answers
