#include "session/WritersTurn.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ostream>
#include <string_view>
#include <thread>
#include <utility>

#include "output/ProgressLine.h"
#include "quill/FileUtils.h"

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds BETWEEN_LOOKS{10};

/// "corvidctl (process 4711)", as far as it is known.
std::string nameOf(const platform::DirectoryUser& user) {
    if (user.process == 0) {
        return "another program";
    }
    const std::string process = "process " + std::to_string(user.process);
    return user.name.empty() ? process : user.name + " (" + process + ")";
}

/// Tells whom the user is waiting for.
class WaitRemark {
public:
    WaitRemark(Output& output, std::string directory)
        : output_(output), directory_(std::move(directory)), line_(output.error, terminal_) {}

    /// To be called again and again; tells once for each length of ProgressLine::PATIENCE.
    void tell(const platform::DirectoryUser& user) {
        const ProgressLine::Clock::time_point now = ProgressLine::Clock::now();
        if (now - told_ < ProgressLine::PATIENCE) {
            return;
        }
        told_ = now;
        const std::string text = "waiting for " + nameOf(user) + ", which is changing " + directory_;
        if (terminal_.shown) {
            line_.show(text);
        } else if (!isPrinted_) {
            printError(output_, text);
            isPrinted_ = true;
        }
    }

private:
    Output& output_;
    const std::string directory_;
    const ProgressLine::Terminal terminal_ = ProgressLine::terminalOf(STDERR_FILENO);
    ProgressLine line_;
    ProgressLine::Clock::time_point told_ = ProgressLine::Clock::now();
    bool isPrinted_ = false;
};

/// `set` or `unset` with --dry-run; that of a fetch is none.
bool isRehearsalOfAChange(const Invocation& invocation) {
    return invocation.dryRun && (invocation.command == "set" || invocation.command == "unset");
}

}  // namespace

DirectoryUse directoryUseOf(const Invocation& invocation) {
    if (invocation.dryRun) {
        return DirectoryUse::None;
    }
    constexpr auto uses = std::to_array<std::pair<std::string_view, DirectoryUse>>({
        {"set", DirectoryUse::Changes},
        {"unset", DirectoryUse::Changes},
        {"provision", DirectoryUse::Changes},
        {"reset-data", DirectoryUse::Changes},
        {"fetch", DirectoryUse::Fetches},
        {"watch", DirectoryUse::Stays},
        {"inspect", DirectoryUse::Stays},
    });
    const auto* const found = std::find_if(uses.begin(), uses.end(),
                                           [&invocation](const auto& use) { return use.first == invocation.command; });
    return found == uses.end() ? DirectoryUse::None : found->second;
}

WritersTurn::WritersTurn(const Invocation& invocation, Output& output) : directory_(invocation.host.configDirectory) {
    const DirectoryUse use = directoryUseOf(invocation);
    if (use == DirectoryUse::Stays || isRehearsalOfAChange(invocation)) {
        remarkClient(invocation, output);
    }
    if (use != DirectoryUse::Changes && use != DirectoryUse::Fetches) {
        return;
    }
    wait(output);
    if (const auto client = claim_->resident()) {
        given_ = mayWriteBeside(*client, invocation, output);
    }
}

WritersTurn::~WritersTurn() {
    for (const fs::path& folder : made_) {
        if (rmdir(folder.c_str()) != 0) {
            break;  // it is in use by now
        }
    }
}

void WritersTurn::makeDirectory() {
    std::error_code error;
    std::vector<fs::path> missing;
    for (fs::path path = directory_; !path.empty() && !fs::exists(fs::symlink_status(path, error));
         path = path.parent_path()) {
        missing.push_back(path);
    }
    if (!missing.empty() && QuillCoreUtils::FileUtils::createDirectory(directory_)) {
        made_ = std::move(missing);
    }
}

void WritersTurn::wait(Output& output) {
    WaitRemark remark(output, directory_);
    do {
        makeDirectory();
        claim_ = std::make_unique<platform::DirectoryClaim>(directory_);
        while (const auto user = claim_->takeTurn()) {
            remark.tell(*user);
            std::this_thread::sleep_for(BETWEEN_LOOKS);
        }
        // Whoever made the directory may have taken it away while this one stood in the line.
    } while (claim_->isOpen() && !claim_->isOf(directory_));
}

void WritersTurn::remarkClient(const Invocation& invocation, Output& output) const {
    const auto client = platform::DirectoryClaim(directory_).resident();
    if (!client) {
        return;
    }
    const std::string running = nameOf(*client) + " is running on " + directory_;
    if (directoryUseOf(invocation) == DirectoryUse::Stays) {
        printError(output, running + " as well: neither notices what the other one changes");
    } else if (invocation.force) {
        printError(output, running + ": it would not notice the change, and may undo it when it next saves");
    } else {
        printError(output, running + ": while it is, nothing would be changed without --force");
    }
}

bool WritersTurn::mayWriteBeside(const platform::DirectoryUser& client, const Invocation& invocation,
                                 Output& output) const {
    const std::string running = nameOf(client) + " is running on " + directory_;
    if (directoryUseOf(invocation) == DirectoryUse::Fetches) {
        printError(output, running + ": it goes on with the file that it has until it fetches one itself");
        return true;
    }
    if (invocation.force) {
        printError(output, running + ": it does not notice the change, and may undo it when it next saves");
        return true;
    }
    printError(output,
               "nothing changed: " + running + ": it would not notice the change, and may undo it when it next saves");
    output.error << "Stop it first, or add --force to make the change all the same.\n";
    return false;
}

}  // namespace corvidctl
