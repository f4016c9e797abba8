#include "DownloadOracle.h"

#include <algorithm>
#include <utility>

#include "DownloadDecisionOracle.h"
#include "DownloadFacts.h"
#include "ModelTypes.h"

namespace simulation {

namespace {

constexpr const char* NO_ADDRESS = "Failed to download TFTP config. No TFTP server address available in server queue.";

bool isDetailKey(const std::wstring& key) {
    const std::wstring name = folded(key);
    return name == L"tftpprimaryserver" || name == L"tftpbackupserver1" || name == L"tftpbackupserver2" ||
           name == L"configurationfile";
}

std::deque<std::string> uniqueAddresses(const ServerDetails& details) {
    std::deque<std::string> queue;
    for (const std::wstring& server : {details.server1, details.server2, details.server3}) {
        const std::string address = printable(server);
        if (!address.empty() && std::find(queue.begin(), queue.end(), address) == queue.end()) {
            queue.push_back(address);
        }
    }
    return queue;
}

}  // namespace

DownloadOracle::DownloadOracle(const ServerDetails& start) : last_(start) {
    environment_.holdDetails(start);
    for (const std::wstring& key : sensitiveFromTheStart()) {
        environment_.sensitive.insert(folded(key));
    }
}

void DownloadOracle::announce(const DownloadStep& step) {
    environment_.holdDetails(step.details);
    if (folded(step.text) == L"tftpconfigstore" || !isDetailKey(step.key)) {
        return;
    }
    const ServerDetails now = environment_.details();
    if (!detailsHaveChanged(last_, now, configured_)) {
        return;
    }
    configured_ = true;
    const ModelDecision decision = decideOn(last_, std::wstring(successful_.begin(), successful_.end()), now);
    log(decision.level, decision.reason);
    const std::wstring file = now.file.empty() ? last_.file : now.file;
    last_ = {now.server1, now.server2, now.server3, file};
    if (decision.allowed) {
        ready_ = false;
        waiting_.push_back(now);
    }
}

void DownloadOracle::runTask() {
    if (waiting_.empty()) {
        return;
    }
    // Whichever task of the pool it is, it takes the oldest details.
    queue_ = uniqueAddresses(waiting_.front());
    waiting_.pop_front();
    if (state_ == NotStarted || state_ == Finished) {
        journal_.beginCycle(false);
        attempt();
        return;
    }
    state_ = RestartPending;
    ++cancellations_;
    for (Transfer& transfer : running_) {
        transfer.cancelled = true;
    }
}

void DownloadOracle::force() {
    if (last_.server1.empty() && last_.server2.empty() && last_.server3.empty()) {
        return;
    }
    ready_ = false;
    configured_ = true;
    queue_ = uniqueAddresses(last_);
    journal_.beginCycle(true);
    attempt();
}

void DownloadOracle::attempt() {
    state_ = InProgress;
    if (queue_.empty()) {
        log(3, NO_ADDRESS);
        values_.clear();
        state_ = Finished;
        ready_ = true;
        journal_.endCycle("exhausted");
        return;
    }
    const std::string address = queue_.front();
    queue_.pop_front();
    std::optional<Transfer> transfer = transferFrom(address);
    if (!transfer) {
        log(3, "No attempt will be made to download TFTP config.");
        journal_.endCycle("stalled");
        return;
    }
    log(4, "*-----* Downloading file from: " + transfer->url + " with a timeout of " +
               std::to_string(transfer->timeout) + " seconds.");
    transfer->number = ++transfersEver_;
    running_.push_back(*transfer);
}

std::optional<DownloadOracle::Transfer> DownloadOracle::transferFrom(const std::string& address) {
    const std::uint32_t version = version_.ask(last_);
    for (const VersionOracle::Request& request : version_.requests()) {
        journal_.query(request.address, request.version);
    }
    if (version == 0) {
        return std::nullopt;
    }
    Transfer transfer;
    transfer.address = address;
    if (version < 11) {
        log(4, "The Tftp version is less than 11.0 (" + std::to_string(version) +
                   "). Setting protocol to HTTP and request timeout to 3 seconds.");
        transfer.timeout = 3;
        transfer.url = "http://" + address + ":6970/" + printable(last_.file);
    } else {
        log(4, "The Tftp version is 11.0 or greater (" + std::to_string(version) +
                   "). Setting protocol to HTTPS and request timeout to 10 seconds.");
        transfer.timeout = 10;
        transfer.url = "https://" + address + ":6972/" + printable(last_.file);
    }
    transfer.attempt = journal_.beginAttempt(transfer.url, version);
    return transfer;
}

void DownloadOracle::complete(const DownloadStep& step) {
    if (running_.empty()) {
        return;
    }
    const auto place = running_.begin() + static_cast<std::ptrdiff_t>(step.index % running_.size());
    const Transfer transfer = *place;
    running_.erase(place);
    const DownloadDocument& document = downloadDocuments().at(step.document);
    const bool taken = step.result == 0 && state_ != RestartPending;
    if (step.result != 0) {
        log(3, "Download of TFTP File failed for server " + transfer.address + ".........");
        journal_.endAttempt(transfer.attempt, "failed", step.result);
    } else if (!taken) {
        log(4, "New TFTP file provided canceling query and trying new details");
        journal_.endAttempt(transfer.attempt, "dropped", 0);
    }
    if (taken) {
        take(document, transfer, step.on);
    } else {
        if (state_ == RestartPending) {
            journal_.beginCycle(false);
        }
        attempt();
    }
    environment_.events.push_back(facts::wiped(!document.text.empty()));
}

void DownloadOracle::take(const DownloadDocument& document, const Transfer& transfer, bool onDispatcher) {
    log(4, "Downloading of TFTP file complete for server " + transfer.address + ".........");
    successful_ = transfer.address;
    journal_.endAttempt(transfer.attempt, "delivered", 0);
    std::vector<std::wstring> previous;
    if (document.readable) {
        previous = keys();
        replaceValues(document);
    } else {
        if (!document.text.empty()) {
            environment_.log(2, "XmlConfigParser",
                             "\n************\nError Invalid XML syntax detected - Unable to read xml "
                             "configuration.\n************");
        }
        values_.clear();
    }
    state_ = Finished;
    journal_.endCycle(document.readable ? "delivered" : "unreadable", values_.size());
    if (onDispatcher) {
        tell(previous);
    } else {
        reports_.push_back(previous);
    }
    log(4, "Config updated with TFTP server information.........##");
}

void DownloadOracle::replaceValues(const DownloadDocument& document) {
    values_.clear();
    for (const DownloadDocument::Entry& entry : document.entries) {
        const bool hidden = environment_.fips && entry.key == L"telephony_p2p_enabled";
        values_[entry.key] = {entry.key, hidden ? L"false" : entry.text, entry.secret};
        if (entry.sensitive) {
            environment_.sensitive.insert(entry.key);
        }
    }
    std::string text;
    for (const auto& [key, value] : values_) {
        const bool masked = environment_.sensitive.count(key) != 0;
        text += "\n" + printable(value.spelling) + ": " + (masked ? "VALUE_HIDDEN" : printable(value.text));
    }
    log(4, text);
}

void DownloadOracle::tell(const std::vector<std::wstring>& previous) {
    for (auto& [number, observer] : observers_) {
        if (!observer.listens) {
            continue;
        }
        environment_.events.push_back(facts::told(number, previous, ready_));
        if (!observer.reactions.empty()) {
            const DownloadStep reaction = std::move(observer.reactions.front());
            observer.reactions.pop_front();
            if (reaction.kind == DownloadStepKind::WaitForStore) {
                waitForStore();
            } else {
                apply(reaction);
            }
        }
    }
    ready_ = true;
}

std::vector<std::wstring> DownloadOracle::keys() const {
    std::vector<std::wstring> keys;
    for (const auto& [key, value] : values_) {
        keys.push_back(value.spelling);
    }
    return keys;
}

std::optional<std::wstring> DownloadOracle::read(const std::wstring& key) const {
    const std::wstring name = folded(key);
    const auto found = values_.find(name);
    if (found == values_.end() || name == L"certificatevalidationenabled") {
        return std::nullopt;
    }
    if (environment_.fips && name == L"telephony_p2p_enabled") {
        return L"false";
    }
    return found->second.secret ? facts::sealed(found->second.text) : found->second.text;
}

void DownloadOracle::ask(const std::wstring& key) {
    if (state_ != Finished) {
        log(4,
            "TftpConfigStore::getValue() currentQueryState is not FINISHED - Current State: " + std::to_string(state_));
    }
    environment_.events.push_back(facts::answer(key, read(key)));
}

void DownloadOracle::waitForStore() {
    log(5, "TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds");
    log(5, "TftpConfigStore::waitForStoreReady() - Finished timed wait");
}

void DownloadOracle::apply(const DownloadStep& step) {
    using Kind = DownloadStepKind;
    switch (step.kind) {
    case Kind::Announce:
        announce(step);
        break;
    case Kind::RunTask:
        runTask();
        break;
    case Kind::Complete:
        complete(step);
        break;
    case Kind::RunDispatcher:
        if (!reports_.empty()) {
            const std::vector<std::wstring> previous = std::move(reports_.front());
            reports_.pop_front();
            tell(previous);
        }
        break;
    case Kind::Force:
        force();
        break;
    case Kind::Forget:
        last_ = {};
        break;
    case Kind::StoreVersion:
        environment_.chain[L"HomeUdsVersion"] = step.text;
        break;
    case Kind::AnswerVersion:
        environment_.versionBodies[step.address] = versionAnswers().at(step.index).body;
        environment_.versionTexts[step.address] = versionAnswers().at(step.index).version;
        break;
    case Kind::NameDeviceServers:
        environment_.chain[L"HubcipServer1"] = step.details.server1;
        environment_.chain[L"HubcipServer2"] = step.details.server2;
        environment_.chain[L"HubcipServer3"] = step.details.server3;
        break;
    case Kind::RefuseInMemory:
        environment_.refusesInMemory = step.on;
        break;
    case Kind::Observe: {
        Observer& observer = observers_[step.observer];
        observer.listens = true;
        observer.reactions.insert(observer.reactions.end(), step.reactions.begin(), step.reactions.end());
        break;
    }
    case Kind::Unobserve:
        observers_[step.observer].listens = false;
        break;
    case Kind::AskValue:
        ask(step.key);
        break;
    case Kind::StoreValue: {
        Value& value = values_.try_emplace(folded(step.key), Value{step.key, {}, false}).first->second;
        value.text = step.text;
        value.secret = false;
        break;
    }
    case Kind::RemoveValue:
        environment_.events.push_back(facts::removed(values_.erase(folded(step.key)) != 0));
        break;
    case Kind::RemoveAllValues:
        log(3, "TftpConfigStore::removeAllValues() should not be called on read only store");
        break;
    case Kind::PersistValues:
        log(3, "TftpConfigStore::persistValues() ignoring for TftpConfigStore");
        break;
    case Kind::WaitForStore:
        if (ready_) {
            waitForStore();
        }
        break;
    case Kind::SwitchFips:
        environment_.fips = step.on;
        break;
    case Kind::SwitchDebug:
        environment_.debug = step.on;
        break;
    }
}

std::vector<std::string> DownloadOracle::facts() {
    std::vector<std::string> lines = std::exchange(environment_.events, {});
    lines.push_back(facts::state(state_, ready_, configured_, isSettled()));
    lines.push_back(facts::details(describe(last_), successful_));
    for (const std::wstring& key : keys()) {
        lines.push_back(facts::value(key, read(key)));
    }
    for (const Transfer& transfer : running_) {
        lines.push_back(facts::transfer(transfer.number, transfer.url, transfer.timeout, transfer.cancelled));
    }
    lines.push_back(facts::counts(cancellations_, waiting_.size(), reports_.size()));
    lines.push_back(facts::version(environment_.valueOf(L"HomeUdsVersion")));
    const std::vector<std::string> record = journal_.lines();
    lines.insert(lines.end(), record.begin(), record.end());
    return lines;
}

}  // namespace simulation
