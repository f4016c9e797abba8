#include "DownloadWorld.h"

#include <algorithm>
#include <utility>

#include "DownloadEnvironment.h"
#include "DownloadFacts.h"
#include "DownloadJournalOracle.h"
#include "DownloadScripts.h"
#include "InjectConfigService.h"
#include "ModelTypes.h"
#include "quill/StringUtils.h"
#include "tessel/StringEncryptionFacility.h"
#include "unified/UnifiedFactory.h"

namespace simulation {

namespace {

constexpr int OBSERVERS = 3;

bool isOfInterest(const std::string& logger) {
    return logger == "TftpConfigStore" || logger == "UdsVersionQuery" || logger == "XmlConfigParser";
}

const char* nameOf(DownloadJournal::AttemptEnd end) {
    static constexpr std::array<const char*, 4> names = {"running", "delivered", "failed", "dropped"};
    return names.at(static_cast<std::size_t>(end));
}

const char* nameOf(DownloadJournal::CycleEnd end) {
    static constexpr std::array<const char*, 6> names = {"running",   "delivered", "unreadable",
                                                         "exhausted", "stalled",   "superseded"};
    return names.at(static_cast<std::size_t>(end));
}

std::string line(const DownloadJournal::Attempt& attempt) {
    const bool runs = attempt.end == DownloadJournal::AttemptEnd::Running;
    return attemptLine(attempt.url, static_cast<std::uint32_t>(attempt.version),
                       runs ? nameOf(attempt.end) : attemptEnd(nameOf(attempt.end), attempt.result));
}

ServerDetails detailsOf(const TftpServerDetails& details) {
    return {details.server1, details.server2, details.server3, details.file};
}

bool isWiped(const std::string& body) {
    return !body.empty() && std::all_of(body.begin(), body.end(), [](char unit) { return unit == '\0'; });
}

}  // namespace

void DownloadTale::write(const tessel::LogRecord& record) {
    if (!paused_ && isOfInterest(record.logger)) {
        events_.push_back(logEvent(record.level, record.logger, record.text));
    }
}

void DownloadTale::tell(const std::string& event) { events_.push_back(event); }

std::vector<std::string> DownloadTale::take() { return std::exchange(events_, {}); }

class DownloadWorld::Observer final : public TftpConfigStoreObserver {
public:
    explicit Observer(DownloadWorld& world) : world_(world) {}

    void onTftpConfigDownloaded(std::vector<std::wstring> keys) override { world_.react(number, keys); }

    int number = 0;
    std::deque<DownloadStep> reactions;

private:
    DownloadWorld& world_;
};

DownloadWorld::DownloadWorld(const ServerDetails& start)
    : tale_(std::make_shared<DownloadTale>()),
      dispatcher_(std::make_shared<fakes::HandSteppedDispatcher>()),
      pool_(std::make_shared<fakes::HandSteppedThreadPool>()),
      transport_(std::make_shared<fakes::ScriptedHttpTransport>()),
      factory_(std::make_shared<UnifiedFactory>(dispatcher_, nullptr)),
      chain_(std::make_shared<SimulatedChain>()) {
    world_.change([this](platform::World& world) {
        world.threadPool = pool_;
        world.httpTransport = transport_;
    });
    transport_->setAnswer([this](const std::string& url) { return answerRequest(url); });
    factory_->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, chain_);
    for (const std::wstring& key : sensitiveFromTheStart()) {
        chain_->setKeySensitive(key);
    }
    // The store tells its observers in the order of their addresses.
    while (observers_.size() < OBSERVERS) {
        observers_.push_back(std::make_unique<Observer>(*this));
    }
    std::sort(observers_.begin(), observers_.end(),
              [](const auto& a, const auto& b) { return std::less<>()(a.get(), b.get()); });
    for (int number = 0; number < OBSERVERS; ++number) {
        observers_[static_cast<std::size_t>(number)]->number = number;
    }
    DownloadStep begin;
    begin.details = start;
    announce(begin);
    store_ = std::make_shared<TftpConfigStore>(factory_, "TFTPConfigStore", 40, start.server1, start.server2,
                                               start.server3, start.file);
    tessel::LogControl::setLevel(5);
    tessel::LogControl::setSink(tale_);
}

