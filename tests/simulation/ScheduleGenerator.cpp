#include "ScheduleGenerator.h"

#include <array>

#include "DownloadScripts.h"

namespace simulation {

namespace {

using Act = ScheduleAct;

/// Keys that belong together: a key in two spellings, the two names of a renamed key, a policy and what it forbids.
const std::vector<std::vector<std::wstring>>& keyFamilies() {
    static const std::vector<std::vector<std::wstring>> families = {
        {L"Theme", L"THEME"},
        {L"Ringer", L"Language"},
        {L"Meetings_Enabled"},
        {L"CtiServer1", L"CTIPrimaryServer", L"Customize_Phone_Server"},
        {L"VVM_Mailstore_Server_0", L"VoicemailPrimaryServer", L"Customize_Voicemail_Server"},
        {L"VVM_Mailstore_PollingInterval", L"VoicmeailPollingInterval"},
        {L"ConnectionPassword", L"ServicesDomain"},
        {L"AllowUrlProvisioning", L"HubcipServer1"},
    };
    return families;
}

const std::vector<std::wstring> VALUES = {L"", L"one", L"two", L"false", L"FALSE", L"true"};
const std::vector<std::wstring> SERVER_KEYS = {L"TFTPPrimaryServer", L"TFTPPrimaryServer", L"TftpServer1",
                                               L"TFTPBackupServer1", L"configurationfile"};
const std::vector<std::wstring> SERVERS = {L"", L"alpha.example", L"alpha.example", L"beta.example", L"ALPHA.example"};
const std::vector<std::wstring> SERVER_FILES = {L"corvid-config.xml", L"group.xml"};
const std::vector<std::wstring> LINKS = {L"corvid://provision?ServicesDomain=example.org",
                                         L"corvid://provision?ServicesDomain=example.net&Meetings_Enabled=true",
                                         L"corvid://provision?Telephony_Enabled=false", L"corvid://provision?Theme=one",
                                         L"corvid://provision"};
constexpr std::array<int, 8> PRIORITIES = {-5, 10, 15, 20, 30, 450, 600, 700};
constexpr std::array<std::size_t, 3> FULL_FROM = {0, 30, 120};

}  // namespace

ScheduleGenerator::ScheduleGenerator(std::uint64_t seed) : engine_(seed) {
    for (int family = 0; family < 2; ++family) {
        const auto& keys = anyOf(keyFamilies());
        keys_.insert(keys_.end(), keys.begin(), keys.end());
    }
    choices_ = {
        {Act::RunDispatcher, 26},
        {Act::RunPool, 8},
        {Act::RunPersist, 14},
        {Act::EndTransfer, 12},
        {Act::Store, 20},
        {Act::StoreMap, 5},
        {Act::StoreInMemory, 5},
        {Act::Erase, 6},
        {Act::MarkSensitive, 1},
        {Act::TakeLink, 3},
        {Act::AllowLinks, 1},
        {Act::Watch, 6},
        {Act::Ask, 2},
        {Act::AddStore, 8},
        {Act::RemoveStore, 4},
        {Act::RemoveCopies, 1},
        {Act::Start, 4},
        {Act::Stop, 2},
        {Act::Destroy, 1},
        {Act::Refresh, 2},
        {Act::ResetData, 1},
        {Act::PowerDown, 1},
        {Act::SourceOn, 8},
        {Act::SourceOff, 2},
        {Act::ChangeProfile, 4},
        {Act::Kill, 1},
        {Act::ShutDown, 1},
        {Act::AnswerVersion, 4},
        {Act::FillDisk, 2},
        {Act::FreeDisk, 2},
        {Act::PersistWithoutDescriptors, 2},
    };
    // Each schedule likes some things more than others, so that there are runs of the same.
    for (int favourite = 0; favourite < 3; ++favourite) {
        choices_[below(choices_.size())].weight *= 4;
    }
}

std::vector<ScheduleStep> ScheduleGenerator::schedule(std::size_t length) {
    std::vector<ScheduleStep> steps;
    if (oneIn(2)) {
        beginWithAServer(steps);
    }
    const std::size_t begun = steps.size();
    while (steps.size() < begun + length) {
        steps.push_back(make(pick(choices_)));
        fillMeanwhile(steps.back());
    }
    return steps;
}

void ScheduleGenerator::beginWithAServer(std::vector<ScheduleStep>& steps) {
    const auto take = [&](Act act) -> ScheduleStep& {
        if (oneIn(6)) {
            steps.push_back(make(pick(choices_)));
        }
        steps.push_back(make(act));
        return steps.back();
    };
    const auto name = [&](const wchar_t* server) {
        ScheduleStep& step = take(Act::Store);
        step.key = L"TFTPPrimaryServer";
        step.text = server;
        step.onDispatcher = true;
    };
    name(L"alpha.example");
    take(Act::SourceOn);
    take(Act::EndTransfer);
    take(Act::RunDispatcher);
    if (oneIn(2)) {
        name(L"beta.example");
        take(Act::RunPool);
        take(Act::EndTransfer);
        take(Act::RunDispatcher);
    }
}

ScheduleStep ScheduleGenerator::make(ScheduleAct act) {
    ScheduleStep step;
    step.act = act;
    step.onDispatcher = oneIn(3);
    step.key = anyOf(keys_);
    step.text = anyOf(VALUES);
    fill(step);
    return step;
}

void ScheduleGenerator::fill(ScheduleStep& step) {
    switch (step.act) {
    case Act::Store:
    case Act::Erase:
        fillAssignment(step);
        break;
    case Act::StoreMap:
        for (std::size_t count = below(4); count > 0; --count) {
            step.values[anyOf(keys_)] = anyOf(VALUES);
        }
        break;
    case Act::TakeLink:
        step.text = anyOf(LINKS);
        break;
    case Act::Watch:
        fillWatch(step);
        break;
    case Act::AddStore:
        step.store = anyStore();
        break;
    case Act::RemoveStore:
        step.store = anyStore();
        step.store.name = oneIn(3) ? "TFTPConfigStore" : step.store.name;
        break;
    case Act::EndTransfer:
        fillTransfer(step);
        break;
    case Act::AnswerVersion:
        // Mostly one that lets a transfer begin.
        step.index = oneIn(3) ? below(versionAnswers().size()) : 1 + below(3);
        break;
    case Act::FillDisk:
        step.index = anyOf(FULL_FROM);
        break;
    default:
        step.index = below(4);
        break;
    }
}

void ScheduleGenerator::fillAssignment(ScheduleStep& step) {
    if (oneIn(3)) {
        step.key = anyOf(SERVER_KEYS);
        step.text = step.key == L"configurationfile" ? anyOf(SERVER_FILES) : anyOf(SERVERS);
    }
}

void ScheduleGenerator::fillTransfer(ScheduleStep& step) {
    step.index = below(3);
    step.document = below(downloadDocuments().size());
    step.result = oneIn(4) ? 1 + static_cast<int>(below(3)) : 0;
}

void ScheduleGenerator::fillWatch(ScheduleStep& step) {
    watched_.push_back(step.key);
    step.watcher = static_cast<int>(watched_.size());
}

ModelStore ScheduleGenerator::anyStore() {
    static const std::vector<std::string> names = {"Alpha", "ALPHA", "Beta", "RemoteStore", "RemoteStore"};
    ModelStore store;
    store.name = anyOf(names);
    store.priority = anyOf(PRIORITIES);
    store.cached = store.name == "RemoteStore";
    store.readOnly = store.cached || !oneIn(3);
    store.local = oneIn(3);
    store.refusesWrites = oneIn(6);
    for (std::size_t count = below(5); count > 0; --count) {
        store.put(anyOf(keys_), anyOf(VALUES));
    }
    return store;
}

void ScheduleGenerator::fillMeanwhile(ScheduleStep& step) {
    static const std::vector<Choice> choices = {{Act::Store, 4},        {Act::StoreMap, 1},   {Act::StoreInMemory, 2},
                                                {Act::Erase, 2},        {Act::RunPersist, 2}, {Act::RunDispatcher, 4},
                                                {Act::MarkSensitive, 1}};
    const bool mayWait = step.act == Act::SourceOn || step.act == Act::RunPool || step.act == Act::EndTransfer ||
                         step.act == Act::Start || step.act == Act::Stop;
    for (std::size_t count = mayWait ? below(4) : 0; count > 0; --count) {
        step.meanwhile.push_back(make(pick(choices)));
        // A thread of its own.
        step.meanwhile.back().onDispatcher = false;
    }
}

}  // namespace simulation
