#include "ScheduledWorld.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "ConfigValueObserver.h"
#include "DownloadScripts.h"
#include "ListDifference.h"
#include "SimulatedModule.h"
#include "SimulatedStore.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "remote/DownloadJournal.h"
#include "remote/TftpConfigStore.h"

namespace simulation {

namespace {

using Act = ScheduleAct;

const char* const SERVER_STORE = "TFTPConfigStore";

/// Whether a step may write the user's file by itself.
bool mayWrite(Act act) {
    return act == Act::RunPersist || act == Act::PersistWithoutDescriptors || act == Act::Start ||
           act == Act::Refresh || act == Act::ResetData || act == Act::PowerDown;
}

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

std::string copyOf(const std::string& storeName) { return "cached" + storeName + ".xml"; }

}  // namespace

class ScheduledWorld::Recorder final : public ConfigStoreManager_Observer {
public:
    explicit Recorder(ScheduledWorld& world) : world_(world) {}

    void onFireIfRequired(std::wstring key) override { take(ChainCall::Kind::Fire, key); }
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override { take(ChainCall::Kind::Sensitive, key); }
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override {
        world_.onCall({ChainCall::Kind::Changed,
                       {std::move(key), std::move(value), std::move(originalValue), isOverridden, isDefined,
                        std::move(valueStoreName), std::move(originalValueStoreName), silent}});
    }

private:
    void take(ChainCall::Kind kind, const std::wstring& key) {
        ChainCall call{kind, {}};
        call.report.key = key;
        world_.onCall(call);
    }

    ScheduledWorld& world_;
};

class ScheduledWorld::Listener final : public ConfigValueObserver {
public:
    Listener(ScheduledWorld& world, int number, std::shared_ptr<ConfigValue> value)
        : world_(world), number_(number), value_(std::move(value)) {}

    void OnValueChanged() override { hear(Property::Value); }
    void OnOriginalValueChanged() override { hear(Property::OriginalValue); }
    void OnisOverriddenChanged() override { hear(Property::isOverridden); }
    void OnisDefinedChanged() override { hear(Property::isDefined); }
    void OnValueStoreNameChanged() override { hear(Property::ValueStoreName); }
    void OnOriginalValueStoreNameChanged() override { hear(Property::OriginalValueStoreName); }

private:
    void hear(Property property) { world_.onHeard(number_, property, *value_); }

    ScheduledWorld& world_;
    const int number_;
    const std::shared_ptr<ConfigValue> value_;
};

class ScheduledWorld::DownloadListener final : public TftpConfigStoreObserver {
public:
    DownloadListener(ScheduledWorld& world, const std::shared_ptr<TftpConfigStore>& store)
        : world_(world), store_(store) {
        store->addObserver(this);
    }

    bool listensTo(const std::shared_ptr<TftpConfigStore>& store) const { return store_.lock() == store; }

