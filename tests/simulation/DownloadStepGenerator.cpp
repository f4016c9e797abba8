#include "DownloadStepGenerator.h"

#include <array>
#include <utility>

#include "DownloadScripts.h"
#include "ModelTypes.h"

namespace simulation {

namespace {

using Kind = DownloadStepKind;

const std::vector<std::wstring> ADDRESSES = {
    L"", L"alpha.example", L"alpha.example", L"ALPHA.example", L"beta.example", L"Beta.Example", L"gamma.example"};
const std::vector<std::wstring> FILES = {L"", L"corvid-config.xml", L"corvid-config.xml", L"Corvid-Config.xml",
                                         L"group.xml"};
const std::vector<std::wstring> DETAIL_KEYS = {L"TFTPPrimaryServer", L"TFTPBackupServer1", L"TFTPBackupServer2",
                                               L"configurationfile", L"tftpprimaryserver", L"ConfigurationFile"};
const std::vector<std::wstring> VERSIONS = {L"", L"10", L"10.5.2", L"11.5", L"11", L"12.5", L"eleven", L"."};
const std::vector<std::wstring> DEVICE_SERVERS = {L"", L"", L"hub1.example", L"hub2.example", L"alpha.example"};
const std::vector<std::string> ASKED_SERVERS = {"alpha.example", "beta.example", "hub1.example", "hub2.example"};

constexpr std::array<std::pair<Kind, unsigned>, 20> WEIGHTS = {{
    {Kind::Announce, 24},       {Kind::RunTask, 16},      {Kind::Complete, 24},
    {Kind::RunDispatcher, 9},   {Kind::Force, 6},         {Kind::Forget, 2},
    {Kind::StoreVersion, 5},    {Kind::AnswerVersion, 5}, {Kind::NameDeviceServers, 3},
    {Kind::RefuseInMemory, 1},  {Kind::Observe, 4},       {Kind::Unobserve, 1},
    {Kind::AskValue, 2},        {Kind::StoreValue, 2},    {Kind::RemoveValue, 2},
    {Kind::RemoveAllValues, 1}, {Kind::PersistValues, 1}, {Kind::WaitForStore, 2},
    {Kind::SwitchFips, 1},      {Kind::SwitchDebug, 1},
}};

constexpr unsigned totalWeight() {
    unsigned total = 0;
    for (const auto& [kind, weight] : WEIGHTS) {
        total += weight;
    }
    return total;
}

/// The address with its first letter in the other case.
std::wstring inOtherCase(std::wstring address) {
    if (!address.empty()) {
        const wchar_t first = address.front();
        address.front() = static_cast<wchar_t>(first >= L'a' ? first - L'a' + L'A' : first - L'A' + L'a');
    }
    return address;
}

}  // namespace

DownloadStepGenerator::DownloadStepGenerator(std::uint64_t seed) : engine_(seed) {
    if (!oneIn(3)) {
        start_ = {anyOf(ADDRESSES), anyOf(ADDRESSES), anyOf(ADDRESSES), L"corvid-config.xml"};
    }
    details_ = start_;
}

const std::vector<std::wstring>& DownloadStepGenerator::keys() {
    static const std::vector<std::wstring> keys = {L"bdiconnectionpassword",
                                                   L"CertificateValidationEnabled",
                                                   L"connectionpassword",
                                                   L"Meetings_Enabled",
                                                   L"ringer",
                                                   L"Telephony_P2P_Enabled",
                                                   L"THEME"};
    return keys;
}

std::vector<DownloadStep> DownloadStepGenerator::sequence(std::size_t length) {
    std::vector<DownloadStep> steps;
    // Without an observer and a version there is little to see.
    if (!oneIn(4)) {
        steps.push_back(make(Kind::Observe));
    }
    if (oneIn(2)) {
        steps.push_back(make(Kind::StoreVersion));
    }
    while (steps.size() < length) {
        steps.push_back(next());
    }
    return steps;
}

DownloadStep DownloadStepGenerator::next() { return make(anyKind()); }

DownloadStepKind DownloadStepGenerator::anyKind() {
    std::size_t place = below(totalWeight());
    for (const auto& [kind, weight] : WEIGHTS) {
        if (place < weight) {
            return kind;
        }
        place -= weight;
    }
    return Kind::RunTask;
}

void DownloadStepGenerator::changeDetails() {
    const std::array<std::wstring*, 3> servers = {&details_.server1, &details_.server2, &details_.server3};
    std::wstring& server = *anyOf(servers);
    switch (below(8)) {
    case 0:
        break;
    case 1:
        server = inOtherCase(server);
        break;
    case 2:
        server = *anyOf(servers);
        break;
    case 3:
        details_.file = anyOf(FILES);
        break;
    case 4:
        details_ = {{}, {}, {}, anyOf(FILES)};
        break;
    default:
        server = anyOf(ADDRESSES);
        break;
    }
}

DownloadStep DownloadStepGenerator::announcement() {
    changeDetails();
    DownloadStep step;
    step.kind = Kind::Announce;
    step.details = details_;
    step.key = oneIn(12) ? L"ringer" : anyOf(DETAIL_KEYS);
    step.text = oneIn(12) ? (oneIn(2) ? L"TFTPConfigStore" : L"tftpConfigSTORE") : L"LocalFileConfigStore";
    return step;
}

DownloadStep DownloadStepGenerator::completion() {
    DownloadStep step;
    step.kind = Kind::Complete;
    step.index = below(3);
    step.document = below(downloadDocuments().size());
    step.result = oneIn(5) ? 2 : oneIn(3) ? static_cast<int>(1 + below(13)) : 0;
    step.on = oneIn(5);
    return step;
}

DownloadStep DownloadStepGenerator::observation() {
    static constexpr std::array<Kind, 10> REACTIONS = {
        Kind::Announce,    Kind::Announce,     Kind::Force,  Kind::AskValue, Kind::StoreValue,
        Kind::RemoveValue, Kind::WaitForStore, Kind::Forget, Kind::Observe,  Kind::Unobserve};
    DownloadStep step;
    step.kind = Kind::Observe;
    step.observer = static_cast<int>(below(3));
    for (std::size_t count = oneIn(2) ? below(4) : 0; count > 0; --count) {
        step.reactions.push_back(make(anyOf(REACTIONS)));
    }
    return step;
}

DownloadStep DownloadStepGenerator::make(DownloadStepKind kind) {
    DownloadStep step;
    step.kind = kind;
    switch (kind) {
    case Kind::Announce:
        return announcement();
    case Kind::Complete:
        return completion();
    case Kind::Observe:
        return observation();
    case Kind::RunTask:
        step.index = below(4);
        break;
    case Kind::StoreVersion:
        step.text = anyOf(VERSIONS);
        break;
    case Kind::AnswerVersion:
        step.address = anyOf(ASKED_SERVERS);
        step.index = oneIn(2) ? 1 + below(3) : below(versionAnswers().size());
        break;
    case Kind::NameDeviceServers:
        step.details = {anyOf(DEVICE_SERVERS), anyOf(DEVICE_SERVERS), anyOf(DEVICE_SERVERS), {}};
        break;
    case Kind::Unobserve:
        step.observer = static_cast<int>(below(3));
        break;
    case Kind::AskValue:
    case Kind::StoreValue:
    case Kind::RemoveValue:
        step.key = anyOf(keys());
        step.text = L"stored";
        break;
    case Kind::RefuseInMemory:
    case Kind::SwitchFips:
    case Kind::SwitchDebug:
        step.on = oneIn(2);
        break;
    default:
        break;
    }
    return step;
}

}  // namespace simulation
