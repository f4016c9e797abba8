// What clients and the host do in a scheduled world, to the module and to its model.

#include <algorithm>
#include <utility>

#include "ConfigValueObserver.h"
#include "InjectConfigService.h"
#include "ListDifference.h"
#include "ScheduledWorld.h"
#include "SimulatedStore.h"
#include "remote/TftpConfigStore.h"

namespace simulation {

namespace {

using Act = ScheduleAct;

const wchar_t* const PROFILE_KEY = L"LastLoadedUserProfile";

/// What a link sets, of the keys that the links of these schedules name.
ModelEntries entriesOfLink(const std::wstring& link) {
    static const std::vector<std::wstring> known = {L"servicesdomain", L"meetings_enabled", L"telephony_enabled"};
    ModelStore taken;
    for (std::size_t place = link.find(L'?'); place < link.size();) {
        const std::size_t equals = link.find(L'=', place);
        const std::size_t end = std::min(link.size(), link.find(L'&', equals));
        const std::wstring key = link.substr(place + 1, equals - place - 1);
        if (std::find(known.begin(), known.end(), folded(key)) != known.end()) {
            taken.put(key, link.substr(equals + 1, end - equals - 1));
        }
        place = end;
    }
    return taken.entries;
}

}  // namespace

void ScheduledWorld::performByClient(const ScheduleStep& step) {
    switch (step.act) {
    case Act::TakeLink:
        takeLink(step.text);
        break;
    case Act::AllowLinks:
        allowLinks();
        break;
    case Act::MarkSensitive:
        host_.featureSet().setKeySensitive(step.key);
        model_.markSensitive(step.key);
        break;
    case Act::Watch:
        host_.dispatcher().setOnDispatcher(true);
        watch(step);
        break;
    case Act::Ask:
        host_.dispatcher().setOnDispatcher(true);
        live_->ask(step.key);
        host_.service().getConfig(step.key);
        break;
    default:
        write(step);
        break;
    }
}

void ScheduledWorld::write(const ScheduleStep& step) {
    oracle_.adopt(mirror());
    expectedCalls_.clear();
    calls_.clear();
    bool expected = false;
    bool actual = false;
    switch (step.act) {
    case Act::Store:
        expected = oracle_.store(step.key, step.text);
        actual = host_.featureSet().setConfig(step.key, step.text);
        break;
    case Act::StoreMap:
        expected = oracle_.storeAll(step.values);
        actual = host_.featureSet().setConfig(step.values);
        break;
    case Act::StoreInMemory:
        expected = oracle_.storeInMemory(step.key, step.text);
        actual = host_.featureSet().setInMemoryConfig(step.key, step.text);
        break;
    default:
        expected = oracle_.erase(step.key);
        actual = host_.manager().eraseKey(step.key);
        break;
    }
    if (expected != actual) {
        complain(std::string("answer: expected ") + (expected ? "true" : "false"));
    }
    if (const auto text = differenceOf("call of the chain", expectedCalls_, calls_)) {
        complain(*text);
    }
    noteSilentWrite(step.key);
    for (const auto& [key, value] : step.values) {
        // Each of the stores that take it reports, and the one that tells the truth may have to be silent.
        noteSilence(key);
    }
}

void ScheduledWorld::watch(const ScheduleStep& step) {
    const std::shared_ptr<ConfigValue> value = host_.service().getConfig(step.key);
    live_->watch(step.key, step.watcher);
    listeners_.push_back(std::make_shared<PropertyWatcher>(
        value, [this, number = step.watcher](auto property, auto& changed) { onHeard(number, property, changed); }));
    value->addObserver(std::weak_ptr<ConfigValueObserver>(listeners_.back()));
}

void ScheduledWorld::expectAnotherTry() {
    mayHaveWritten_ = true;
    if (model_.linkUnwritten) {
        keepCopy(ScheduleModel::linkFile, *model_.provisioning);
    }
}

void ScheduledWorld::noteWhetherTheLinkIsWritten() {
    if (model_.linkUnwritten) {
        checkCopies();
        const auto file = model_.copies.find(ScheduleModel::linkFile);
        model_.linkUnwritten = file == model_.copies.end() || file->second != asFileEntries(*model_.provisioning);
    }
}

void ScheduledWorld::takeLink(const std::wstring& link) {
    oracle_.adopt(mirror());
    ModelStore taken = *model_.provisioning;
    taken.entries = entriesOfLink(link);
    const bool refused = folded(oracle_.lookUp(L"AllowUrlProvisioning", false).value) == L"false";
    const bool expected = !refused && !taken.entries.empty();
    if (host_.featureSet().setUrlProvisioningData(link) != expected) {
        complain(std::string("answer: expected ") + (expected ? "true" : "false"));
    }
    if (!expected) {
        return;
    }
    ++tally_["links taken"];
    model_.provisioning->entries = taken.entries;
    model_.linkUnwritten = true;
    keepCopy(ScheduleModel::linkFile, taken);
    noteWhetherTheLinkIsWritten();
    oracle_.adopt(mirror());
    oracle_.store(L"AllowUrlProvisioning", L"False");
}

void ScheduledWorld::allowLinks() {
    oracle_.adopt(mirror());
    const bool refused = folded(oracle_.lookUp(L"AllowUrlProvisioning", false).value) == L"false";
    const bool expected = refused && oracle_.erase(L"AllowUrlProvisioning");
    if (host_.featureSet().resetAllowUriProvisioningData() != expected) {
        complain(std::string("answer: expected ") + (expected ? "true" : "false"));
    }
}

void ScheduledWorld::performByHost(const ScheduleStep& step) {
    const bool wasStarted = model_.started;
    mayHaveCopied_ = true;
    switch (step.act) {
    case Act::AddStore:
        addStore(step.store);
        break;
    case Act::RemoveStore:
        removeStore(step.store.name);
        break;
    case Act::RemoveCopies:
        removeCopies();
        break;
    case Act::Start:
        start();
        break;
    case Act::Stop:
        if (model_.started) {
            expectAnotherTry();
        }
        host_.adapter().StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        noteWhetherTheLinkIsWritten();
        model_.stop();
        break;
    case Act::Destroy:
        expectAnotherTry();
        host_.adapter().Destroy();
        noteWhetherTheLinkIsWritten();
        destroy();
        break;
    case Act::Refresh:
        mayHaveWritten_ = true;
        host_.featureSet().refreshConfigFeatureSet();
        model_.refresh();
        model_.addCopies(listOfCopies());
        break;
    case Act::ResetData:
        ++tally_["data resets"];
        mayHaveWritten_ = true;
        host_.systemService().resetDataProvider()->invokeResetData();
        model_.resetData();
        break;
    case Act::PowerDown:
        powerDown();
        break;
    case Act::SourceOn:
        switchSourceOn();
        break;
    case Act::SourceOff:
        host_.featureSet().stopTftpConfigSource();
        model_.sourceOn = false;
        break;
    case Act::ChangeProfile:
        changeProfile(step);
        break;
    default:
        startAnew(step.act == Act::ShutDown);
        break;
    }
    const bool begins = step.act == Act::Start && !wasStarted;
    const bool adds = step.act == Act::AddStore && wasStarted;
    if (begins || adds || step.act == Act::Refresh || step.act == Act::ResetData) {
        applyPolicies();
    }
}

void ScheduledWorld::addStore(const ModelStore& description) {
    host_.featureSet().addConfigStore(std::make_shared<SimulatedStore>(description));
    if (!model_.started) {
        return;
    }
    model_.outside[folded(description.name)] = std::make_shared<ModelStore>(description);
    if (description.cached) {
        ++tally_["copies kept of other modules' stores"];
        keepCopy(ScheduleModel::copyOf(description.name), description);
        listCopy(description.name, description.priority + 200);
    }
}

bool ScheduledWorld::noteRemoval(const std::string& name) {
    const auto chain = mirror();
    const auto holds = [&](const std::string& sought) {
        return std::any_of(chain.begin(), chain.end(),
                           [&](const auto& store) { return folded(store->name) == folded(sought); });
    };
    const bool isCached = name == ScheduleModel::serverStore || name == "RemoteStore";
    const bool isThere = holds(name) || holds(ScheduleModel::copyOf(name));
    if (isCached && isThere) {
        model_.copies.erase(ScheduleModel::copyOf(name));
    }
    model_.outside.erase(folded(name));
    model_.cached.erase(folded(ScheduleModel::copyOf(name)));
    model_.serverIn = model_.serverIn && name != ScheduleModel::serverStore;
    return isThere;
}

void ScheduledWorld::removeStore(const std::string& name) {
    const bool expected = model_.started && noteRemoval(name);
    if (host_.featureSet().removeConfigStore(name) != expected) {
        complain(std::string("answer: expected ") + (expected ? "true" : "false"));
    }
    if (model_.started) {
        unlistCopy(name);
    }
}

void ScheduledWorld::removeCopies() {
    host_.featureSet().removeAllCachedConfigStores();
    // A file that is gone is another one than the one that a link could not replace.
    model_.linkUnwritten = model_.linkUnwritten && model_.copies.count(ScheduleModel::linkFile) == 0;
    // The store of a copy that has no file stays.
    std::erase_if(model_.cached, [this](const auto& copy) { return model_.copies.count(copy.second->name) != 0; });
    model_.copies.clear();
}

void ScheduledWorld::start() {
    mayHaveWritten_ = true;
    host_.adapter().StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    if (!model_.started) {
        model_.started = model_.usersFilesIn = model_.hearsOfHost = true;
        model_.userDestroyed = false;
        model_.memory->entries.clear();
        readProfile();
    }
}

void ScheduledWorld::readProfile() {
    oracle_.adopt(mirror());
    if (const ChainOracle::Answer profile = oracle_.lookUp(PROFILE_KEY, false); profile.found) {
        model_.lastProfile = profile.value;
    }
}

void ScheduledWorld::changeProfile(const ScheduleStep& step) {
    ScheduleStep stored = step;
    stored.act = Act::Store;
    stored.key = PROFILE_KEY;
    write(stored);
    oracle_.adopt(mirror());
    const std::wstring profile = oracle_.lookUp(PROFILE_KEY, false).value;
    bool removes = false;
    if (model_.hearsOfHost) {
        const std::wstring former = std::exchange(model_.lastProfile, profile);
        removes = model_.started && !former.empty() && former != profile;
    }
    if (removes && noteRemoval(ScheduleModel::serverStore)) {
        ++tally_["server's values that a changed profile took away"];
    }
    host_.systemService().userProfileChanged();
    if (removes) {
        unlistCopy(ScheduleModel::serverStore);
    }
}

void ScheduledWorld::destroy() {
    model_.userDestroyed = model_.userDestroyed || model_.usersFilesIn;
    model_.started = false;
}

void ScheduledWorld::powerDown() {
    mayHaveWritten_ = true;
    // As a host does: what is destroyed writes nothing any more, not even what is queued.
    host_.persistence().runAll();
    if (model_.hearsOfHost) {
        expectAnotherTry();
    }
    host_.monitor().report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
    if (model_.hearsOfHost) {
        noteWhetherTheLinkIsWritten();
        destroy();
    }
}

void ScheduledWorld::switchSourceOn() {
    const bool isNew = host_.adapter().getTftpConfigStore() == nullptr;
    host_.featureSet().startTftpConfigSource();
    model_.sourceOn = true;
    if (const std::shared_ptr<TftpConfigStore> store = host_.adapter().getTftpConfigStore()) {
        if (isNew) {
            served_[store.get()].clear();
        }
        noteTransfersOf(store);
        hearDownloadsOf(store);
    } else {
        complain("there is no store of the server's file although the source is on");
    }
}

void ScheduledWorld::startAnew(bool shutDown) {
    if (shutDown) {
        expectAnotherTry();
        host_.shutDown();
        noteWhetherTheLinkIsWritten();
        checkUserFile(model_.userEntries());
        checkUserFileAtTheEnd();
    }
    ++tally_["processes that went on with another's files"];
    if (const auto text = host_.drop()) {
        complain(*text);
    }
    model_.boot();
    host_.start();
    readProfile();
    if (const std::string name = strangeFile(host_.configDirectory()); !name.empty()) {
        complain("a process that starts leaves this file: " + name);
    }
    const FileEntries userBefore = model_.userEntries();
    applyPolicies();
    checkUserFile(userBefore);
}

}  // namespace simulation
