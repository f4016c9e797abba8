#include "ScheduleModel.h"

#include <algorithm>
#include <limits>

#include "SimulatedModule.h"

namespace simulation {

namespace {

std::string narrow(const std::wstring& ascii) {
    std::string text;
    for (const wchar_t unit : ascii) {
        text += static_cast<char>(unit);
    }
    return text;
}

ScheduleModel::StorePtr storeNamed(const std::string& name) {
    for (const ModelStore& store : storesAfterStart()) {
        if (store.name == name) {
            return std::make_shared<ModelStore>(store);
        }
    }
    return nullptr;
}

}  // namespace

FileEntries asFileEntries(const ModelStore& store) {
    FileEntries entries;
    for (const auto& [key, entry] : store.entries) {
        entries[narrow(key)] = narrow(entry.text);
    }
    return entries;
}

const char* const ScheduleModel::linkFile = "cachedUrlProvisioningConfigStore.xml";
const char* const ScheduleModel::serverStore = "TFTPConfigStore";

ScheduleModel::ScheduleModel()
    : user(storeNamed("LocalFileConfigStore")),
      memory(storeNamed("InMemoryConfigStore")),
      provisioning(storeNamed("UrlProvisioningConfigStore")),
      defaults(storeNamed("corvid-config-defaults.xml")) {
    defaults->put(L"Theme", L"plain");
    defaults->put(L"Ringer", L"soft");
}

void ScheduleModel::readLinkFile() {
    provisioning->entries.clear();
    if (const auto file = copies.find(linkFile); file != copies.end()) {
        for (const auto& [key, text] : file->second) {
            provisioning->put(std::wstring(key.begin(), key.end()), std::wstring(text.begin(), text.end()));
        }
    }
    linkUnwritten = false;
}

void ScheduleModel::dropOutside(bool localToo) {
    std::erase_if(outside, [&](const auto& entry) { return localToo || !entry.second->local; });
}

void ScheduleModel::boot() {
    user->entries.clear();
    for (const auto& [key, text] : userFile) {
        user->put(std::wstring(key.begin(), key.end()), std::wstring(text.begin(), text.end()));
    }
    memory->entries.clear();
    outside.clear();
    readLinkFile();
    started = usersFilesIn = hearsOfPower = true;
    userDestroyed = sourceOn = serverIn = writeFailed = false;
}

void ScheduleModel::stop() {
    if (started) {
        started = usersFilesIn = hearsOfPower = sourceOn = serverIn = false;
        dropOutside(false);
    }
}

void ScheduleModel::refresh() {
    dropOutside(false);
    memory->entries.clear();
    usersFilesIn = true;
    userDestroyed = sourceOn = serverIn = false;
    if (!linkUnwritten) {
        readLinkFile();
    }
}

void ScheduleModel::resetData() {
    dropOutside(true);
    user->entries.clear();
    userFile.clear();
    writeFailed = false;
    std::erase_if(copies, [](const auto& copy) { return copy.first != linkFile; });
    refresh();
}

std::vector<std::string> ScheduleModel::members() const {
    std::vector<std::string> names = {folded(memory->name), folded(provisioning->name), folded(defaults->name),
                                      "bootstrapconfigstore"};
    if (usersFilesIn) {
        names.insert(names.end(), {folded(user->name), "tftpoverrideconfigstore"});
    }
    if (serverIn) {
        names.emplace_back("tftpconfigstore");
    }
    for (const auto& [name, store] : outside) {
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void ReportModel::take(const ChainCall& call, bool onDispatcher) {
    const bool isReport = call.kind != ChainCall::Kind::Sensitive;
    if (isReport) {
        waiting_.push_back(call);
    }
    if (!onDispatcher) {
        tasks_.push_back(isReport);
        return;
    }
    while (isReport && !waiting_.empty()) {
        const ChainCall oldest = waiting_.front();
        waiting_.pop_front();
        live_.take(oldest);
    }
}

bool ReportModel::isReport(const std::string& taskName) {
    return taskName == "ConfigServiceImpl::OnConfigChanged" || taskName == "ConfigServiceImpl::FireIfRequired";
}

void ReportModel::beginTask(const std::string& name) {
    if (!isReport(name) || tasks_.empty()) {
        return;
    }
    const bool bringsReport = tasks_.front();
    tasks_.pop_front();
    if (bringsReport && !waiting_.empty()) {
        const ChainCall oldest = waiting_.front();
        waiting_.pop_front();
        live_.take(oldest);
    }
}

}  // namespace simulation
