#include <ostream>

#include "ConfigStoreConstants.h"
#include "chain/ConfigMap.h"
#include "commands/Commands.h"
#include "host/FipsSwitch.h"
#include "host/XmlDiagnostics.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "system/World.h"
#include "xml/DocumentInspector.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 60;

std::string withPlace(const DocumentReport::Finding& finding) {
    if (finding.line == 0) {
        return finding.text;
    }
    const std::string column = finding.column == 0 ? std::string() : ", column " + std::to_string(finding.column);
    return "line " + std::to_string(finding.line) + column + ": " + finding.text;
}

std::vector<std::string> withPlaces(const std::vector<DocumentReport::Finding>& findings) {
    std::vector<std::string> texts;
    for (const DocumentReport::Finding& finding : findings) {
        texts.push_back(withPlace(finding));
    }
    return texts;
}

/// The module hides these whatever a document says.
bool isAlwaysSensitive(const std::wstring& key) {
    using namespace ConfigStoreConstants;
    const SensitiveKeySet keys = {ADDTIONAL_INFO,
                                  AD_PASSWORD_KEY,
                                  AD_USERNAME_KEY,
                                  BDI_CONNECTION_PASSWORD_STRING,
                                  BDI_CONNECTION_USERNAME_STRING,
                                  BDI_CONNECTION_USERDN_STRING};
    return keys.count(key) != 0;
}

ValidationView inspect(const std::string& file, bool reveal) {
    const DocumentReport report = inspectDocument(file);
    ValidationView view;
    view.file = file;
    view.valid = report.valid;
    view.isLocalFile = report.form == DocumentReport::Form::Local;
    view.formIsGuessed = report.formIsGuessed;
    view.warnings = withPlaces(report.warnings);
    view.errors = withPlaces(report.errors);
    for (const DocumentReport::Entry& entry : report.entries) {
        const bool sensitive = entry.sensitive || isAlwaysSensitive(entry.key);
        const std::wstring& shown =
            sensitive && !reveal ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : entry.value;
        view.entries.push_back({QuillCoreUtils::toString(entry.key), QuillCoreUtils::toString(shown), entry.line,
                                sensitive, entry.isMarkup});
    }
    return view;
}

/// One rule of the module depends on this mode, and no host says which one it is.
void applyFipsMode(host::ReferenceHostOptions::Fips fips) {
    const auto world = std::make_shared<platform::World>();
    world->fipsMode = host::fipsSwitch(fips);
    platform::setWorld(world);
}

void printEntries(const ValidationView& view, Output& output) {
    Table table(
        {{"LINE", 0, true}, {"KEY", 0, false, 32}, {"VALUE", VALUE_COLUMNS, false, 16}, {"REMARKS", 0, false, 9, 1}});
    for (const ValidationView::Entry& entry : view.entries) {
        const std::string markup = entry.isMarkup ? "mark-up" : "";
        const std::string between = entry.isMarkup && entry.isSensitive ? ", " : "";
        table.addRow({std::to_string(entry.line),
                      entry.key,
                      entry.value.empty() ? Table::Cell("(empty)", Style::Faint) : Table::Cell(entry.value),
                      {markup + between + (entry.isSensitive ? "sensitive" : ""), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
}

void print(const ValidationView& view, Output& output) {
    const std::string verdict =
        view.valid ? styled("valid", Style::Good, output.colours) : styled("not valid", Style::Bad, output.colours);
    const std::string form = view.isLocalFile ? "local file" : "configuration document";
    output.out << escaped(view.file) << ": " << verdict;
    if (view.valid) {
        output.out << (view.formIsGuessed ? ", by its content a " : ", a ") << form << " with " << view.entries.size()
                   << (view.entries.size() == 1 ? " key" : " keys");
    }
    output.out << '\n';
    for (const std::string& error : view.errors) {
        output.out << styled("error", Style::Bad, output.colours) << ": " << escaped(error) << '\n';
    }
    for (const std::string& warning : view.warnings) {
        output.out << styled("warning", Style::Warning, output.colours) << ": " << escaped(warning) << '\n';
    }
    if (!view.entries.empty()) {
        printEntries(view, output);
    }
}

}  // namespace

int runValidate(const Invocation& invocation, Output& output) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    applyFipsMode(invocation.host.fips);
    std::vector<ValidationView> views;
    bool allValid = true;
    for (const std::string& file : invocation.arguments) {
        views.push_back(inspect(file, invocation.reveal));
        allValid = allValid && views.back().valid;
    }

    if (isForMachines(invocation.format)) {
        output.out << answers::validations(views, invocation.format);
    } else {
        for (const ValidationView& view : views) {
            print(view, output);
        }
    }
    return allValid ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
