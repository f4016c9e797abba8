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

void putAll(ModelStore& store, const FileEntries& entries) {
    for (const auto& [key, text] : entries) {
        store.put(std::wstring(key.begin(), key.end()), std::wstring(text.begin(), text.end()));
    }
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
const wchar_t* const ScheduleModel::copiesKey = L"PrimaryConfigStores";

ScheduleModel::ScheduleModel()
    : user(storeNamed("LocalFileConfigStore")),
      memory(storeNamed("InMemoryConfigStore")),
      provisioning(storeNamed("UrlProvisioningConfigStore")),
      defaults(storeNamed("corvid-config-defaults.xml")) {
    defaults->put(L"Theme", L"plain");
    defaults->put(L"Ringer", L"soft");
    beginMarks();
}

void ScheduleModel::beginMarks() {
    sensitive.clear();
    for (const wchar_t* const key : {L"Addtional_Info", L"ConnectionPassword", L"ConnectionUsername",
                                     L"BDIConnectionPassword", L"BDIConnectionUsername", L"BDIConnectionUserDn"}) {
        markSensitive(key);
    }
}

bool ScheduleModel::isSensitive(const std::wstring& key) const {
    const auto isMarked = [this](const std::wstring* name) {
        return name != nullptr && sensitive.count(folded(*name)) != 0;
    };
    return isMarked(&key) || isMarked(ChainOracle::currentNameOf(key)) || isMarked(ChainOracle::oldNameOf(key));
}

void ScheduleModel::addCopies(const std::wstring& list) {
    for (std::size_t place = 0; place < list.size();) {
        const std::size_t colon = list.find(L':', place);
        const std::size_t end = list.find(L';', colon);
        const auto copy = std::make_shared<ModelStore>();
        copy->name = copyOf(narrow(list.substr(place, colon - place)));
        copy->priority = std::stoi(list.substr(colon + 1, end - colon - 1));
        copy->readOnly = true;
        copy->local = true;
        if (const auto file = copies.find(copy->name); file != copies.end()) {
            putAll(*copy, file->second);
        }
        cached[folded(copy->name)] = copy;
        place = end + 1;
    }
}

void ScheduleModel::readLinkFile() {
    provisioning->entries.clear();
    if (const auto file = copies.find(linkFile); file != copies.end()) {
        putAll(*provisioning, file->second);
    }
    linkUnwritten = false;
}

void ScheduleModel::dropOutside(bool localToo) {
    std::erase_if(outside, [&](const auto& entry) { return localToo || !entry.second->local; });
}

void ScheduleModel::boot() {
    user->entries.clear();
    putAll(*user, userFile);
    memory->entries.clear();
    outside.clear();
    cached.clear();
    beginMarks();
    readLinkFile();
    const auto list = user->entries.find(folded(copiesKey));
    addCopies(list == user->entries.end() ? std::wstring() : list->second.text);
    started = usersFilesIn = hearsOfHost = true;
    userDestroyed = sourceOn = serverIn = writeFailed = false;
    lastProfile.clear();
}

void ScheduleModel::stop() {
    if (started) {
        started = usersFilesIn = hearsOfHost = sourceOn = serverIn = false;
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
    cached.clear();
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
    for (const auto* const stores : {&outside, &cached}) {
        for (const auto& [name, store] : *stores) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void ReportModel::take(const ChainCall& call, bool onDispatcher) {
    if (onDispatcher && call.kind == ChainCall::Kind::Sensitive) {
        return;
    }
    waiting_.push_back(call);
    if (!onDispatcher) {
        ++tasks_;
        return;
    }
    while (!waiting_.empty()) {
        bringOldest();
    }
}

void ReportModel::bringOldest() {
    const ChainCall oldest = waiting_.front();
    waiting_.pop_front();
    // Live objects do not know which keys are marked.
    if (oldest.kind != ChainCall::Kind::Sensitive) {
        live_.take(oldest);
    }
}

bool ReportModel::isReport(const std::string& taskName) {
    return taskName == "ConfigServiceImpl::OnConfigChanged" || taskName == "ConfigServiceImpl::FireIfRequired";
}

void ReportModel::beginTask(const std::string& name) {
    if (!isReport(name) || tasks_ == 0) {
        return;
    }
    --tasks_;
    if (!waiting_.empty()) {
        bringOldest();
    }
}

}  // namespace simulation
