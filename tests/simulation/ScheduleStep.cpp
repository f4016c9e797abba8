#include "ScheduleStep.h"

#include <array>

#include "DownloadScripts.h"

namespace simulation {

namespace {

using Act = ScheduleAct;

const char* nameOf(Act act) {
    static constexpr std::array<const char*, 31> names = {"run dispatcher",
                                                          "run pool",
                                                          "run persist queue",
                                                          "end transfer",
                                                          "store",
                                                          "store map",
                                                          "store in memory",
                                                          "erase",
                                                          "mark sensitive",
                                                          "take link",
                                                          "allow links",
                                                          "watch",
                                                          "ask",
                                                          "add store",
                                                          "remove store",
                                                          "remove copies",
                                                          "start",
                                                          "stop",
                                                          "destroy",
                                                          "refresh",
                                                          "reset data",
                                                          "power down",
                                                          "source on",
                                                          "source off",
                                                          "change profile",
                                                          "kill and start anew",
                                                          "shut down and start anew",
                                                          "answer version",
                                                          "fill disk",
                                                          "free disk",
                                                          "run persist queue without descriptors"};
    return names.at(static_cast<std::size_t>(act));
}

std::string describeSubject(const ScheduleStep& step) {
    switch (step.act) {
    case Act::Store:
    case Act::StoreInMemory:
        return " " + printable(step.key) + " = " + bracketed(step.text);
    case Act::StoreMap: {
        std::string line;
        for (const auto& [key, value] : step.values) {
            line += " " + printable(key) + " = " + bracketed(value);
        }
        return line;
    }
    case Act::ChangeProfile:
        return " to " + bracketed(step.text);
    case Act::TakeLink:
        return " " + printable(step.text);
    case Act::Erase:
    case Act::MarkSensitive:
    case Act::Ask:
        return " " + printable(step.key);
    case Act::Watch:
        return " " + printable(step.key) + " as " + std::to_string(step.watcher);
    case Act::AddStore:
        return " " + describe(step.store);
    case Act::RemoveStore:
        return " " + step.store.name;
    case Act::EndTransfer:
        return " " + std::to_string(step.index) + " with " +
               (step.result == 0 ? "document '" + downloadDocuments().at(step.document).name + "'"
                                 : "result " + std::to_string(step.result));
    case Act::AnswerVersion:
        return " " + bracketed(std::wstring(versionAnswers().at(step.index).version.begin(),
                                            versionAnswers().at(step.index).version.end()));
    case Act::RunPool:
        return " " + std::to_string(step.index);
    case Act::FillDisk:
        return " from byte " + std::to_string(step.index);
    default:
        return {};
    }
}

}  // namespace

std::string describe(const ScheduleStep& step) {
    std::string line = nameOf(step.act);
    line += describeSubject(step);
    line += step.onDispatcher ? ", on the dispatcher" : "";
    for (const ScheduleStep& other : step.meanwhile) {
        line += "\n        meanwhile: " + describe(other);
    }
    return line;
}

}  // namespace simulation