DownloadWorld::~DownloadWorld() {
    tessel::LogControl::setSink(nullptr);
    tessel::LogControl::setLevel(3);
    factory_->clear();
}

std::string DownloadWorld::answerRequest(const std::string& url) {
    tale_->tell("request " + url + " within " + std::to_string(transport_->sentTimeouts().back()));
    const std::string address = url.substr(url.find("//") + 2, url.rfind(':') - url.find("//") - 2);
    return versionBodies_[address];
}

void DownloadWorld::react(int number, const std::vector<std::wstring>& keys) {
    tale_->tell(facts::told(number, keys, TftpConfigStoreTestAccess::isReady(*store_)));
    std::deque<DownloadStep>& reactions = observers_[static_cast<std::size_t>(number)]->reactions;
    if (!reactions.empty()) {
        const DownloadStep reaction = std::move(reactions.front());
        reactions.pop_front();
        telling_ = true;
        apply(reaction);
        telling_ = false;
    }
}

void DownloadWorld::announce(const DownloadStep& step) {
    chain_->hold(L"TFTPPrimaryServer", step.details.server1);
    chain_->hold(L"TFTPBackupServer1", step.details.server2);
    chain_->hold(L"TFTPBackupServer2", step.details.server3);
    chain_->hold(L"configurationfile", step.details.file);
    if (store_ != nullptr) {
        // The report's own values are no part of the matter, so they say something else.
        store_->onConfigAddedOrUpdated(step.key, L"delta.example", L"delta.example", false, true, step.text, step.text,
                                       false);
    }
}

void DownloadWorld::complete(const DownloadStep& step) {
    const std::vector<fakes::ScriptedHttpTransport::Running> running = transport_->running();
    if (running.empty()) {
        return;
    }
    dispatcher_->setUpdateAccess(step.on);
    transport_->complete(running[step.index % running.size()].number, downloadDocuments().at(step.document).text,
                         static_cast<fakes::ScriptedHttpTransport::Result>(step.result));
    dispatcher_->setUpdateAccess(true);
    tale_->tell(facts::wiped(isWiped(transport_->bodyAfterCompletion())));
}

void DownloadWorld::answerVersion(const DownloadStep& step) {
    versionBodies_[step.address] = versionAnswers().at(step.index).body;
}

void DownloadWorld::observe(const DownloadStep& step) {
    Observer& observer = *observers_.at(static_cast<std::size_t>(step.observer));
    observer.reactions.insert(observer.reactions.end(), step.reactions.begin(), step.reactions.end());
    store_->addObserver(&observer);
}

std::optional<std::wstring> DownloadWorld::read(const std::wstring& key) {
    std::wstring text = L"left over";
    if (!store_->getValue(key, text)) {
        return text.empty() ? std::nullopt : std::make_optional(L"a miss with " + text);
    }
    const tessel::SecureString secret =
        tessel::StringEncryptionFacility::decodeEncryptedString(QuillCoreUtils::toString(text));
    return secret.isValid() ? facts::sealed(QuillCoreUtils::toWideString(secret.reveal().value())) : text;
}

void DownloadWorld::apply(const DownloadStep& step) {
    using Chosen = DownloadStepKind;
    switch (step.kind) {
    case Chosen::Announce:
        announce(step);
        break;
    case Chosen::RunTask:
        if (pool_->waiting() > 0) {
            pool_->runOne(step.index % pool_->waiting());
        }
        break;
    case Chosen::Complete:
        complete(step);
        break;
    case Chosen::RunDispatcher:
        dispatcher_->runOne();
        break;
    case Chosen::Force:
        forced_ = true;
        store_->attemptDownloadFromCachedAddress();
        break;
    case Chosen::Forget:
        store_->clearCachedAddresses();
        break;
    case Chosen::StoreVersion:
        chain_->hold(L"HomeUdsVersion", step.text);
        break;
    case Chosen::AnswerVersion:
        answerVersion(step);
        break;
    case Chosen::NameDeviceServers:
        chain_->hold(L"HubcipServer1", step.details.server1);
        chain_->hold(L"HubcipServer2", step.details.server2);
        chain_->hold(L"HubcipServer3", step.details.server3);
        break;
    case Chosen::RefuseInMemory:
        chain_->refuseInMemory(step.on);
        break;
    case Chosen::Observe:
        observe(step);
        break;
    case Chosen::Unobserve:
        store_->removeObserver(observers_.at(static_cast<std::size_t>(step.observer)).get());
        break;
    case Chosen::AskValue: {
        const std::optional<std::wstring> text = read(step.key);
        tale_->tell(facts::answer(step.key, text));
        break;
    }
    case Chosen::StoreValue:
        store_->storeValue(step.key, step.text);
        break;
    case Chosen::RemoveValue:
        tale_->tell(facts::removed(store_->removeValue(step.key)));
        break;
    case Chosen::RemoveAllValues:
        store_->removeAllValues();
        break;
    case Chosen::PersistValues:
        store_->persistValues();
        break;
    case Chosen::WaitForStore:
        // Inside an observer's call it must return at once, ready or not.
        if (telling_ || TftpConfigStoreTestAccess::isReady(*store_)) {
            store_->waitForStoreReady();
        }
        break;
    case Chosen::SwitchFips:
        world_.setFips(step.on);
        break;
    case Chosen::SwitchDebug:
        tessel::LogControl::setLevel(step.on ? 5 : 4);
        break;
    }
}