    void onTftpConfigDownloaded(std::vector<std::wstring> keys) override {
        world_.onDownload(store_.lock(), keys.empty());
    }

private:
    ScheduledWorld& world_;
    const std::weak_ptr<TftpConfigStore> store_;
};

ScheduledWorld::ScheduledWorld(ScheduleTally& tally)
    : tally_(tally),
      host_({[this] { onInjected(); }, [this] { host_.manager().RemoveObserver(recorder_.get()); },
             [this](const std::string& name) { reports_->beginTask(name); }, [this] { takeMeanwhile(); },
             [this](const std::string&) { return versionAnswers().at(versionAnswer_).body; }}),
      oracle_([this](const ChainCall& call) { expectedCalls_.push_back(call); }),
      judge_([](const ChainCall&) {}) {
    host_.start();
}

ScheduledWorld::~ScheduledWorld() { host_.drop(); }

void ScheduledWorld::complain(const std::string& text) {
    if (!complaint_) {
        complaint_ = text;
    }
}

std::optional<std::string> ScheduledWorld::apply(const ScheduleStep& step) {
    const FileEntries userBefore = mayWrite(step.act) ? model_.userEntries() : FileEntries();
    mayHaveWritten_ = mayHaveCopied_ = downloaded_ = false;
    disturbed_ = host_.disk().isThere();
    try {
        perform(step);
        checkAfter(step, userBefore);
    } catch (const std::exception& exception) {
        complain(std::string("an exception: ") + exception.what());
    }
    return complaint_;
}

void ScheduledWorld::perform(const ScheduleStep& step) {
    const bool former = host_.dispatcher().checkForUpdateAccess();
    host_.dispatcher().setOnDispatcher(step.onDispatcher);
    std::vector<ScheduleStep> formerMeanwhile = std::exchange(meanwhile_, step.meanwhile);
    if (step.act <= Act::EndTransfer || step.act >= Act::AnswerVersion) {
        performByThread(step);
    } else if (step.act <= Act::Ask) {
        performByClient(step);
    } else {
        performByHost(step);
    }
    meanwhile_ = std::move(formerMeanwhile);
    host_.dispatcher().setOnDispatcher(former);
    takeOverWhatTheModuleWrites();
    if (std::exchange(joined_, false)) {
        applyPolicies();
    }
}

void ScheduledWorld::takeMeanwhile() {
    for (const ScheduleStep& step : std::exchange(meanwhile_, {})) {
        // A dispatcher thread that waits runs nothing.
        if (step.act == Act::RunDispatcher && host_.dispatcher().checkForUpdateAccess()) {
            continue;
        }
        ++tally_["steps while another one waited"];
        const FileEntries userBefore = model_.userEntries();
        perform(step);
        checkHeard();
        checkStores();
        if (mayWrite(step.act)) {
            checkUserFile(userBefore);
        }
    }
}

void ScheduledWorld::performByThread(const ScheduleStep& step) {
    host_.dispatcher().setOnDispatcher(false);
    switch (step.act) {
    case Act::RunDispatcher:
        host_.dispatcher().runOne();
        break;
    case Act::RunPool:
        if (const std::size_t waiting = host_.pool().waiting(); waiting > 0) {
            host_.pool().runOne(step.index % waiting);
        }
        break;
    case Act::PersistWithoutDescriptors:
        if (!host_.disk().isThere()) {
            disturbed_ = mayHaveWritten_ = true;
            host_.disk().exhaustDescriptors();
            host_.persistence().runOne();
            host_.disk().lift();
        }
        break;
    case Act::RunPersist:
        mayHaveWritten_ = true;
        host_.persistence().runOne();
        break;
    case Act::EndTransfer:
        endTransfer(step);
        break;
    case Act::AnswerVersion:
        versionAnswer_ = step.index;
        break;
    case Act::FillDisk:
        host_.disk().fill(step.index);
        break;
    default:
        host_.disk().lift();
        break;
    }
}

void ScheduledWorld::endTransfer(const ScheduleStep& step) {
    const auto running = host_.transport().running();
    if (!running.empty()) {
        host_.transport().complete(running[step.index % running.size()].number,
                                   downloadDocuments().at(step.document).text,
                                   static_cast<fakes::ScriptedHttpTransport::Result>(step.result));
    }
}

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

void ScheduledWorld::noteSilentWrite(const std::wstring& key) {
    const std::wstring* const current = ChainOracle::currentNameOf(key);
    const bool isTold = current != nullptr && std::any_of(calls_.begin(), calls_.end(), [&](const ChainCall& call) {
                            return folded(call.report.key) == folded(*current);
                        });
    if (!isTold) {
        noteSilence(key);
    }
}

void ScheduledWorld::noteSilence(const std::wstring& key) {
    // The chain says nothing of an old name while a store holds the current one.
    if (const std::wstring* const current = ChainOracle::currentNameOf(key)) {
        silenced_.insert(folded(*current));
    }
}

void ScheduledWorld::applyPolicies() {
    takeOverWhatTheModuleWrites();
    oracle_.adopt(mirror());
    expectedCalls_.clear();
    const std::size_t before = oracle_.persistTasks();
    oracle_.applyPolicies();
    if (oracle_.persistTasks() != before) {
        ++tally_["values that a policy took from the user"];
        calls_ = expectedCalls_;
        noteSilentWrite(L"CtiServer1");
        noteSilentWrite(L"HubcipServer1");
    }
}

void ScheduledWorld::watch(const ScheduleStep& step) {
    const std::shared_ptr<ConfigValue> value = host_.service().getConfig(step.key);
    live_->watch(step.key, step.watcher);
    listeners_.push_back(std::make_shared<Listener>(*this, step.watcher, value));
    value->addObserver(std::weak_ptr<ConfigValueObserver>(listeners_.back()));
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
    keepCopy(ScheduleModel::linkFile, taken);
    checkCopies();
    const auto file = model_.copies.find(ScheduleModel::linkFile);
    model_.linkUnwritten = file == model_.copies.end() || file->second != asFileEntries(taken);
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
        host_.adapter().StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        model_.stop();
        break;
    case Act::Destroy:
        host_.adapter().Destroy();
        destroy();
        break;
    case Act::Refresh:
        mayHaveWritten_ = true;
        host_.featureSet().refreshConfigFeatureSet();
        model_.refresh();
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
        keepCopy(copyOf(description.name), description);
    }
}

