#include <algorithm>
#include <ostream>

#include "commands/Commands.h"
#include "host/FipsSwitch.h"
#include "host/XmlDiagnostics.h"
#include "system/World.h"
#include "validating/Validation.h"
#include "validating/ValidationAnswers.h"
#include "validating/ValidationText.h"

namespace corvidctl {

namespace {

/// One rule of the module depends on this mode, and no host says which one it is.
void applyFipsMode(host::ReferenceHostOptions::Fips fips) {
    const auto world = std::make_shared<platform::World>();
    world->fipsMode = host::fipsSwitch(fips);
    platform::setWorld(world);
}

}  // namespace

int runValidate(const Invocation& invocation, Output& output) {
    const host::XmlDiagnostics silence(host::XmlDiagnostics::Way::Discard);
    applyFipsMode(invocation.host.fips);
    std::vector<ValidationView> views;
    for (const std::string& file : invocation.arguments) {
        views.push_back(validateFile(file, invocation.reveal));
    }

    if (isForMachines(invocation.format)) {
        output.out << answers::validations(views, invocation.format);
    } else {
        for (const ValidationView& view : views) {
            printValidation(view, output);
        }
    }
    const bool isGood = std::all_of(views.begin(), views.end(), [&invocation](const ValidationView& view) {
        return view.valid && !(invocation.strict && view.count(Severity::Warning) != 0);
    });
    return isGood ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
