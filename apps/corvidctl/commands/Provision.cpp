#include "provisioning/Provisioning.h"

#include <ostream>

#include "ConfigStoreConstants.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

/// What the store that decides says about the latch.
std::string latchSaid(const ValueView& latch) {
    return escaped(latch.valueStoreName) + " says that AllowUrlProvisioning is " + quoted(latch.value);
}

void printReopened(const Invocation& invocation, const ProvisioningView& view, Output& output) {
    std::ostream& remarks = isForMachines(invocation.format) ? output.error : output.out;
    if (!view.wasClosed) {
        remarks << "The latch was not closed.\n";
    } else if (hasReopened(view)) {
        remarks << "The latch was closed and has been reset.\n";
    }
}

/// Each line in one piece: on standard error the log writes to the same place from another thread.
void printDropped(const ProvisioningView& view, std::ostream& remarks) {
    for (const DroppedPart& part : view.dropped) {
        remarks << "Part " + std::to_string(part.number) + (part.what.empty() ? "" : ", " + quoted(part.what) + ",") +
                       " is dropped: " + part.reason + ".\n";
    }
}

void printKey(const ProvisionedKey& key, std::ostream& out) {
    out << escaped(key.key) << " is set to " << quoted(key.value) << ".\n";
    if (key.after.valueStoreName != ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME) {
        out << escaped(key.after.valueStoreName) << " still wins, with " << quoted(key.after.value) << ".\n";
    } else if (!key.answers) {
        out << "It reads as " << quoted(key.after.value) << ".\n";
    }
}

/// What is not on disk is told as a failure, and nowhere as done.
void printAccepted(const ProvisioningView& view, std::ostream& out) {
    for (const ProvisionedKey& key : view.keys) {
        if (view.cacheOnDisk) {
            printKey(key, out);
        }
    }
    printDropped(view, out);
    for (const std::string& key : view.gone) {
        if (view.cacheOnDisk) {
            out << escaped(key) << ", which an earlier link had set, is gone.\n";
        }
    }
    if (!view.latchOnDisk) {
        return;
    }
    if (view.isClosed) {
        out << "Further links are refused until corvidctl provision --reopen.\n";
    } else {
        out << "Further links are not refused: "
            << (view.latch.isDefined ? latchSaid(view.latch) : "no store took AllowUrlProvisioning") << ".\n";
    }
}

void printRefused(const ProvisioningView& view, Output& output) {
    if (view.latchRefused) {
        printError(output, "link refused: " + latchSaid(view.latch));
        output.error
            << "A link is taken once; corvidctl provision --reopen LINK allows another, unless an administrator "
               "refuses them.\n";
        return;
    }
    printError(output, "link refused: " + view.reason);
    printDropped(view, output.error);
    if (view.namesNoKnownKey) {
        output.error << "A link may set: " + keysOfLinks() + ".\n";
    }
}

void printLink(const Invocation& invocation, const ProvisioningView& view, Output& output) {
    if (!view.accepted) {
        printRefused(view, output);
        return;
    }
    for (const ProvisionedKey& key : view.keys) {
        if (view.cacheOnDisk && !key.isWhole) {
            printError(output, "XML cannot hold every character of the value of " + key.key +
                                   "; on disk U+FFFD stands for them");
        }
    }
    if (isForMachines(invocation.format)) {
        printDropped(view, output.error);
    } else {
        printAccepted(view, output.out);
    }
}

/// Says what is not on disk. @return whether all is.
bool isOnDisk(const Invocation& invocation, const ProvisioningView& view, Output& output) {
    if (!view.cacheOnDisk) {
        printError(output, "what the link sets could not be written to " + invocation.host.configDirectory +
                               " and is gone; corvidctl provision --reopen LINK tries again");
    }
    if (!view.latchOnDisk) {
        printError(output, "the state of the latch could not be written to " + invocation.host.configDirectory);
    }
    return view.cacheOnDisk && view.latchOnDisk;
}

}  // namespace

int runProvision(const Invocation& invocation, Output& output) {
    const bool hasLink = !invocation.arguments.empty();
    ProvisioningView view;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        if (invocation.reopen) {
            reopenLatch(inside, view);
        }
        if (hasLink) {
            applyLink(inside, QuillCoreUtils::toWideString(invocation.arguments[0]), invocation.reveal, view);
        }
    });
    view.latchOnDisk = session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::provisioning(view, invocation.format);
    }
    if (invocation.reopen) {
        printReopened(invocation, view, output);
    }
    if (hasLink) {
        printLink(invocation, view, output);
    } else if (view.isClosed) {
        printError(output, "the latch stays closed: " + latchSaid(view.latch));
    }
    const bool done = hasLink ? view.accepted : !view.isClosed;
    return isOnDisk(invocation, view, output) && done ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
