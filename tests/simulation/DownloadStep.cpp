#include "DownloadStep.h"

#include "DownloadScripts.h"
#include "ModelTypes.h"

namespace simulation {

namespace {

std::string onOrOff(const std::string& what, bool on) { return "switch " + what + (on ? " on" : " off"); }

std::string describeAnnouncement(const DownloadStep& step) {
    return "announce " + describe(step.details) + " by a change of " + printable(step.key) + " in " +
           printable(step.text);
}

std::string describeCompletion(const DownloadStep& step) {
    return "complete transfer " + std::to_string(step.index) + " with result " + std::to_string(step.result) + " and " +
           downloadDocuments().at(step.document).name + (step.on ? " on the dispatcher thread" : "");
}

std::string describeObservation(const DownloadStep& step) {
    std::string line = "observe as " + std::to_string(step.observer);
    for (const DownloadStep& reaction : step.reactions) {
        line += "\n        when told: " + describe(reaction);
    }
    return line;
}

}  // namespace

std::string describe(const ServerDetails& details) {
    return bracketed(details.server1) + bracketed(details.server2) + bracketed(details.server3) + " file " +
           bracketed(details.file);
}

std::string describe(const DownloadStep& step) {
    switch (step.kind) {
    case DownloadStepKind::Announce:
        return describeAnnouncement(step);
    case DownloadStepKind::RunTask:
        return "run task " + std::to_string(step.index);
    case DownloadStepKind::Complete:
        return describeCompletion(step);
    case DownloadStepKind::RunDispatcher:
        return "run dispatcher";
    case DownloadStepKind::Force:
        return "force a download";
    case DownloadStepKind::Forget:
        return "forget the details";
    case DownloadStepKind::StoreVersion:
        return "store version " + bracketed(step.text);
    case DownloadStepKind::AnswerVersion:
        return "let " + step.address + " answer " + versionAnswers().at(step.index).body;
    case DownloadStepKind::NameDeviceServers:
        return "name device servers " + describe(step.details);
    case DownloadStepKind::RefuseInMemory:
        return onOrOff("the refusal of in-memory values", step.on);
    case DownloadStepKind::Observe:
        return describeObservation(step);
    case DownloadStepKind::Unobserve:
        return "unobserve as " + std::to_string(step.observer);
    case DownloadStepKind::AskValue:
        return "ask " + printable(step.key);
    case DownloadStepKind::StoreValue:
        return "store " + printable(step.key) + " = " + bracketed(step.text);
    case DownloadStepKind::RemoveValue:
        return "remove " + printable(step.key);
    case DownloadStepKind::RemoveAllValues:
        return "remove all values";
    case DownloadStepKind::PersistValues:
        return "persist values";
    case DownloadStepKind::WaitForStore:
        return "wait for the store";
    case DownloadStepKind::SwitchFips:
        return onOrOff("FIPS", step.on);
    case DownloadStepKind::SwitchDebug:
        return onOrOff("debug logging", step.on);
    }
    return "unknown step";
}

}  // namespace simulation
