#include "reading/ProblemText.h"

namespace corvidctl {

namespace {

constexpr const char* UNREADABLE = "it cannot be read";

std::string withPlace(int line, int column, const std::string& text) {
    if (line == 0) {
        return text;
    }
    const std::string place = column == 0 ? std::string() : ", column " + std::to_string(column);
    return "line " + std::to_string(line) + place + ": " + text;
}

}  // namespace

std::string syntaxProblem(int line, int column) {
    return line == 0 ? UNREADABLE : withPlace(line, column, "it is not well-formed XML");
}

std::string problemText(const DocumentReport::Finding& finding) {
    return finding.kind == DocumentReport::Kind::Syntax ? syntaxProblem(finding.line, finding.column)
                                                        : withPlace(finding.line, finding.column, finding.text);
}

std::string problemText(const DocumentReport& report) {
    return report.errors.empty() ? UNREADABLE : problemText(report.errors.front());
}

std::string failureText(const std::string& store, const std::string& file, const StoreOrigin& origin) {
    return store + " failed to load: " + file + (origin.problemLine == 0 ? ": " : ", ") + origin.problem;
}

}  // namespace corvidctl
