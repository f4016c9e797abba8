#include "comparing/UserWriteText.h"

#include "comparing/LocalFile.h"

namespace corvidctl {

void printBrokenFile(const Invocation& invocation, const UserWriteView& view, Output& output) {
    if (!view.brokenFile.empty()) {
        const std::string& directory = invocation.host.configDirectory;
        printError(output, localFileOf(directory) + " cannot be read (" + view.brokenFile + "); it " +
                               (view.dryRun ? "would be" : "is") + " set aside as " + brokenLocalFileOf(directory));
    }
}

void printNotPersisted(const Invocation& invocation, const UserWriteView& view, Output& output) {
    const std::string what = view.isErasure ? "removed from " : "written to ";
    const std::string why = view.whyNotPersisted.empty() ? std::string() : ": " + view.whyNotPersisted;
    printError(output, view.after.key + " could not be " + what + invocation.host.configDirectory + why);
}

}  // namespace corvidctl