void DownloadWorld::addRecord(std::vector<std::string>& lines) const {
    const DownloadJournal::Snapshot record = store_->journal()->snapshot();
    lines.push_back("cycles ever " + std::to_string(record.cyclesEver));
    for (const DownloadJournal::Cycle& cycle : record.cycles) {
        lines.push_back(cycleLine(cycle.forced, nameOf(cycle.end), cycle.keys));
        for (const DownloadJournal::VersionQuery& query : cycle.versionQueries) {
            lines.push_back(query.answered ? queryLine(query.address, query.version) : query.address + " unanswered");
        }
        for (const DownloadJournal::Attempt& attempt : cycle.attempts) {
            lines.push_back(line(attempt));
        }
    }
}

std::vector<std::string> DownloadWorld::facts() {
    std::vector<std::string> lines = tale_->take();
    tale_->pause(true);
    lines.push_back(facts::state(store_->queryState(), TftpConfigStoreTestAccess::isReady(*store_),
                                 store_->isTftpConfigured(), store_->journal()->snapshot().settled));
    lines.push_back(
        facts::details(describe(detailsOf(store_->lastServerDetails())), printable(store_->lastSuccessfulServer())));
    for (const std::wstring& key : store_->getKeys()) {
        lines.push_back(facts::value(key, read(key)));
    }
    for (const auto& transfer : transport_->running()) {
        lines.push_back(facts::transfer(transfer.number, transfer.url, transfer.timeoutSeconds, transfer.cancelled));
    }
    lines.push_back(facts::counts(transport_->cancellations(), pool_->waiting(), dispatcher_->waitingNames().size()));
    lines.push_back(facts::version(chain_->valueOf(L"HomeUdsVersion")));
    addRecord(lines);
    tale_->pause(false);
    return lines;
}

std::optional<std::string> DownloadWorld::brokenPromise() const {
    if (!forced_ && transport_->running().size() > 1) {
        return "two transfers run although no download was forced";
    }
    for (const std::string& name : pool_->allNames()) {
        if (name != "processTftpInfoChanged task") {
            return "a task of the pool is called " + name;
        }
    }
    for (const std::string& name : dispatcher_->allNames()) {
        if (name != "TftpConfigStore::fireOnConfigDownloaded") {
            return "a task of the dispatcher is called " + name;
        }
    }
    return std::nullopt;
}

std::optional<std::string> DownloadWorld::leftBehind() {
    for (const auto& observer : observers_) {
        store_->removeObserver(observer.get());
    }
    while (pool_->runAll() + dispatcher_->runAll() > 0 || transport_->fail()) {
    }
    const DownloadJournal::Snapshot record = store_->journal()->snapshot();
    if (!record.settled) {
        return "the record is not settled although nothing is left to do";
    }
    for (const DownloadJournal::Cycle& cycle : record.cycles) {
        for (const DownloadJournal::Attempt& attempt : cycle.attempts) {
            if (attempt.end == DownloadJournal::AttemptEnd::Running) {
                return "the record has a transfer that never ended";
            }
        }
    }
    const std::weak_ptr<TftpConfigStore> remembered = std::exchange(store_, nullptr);
    return remembered.expired() ? std::nullopt : std::make_optional<std::string>("something still holds the store");
}

}  // namespace simulation
