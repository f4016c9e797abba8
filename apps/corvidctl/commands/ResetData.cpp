#include <algorithm>
#include <filesystem>
#include <iterator>
#include <ostream>

#include "DataReset.h"
#include "commands/Commands.h"
#include "impl/system/SystemServiceImpl.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/FileUtils.h"
#include "session/FileListing.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

DataResetView compare(const FileListing& before, const FileListing& after) {
    DataResetView view;
    std::set_difference(before.files.begin(), before.files.end(), after.files.begin(), after.files.end(),
                        std::back_inserter(view.removed));
    view.kept.assign(after.files.begin(), after.files.end());
    return view;
}

void printOutcome(const DataResetView& view, Output& output) {
    for (const std::string& file : view.removed) {
        output.out << "removed  " << escaped(file) << '\n';
    }
    for (const std::string& file : view.kept) {
        output.out << "kept     " << escaped(file) << '\n';
    }
    if (view.removed.empty()) {
        output.out << "There was nothing to remove.\n";
    }
}

/// Why something that is no file stays, as the end of a sentence; empty for a file and a link.
std::string whyLeft(const std::string& path) {
    std::error_code error;
    switch (std::filesystem::symlink_status(path, error).type()) {
    case std::filesystem::file_type::fifo:
        return ", since it is a pipe";
    case std::filesystem::file_type::socket:
        return ", since it is a socket";
    case std::filesystem::file_type::block:
    case std::filesystem::file_type::character:
        return ", since it is a device";
    default:
        return {};
    }
}

/// Names what should have gone and is still there. @return whether there is nothing of that kind.
bool isComplete(const std::string& directory, const DataResetView& view, const FileListing& after, Output& output) {
    bool complete = after.unreadable.empty();
    for (const std::string& folder : after.unreadable) {
        printError(output, "the folder '" + folder + "' cannot be listed; what lies in it stays");
    }
    for (const std::string& file : view.kept) {
        if (!DataReset::keeps(QuillCoreUtils::FileUtils::getFileName(file))) {
            printError(output,
                       "'" + file + "' should have been removed and is still there" + whyLeft(directory + "/" + file));
            complete = false;
        }
    }
    return complete;
}

}  // namespace

int runResetData(const Invocation& invocation, Output& output) {
    const std::string& directory = invocation.host.configDirectory;
    const FileListing before = listFiles(directory);
    Session session(invocation);
    session.work(
        [&session](Session::Inside&) { session.host().systemService()->resetDataProvider()->invokeResetData(); });
    session.finish();
    const FileListing after = listFiles(directory);

    const DataResetView view = compare(before, after);
    if (isForMachines(invocation.format)) {
        output.out << answers::dataReset(view, invocation.format);
    } else {
        printOutcome(view, output);
    }
    return isComplete(directory, view, after, output) ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