void ScheduledWorld::removeStore(const std::string& name) {
    bool expected = false;
    if (model_.started) {
        const auto chain = mirror();
        const auto holds = [&](const std::string& sought) {
            return std::any_of(chain.begin(), chain.end(),
                               [&](const auto& store) { return folded(store->name) == folded(sought); });
        };
        const bool isCached = name == SERVER_STORE || name == "RemoteStore";
        expected = holds(name) || holds(copyOf(name));
        if (isCached && expected) {
            model_.copies.erase(copyOf(name));
        }
        model_.outside.erase(folded(name));
        model_.serverIn = model_.serverIn && name != SERVER_STORE;
    }
    if (host_.featureSet().removeConfigStore(name) != expected) {
        complain(std::string("answer: expected ") + (expected ? "true" : "false"));
    }
}

void ScheduledWorld::removeCopies() {
    host_.featureSet().removeAllCachedConfigStores();
    // A file that is gone is another one than the one that a link could not replace.
    model_.linkUnwritten = model_.linkUnwritten && model_.copies.count(ScheduleModel::linkFile) == 0;
    model_.copies.clear();
}

void ScheduledWorld::start() {
    mayHaveWritten_ = true;
    host_.adapter().StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    if (!model_.started) {
        model_.started = model_.usersFilesIn = model_.hearsOfPower = true;
        model_.userDestroyed = false;
        model_.memory->entries.clear();
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
    host_.monitor().report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
    if (model_.hearsOfPower) {
        destroy();
    }
}

void ScheduledWorld::switchSourceOn() {
    host_.featureSet().startTftpConfigSource();
    model_.sourceOn = true;
    const std::shared_ptr<TftpConfigStore> store = host_.adapter().getTftpConfigStore();
    if (store == nullptr) {
        complain("there is no store of the server's file although the source is on");
    } else if (downloadListeners_.empty() || !downloadListeners_.back()->listensTo(store)) {
        downloadListeners_.push_back(std::make_unique<DownloadListener>(*this, store));
    }
}

void ScheduledWorld::startAnew(bool shutDown) {
    if (shutDown) {
        host_.shutDown();
        checkUserFile(model_.userEntries());
    }
    ++tally_["processes that went on with another's files"];
    if (const auto text = host_.drop()) {
        complain(*text);
    }
    model_.boot();
    host_.start();
    if (const std::string name = strangeFile(host_.configDirectory()); !name.empty()) {
        complain("a process that starts leaves this file: " + name);
    }
    const FileEntries userBefore = model_.userEntries();
    applyPolicies();
    checkUserFile(userBefore);
}

void ScheduledWorld::onInjected() {
    recorder_ = std::make_unique<Recorder>(*this);
    host_.manager().AddObserver(recorder_.get());
    live_ = std::make_unique<LiveOracle>();
    reports_ = std::make_unique<ReportModel>(*live_);
    listeners_.clear();
    downloadListeners_.clear();
    heard_.clear();
    heardSoFar_ = 0;
    silenced_.clear();
    remembered_.clear();
    const auto values = host_.service().getAllConfig();
    for (const auto& value : *values) {
        live_->adopt(stateOf(*value));
    }
}

void ScheduledWorld::onCall(const ChainCall& call) {
    calls_.push_back(call);
    reports_->take(call, host_.dispatcher().checkForUpdateAccess());
    if (call.kind == ChainCall::Kind::Changed) {
        silenced_.erase(folded(call.report.key));
        checkReport(call.report);
    }
}

void ScheduledWorld::onDownload(const std::shared_ptr<TftpConfigStore>& store, bool isFirst) {
    if (!model_.sourceOn || !model_.started || store != host_.adapter().getTftpConfigStore()) {
        return;
    }
    ++tally_["files of the server that joined or changed"];
    model_.serverIn = model_.serverIn || isFirst;
    joined_ = joined_ || isFirst;
    downloaded_ = true;
    keepCopy(copyOf(SERVER_STORE), picture(*store));
}

void ScheduledWorld::onHeard(int watcher, Property property, const ConfigValue& value) {
    heard_.push_back({watcher, property, stateOf(value)});
}

ModelStore ScheduledWorld::picture(ConfigStore& store) const {
    ModelStore picture;
    picture.name = store.getName();
    picture.priority = store.getPriority();
    picture.readOnly = store.isReadOnly();
    picture.local = store.isLocal();
    for (const std::wstring& key : store.getKeys()) {
        std::wstring text;
        if (store.getValue(key, text)) {
            picture.put(key, text);
        }
    }
    return picture;
}

std::vector<ChainOracle::StorePtr> ScheduledWorld::mirror() {
    std::vector<ChainOracle::StorePtr> chain;
    for (const auto& store : host_.manager().getStores()) {
        const std::string name = folded(store->getName());
        if (const auto outside = model_.outside.find(name); outside != model_.outside.end()) {
            chain.push_back(outside->second);
            continue;
        }
        ChainOracle::StorePtr known;
        for (const auto& own : {model_.user, model_.memory, model_.provisioning, model_.defaults}) {
            known = folded(own->name) == name ? own : known;
        }
        chain.push_back(known != nullptr ? known : std::make_shared<ModelStore>(picture(*store)));
    }
    return chain;
}

void ScheduledWorld::takeOver(ModelStore& store, const std::vector<std::wstring>& keys) {
    const auto actual = host_.manager().findStore(store.name);
    for (const std::wstring& key : keys) {
        std::wstring text;
        if (actual != nullptr && actual->getValue(key, text)) {
            store.put(key, text);
        } else if (actual != nullptr) {
            store.entries.erase(folded(key));
        }
    }
}

void ScheduledWorld::takeOverWhatTheModuleWrites() {
    static const std::vector<std::wstring> users = {L"PrimaryConfigStores"};
    static const std::vector<std::wstring> memorys = {L"Telephony_Enabled", L"Voicemail_Enabled", L"Meetings_Enabled",
                                                      L"HomeUdsVersion"};
    takeOver(*model_.user, users);
    takeOver(*model_.memory, memorys);
    for (const auto& [name, store] : model_.outside) {
        if (!store->readOnly) {
            takeOver(*store, users);
        }
    }
}

void ScheduledWorld::keepCopy(const std::string& name, const ModelStore& store) {
    ModelStore kept = store;
    std::erase_if(kept.entries, [&](const auto& entry) {
        return name != ScheduleModel::linkFile && host_.manager().isKeySensitive(entry.first);
    });
    // On a full disk it may be the former file that is still there.
    mayHaveCopied_ = true;
    (disturbed_ ? perhaps_ : model_.copies)[name] = asFileEntries(kept);
}

}  // namespace simulation
