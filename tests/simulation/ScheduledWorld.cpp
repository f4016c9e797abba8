#include "ScheduledWorld.h"

#include <exception>
#include <utility>

#include "DownloadScripts.h"
#include "SimulatedModule.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "remote/TftpConfigStore.h"

namespace simulation {

namespace {

using Act = ScheduleAct;

/// Whether a step may write the user's file by itself.
bool mayWrite(Act act) {
    return act == Act::RunPersist || act == Act::PersistWithoutDescriptors || act == Act::Start || act == Act::Stop ||
           act == Act::Destroy || act == Act::Refresh || act == Act::ResetData || act == Act::PowerDown;
}

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
    const std::weak_ptr<TftpConfigStore> before = host_.adapter().getTftpConfigStore();
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
    noteErrands(before);
    takeOverWhatTheModuleWrites();
    if (std::exchange(joined_, false)) {
        applyPolicies();
    }
}

void ScheduledWorld::takeMeanwhile() {
    if (mayHaveWritten_) {
        // What the step that waits has written until now.
        checkUserFile(model_.userEntries());
        noteWhetherTheLinkIsWritten();
    }
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
        runPool(step.index);
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

void ScheduledWorld::noteErrands(const std::weak_ptr<TftpConfigStore>& before) {
    // Only the store of the source that is on hears of details; a step that switches it off may begin with a change.
    while (errands_.size() < host_.pool().waiting()) {
        errands_.push_back(before.expired() ? host_.adapter().getTftpConfigStore() : before);
    }
}

void ScheduledWorld::noteTransfersOf(const std::shared_ptr<TftpConfigStore>& store) {
    for (const auto& transfer : host_.transport().running()) {
        transfers_.try_emplace(transfer.number, store);
    }
}

void ScheduledWorld::noteWhetherAddressesRanOut(const TftpConfigStore& store) {
    // Without a file a cycle ends in no other way.
    if (store.queryState() == TftpConfigStore::FINISHED) {
        served_[&store].clear();
    }
}

void ScheduledWorld::runPool(std::size_t index) {
    const std::size_t waiting = host_.pool().waiting();
    if (waiting == 0) {
        return;
    }
    const std::shared_ptr<TftpConfigStore> store(errands_.at(index % waiting));
    errands_.erase(errands_.begin() + static_cast<std::ptrdiff_t>(index % waiting));
    host_.pool().runOne(index % waiting);
    noteTransfersOf(store);
    noteWhetherAddressesRanOut(*store);
}

void ScheduledWorld::endTransfer(const ScheduleStep& step) {
    const auto running = host_.transport().running();
    if (running.empty()) {
        return;
    }
    const std::uint64_t number = running[step.index % running.size()].number;
    const std::shared_ptr<TftpConfigStore> store(transfers_.at(number));
    const bool isTaken = step.result == 0 && store->queryState() != TftpConfigStore::RESTART_PENDING;
    const DownloadDocument& document = downloadDocuments().at(step.document);
    host_.transport().complete(number, document.text, static_cast<fakes::ScriptedHttpTransport::Result>(step.result));
    if (isTaken) {
        serve(*store, document);
    } else {
        noteTransfersOf(store);
        noteWhetherAddressesRanOut(*store);
    }
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
    served_.clear();
    errands_.clear();
    transfers_.clear();
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

void ScheduledWorld::hearDownloadsOf(const std::shared_ptr<TftpConfigStore>& store) {
    if (downloadListeners_.empty() || !downloadListeners_.back()->listensTo(store)) {
        downloadListeners_.push_back(std::make_unique<DownloadListener>(*this, store));
    }
}

void ScheduledWorld::onDownload(const std::shared_ptr<TftpConfigStore>& store, bool isFirst) {
    if (!model_.sourceOn || !model_.started || store != host_.adapter().getTftpConfigStore()) {
        return;
    }
    ++tally_[isFirst ? "files of the server that joined" : "files of the server that changed"];
    model_.serverIn = model_.serverIn || isFirst;
    joined_ = joined_ || isFirst;
    downloaded_ = true;
    keepCopy(ScheduleModel::copyOf(ScheduleModel::serverStore), *serversStore(*store));
    listCopy(ScheduleModel::serverStore, store->getPriority() + 200);
}

void ScheduledWorld::onHeard(int watcher, Property property, const ConfigValue& value) {
    heard_.push_back({watcher, property, stateOf(value)});
}

}  // namespace simulation
