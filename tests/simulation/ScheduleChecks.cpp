// What a scheduled world looks at after each step, and at quiet moments.

#include <algorithm>

#include "Comparison.h"
#include "ScheduledWorld.h"
#include "SimulatedModule.h"
#include "remote/DownloadJournal.h"
#include "remote/TftpConfigStore.h"

namespace simulation {

namespace {

/// Values that a server marks as sensitive, and no other store holds.
const char* const SECRETS[] = {"dark", "first secret", "second secret"};

bool isCopyName(const std::string& storeName) { return storeName.starts_with("cached"); }

/// The store of whose file a folded name is the copy.
std::string mainOf(const std::string& copyName) { return copyName.substr(6, copyName.size() - 10); }

std::string inOneLine(const FileEntries& entries) {
    std::string line;
    for (const auto& [key, text] : entries) {
        line += " " + key + " = [" + text + "]";
    }
    return line.empty() ? " nothing" : line;
}

std::string difference(const std::string& what, const FileEntries& expected, const FileEntries& actual) {
    return what + "\n  expected:" + inOneLine(expected) + "\n  actual:  " + inOneLine(actual);
}

/// Keys may differ in their spelling: a file keeps none.
bool holdSameTexts(const ModelStore& a, const ModelStore& b) {
    return std::equal(a.entries.begin(), a.entries.end(), b.entries.begin(), b.entries.end(),
                      [](const auto& one, const auto& other) {
                          return one.first == other.first && one.second.text == other.second.text;
                      });
}

bool isToldSo(const ValueState& live, const Report& chain) {
    // A silent report never turns "defined" off.
    if (live.value != chain.value || live.valueStoreName != chain.valueStoreName ||
        (chain.isDefined && !live.isDefined)) {
        return false;
    }
    // Of the old name of a key nothing is told while a store holds the current one, and the administrator's value may
    // be that of the old name.
    return ChainOracle::oldNameOf(live.key) != nullptr ||
           (live.originalValue == chain.originalValue && live.isOverridden == chain.isOverridden &&
            live.originalValueStoreName == chain.originalValueStoreName);
}

}  // namespace

void ScheduledWorld::checkReport(const Report& report) {
    std::vector<ChainOracle::StorePtr> chain;
    const std::wstring* const old = ChainOracle::oldNameOf(report.key);
    for (const auto& store : host_.manager().getStores()) {
        const auto picture = std::make_shared<ModelStore>();
        picture->name = store->getName();
        picture->readOnly = store->isReadOnly();
        for (const std::wstring* const key : {&report.key, old}) {
            std::wstring text;
            if (key != nullptr && store->getValue(*key, text)) {
                picture->put(*key, text);
            }
        }
        chain.push_back(picture);
    }
    judge_.adopt(std::move(chain));
    const auto says = [&](const std::wstring& key) {
        Report expected = judge_.stateOf(key);
        expected.key = report.key;
        expected.silent = report.silent;
        return expected == report;
    };
    // What is told under the current name may have been worked out for the old one.
    if (!says(report.key) && (old == nullptr || !says(*old))) {
        complain("a report that the stores do not give at that moment\n  expected: " +
                 describe({ChainCall::Kind::Changed, judge_.stateOf(report.key)}) +
                 "\n  actual:   " + describe({ChainCall::Kind::Changed, report}));
    }
}

void ScheduledWorld::checkAfter(const ScheduleStep& step, const FileEntries& userBefore) {
    noteSilentChanges();
    checkHeard();
    checkLiveValuesAgainstReports();
    checkStores();
    if (downloaded_ || step.act >= ScheduleAct::AddStore) {
        checkChain();
    }
    if (mayHaveWritten_) {
        checkUserFile(userBefore);
    }
    if (mayHaveCopied_) {
        checkCopies();
    }
    if (isQuiet()) {
        checkQuiet();
    }
}

bool ScheduledWorld::isQuiet() {
    return host_.dispatcher().waiting() + host_.pool().waiting() == 0 && host_.transport().running().empty() &&
           host_.persistence().waiting() == 0;
}

void ScheduledWorld::checkHeard() {
    const std::size_t before = std::exchange(heardSoFar_, live_->heard().size());
    if (const auto text = differenceOfHeard(live_->heard(), heard_, before)) {
        complain(*text);
    }
}

void ScheduledWorld::checkLiveValuesAgainstReports() {
    const bool former = host_.dispatcher().checkForUpdateAccess();
    host_.dispatcher().setOnDispatcher(true);
    if (const auto text = differenceOfLiveValues(*live_, host_.service())) {
        complain(*text);
    }
    host_.dispatcher().setOnDispatcher(former);
}

void ScheduledWorld::checkStores() {
    const auto expected = mirror();
    const auto actual = host_.manager().getStores();
    for (std::size_t index = 0; index < actual.size(); ++index) {
        const ModelStore held = picture(*actual[index]);
        if (expected[index]->priority != held.priority) {
            complain("the priority of " + held.name + ": expected " + std::to_string(expected[index]->priority) +
                     ", actual " + std::to_string(held.priority));
        }
        if (!holdSameTexts(*expected[index], held)) {
            complain(difference("values of " + held.name, asFileEntries(*expected[index]), asFileEntries(held)));
        }
    }
}

void ScheduledWorld::checkChain() {
    std::vector<std::string> names;
    const auto stores = host_.manager().getStores();
    for (const auto& store : stores) {
        names.push_back(folded(store->getName()));
    }
    std::sort(names.begin(), names.end());
    if (names != model_.members()) {
        std::string line = "stores of the chain\n  expected:";
        for (const std::string& name : model_.members()) {
            line += " " + name;
        }
        line += "\n  actual:  ";
        for (const std::string& name : names) {
            line += " " + name;
        }
        complain(line);
    }
    const auto precedes = [](const auto& a, const auto& b) { return a->getPriority() < b->getPriority(); };
    if (!std::is_sorted(stores.begin(), stores.end(), precedes)) {
        complain("the stores of the chain are not in the order of their priorities");
    }
}

void ScheduledWorld::checkUserFile(const FileEntries& userBefore) {
    const FileEntries user = model_.userEntries();
    const FileEntries actual = readUserFile(host_.configDirectory()).value_or(FileEntries());
    if (actual != model_.userFile && actual != userBefore && actual != user) {
        complain(difference("the user's file is neither the old one nor the new one", user, actual));
    }
    if (disturbed_) {
        tally_["persists of the user's file that a disk refused"] += actual == user ? 0 : 1;
        model_.writeFailed = model_.writeFailed || actual != user;
    } else if (actual == user) {
        model_.writeFailed = false;
    }
    model_.userFile = actual;
}

void ScheduledWorld::checkUserFileAtTheEnd() {
    if (!model_.userDestroyed && !disturbed_ && model_.userFile != model_.userEntries()) {
        complain(difference("the user's file at the end of a host", model_.userEntries(), model_.userFile));
    }
}

void ScheduledWorld::checkCopies() {
    const auto actual = readCopies(host_.configDirectory());
    for (const auto& [name, entries] : std::exchange(perhaps_, {})) {
        const auto found = actual.find(name);
        if (found != actual.end() && found->second == entries) {
            model_.copies[name] = entries;
        } else {
            ++tally_["copies that a disk refused"];
        }
    }
    for (const auto& [name, entries] : model_.copies) {
        const auto found = actual.find(name);
        if (found == actual.end() || found->second != entries) {
            complain(difference("the file " + name, entries, found == actual.end() ? FileEntries() : found->second));
        }
    }
    for (const auto& [name, entries] : actual) {
        if (model_.copies.count(name) == 0) {
            complain("there should be no file " + name);
        }
        for (const auto& [key, text] : entries) {
            if (std::find(std::begin(SECRETS), std::end(SECRETS), text) != std::end(SECRETS)) {
                complain("a secret in the file " + name);
            }
        }
    }
}

void ScheduledWorld::noteSilentChanges() {
    std::map<std::string, ModelEntries> now;
    for (const auto& store : host_.manager().getStores()) {
        const std::string name = folded(store->getName());
        if (isCopyName(name) || name == "tftpconfigstore" || name == "remotestore") {
            now[name] = picture(*store).entries;
        }
    }
    const auto silence = [&](const ModelEntries& entries) {
        for (const auto& [key, entry] : entries) {
            silenced_.insert(key);
            for (const std::wstring* const other : {ChainOracle::currentNameOf(key), ChainOracle::oldNameOf(key)}) {
                silenced_.insert(other != nullptr ? folded(*other) : key);
            }
        }
    };
    for (const auto& [name, entries] : remembered_) {
        const auto found = now.find(name);
        if (isCopyName(name) && found == now.end() && remembered_.count(mainOf(name)) != 0) {
            // A store that is replaced takes its copy out of the chain without a word.
            silence(entries);
        }
        const bool isTold = downloaded_ || found == now.end();
        if (name == "tftpconfigstore" && !isTold && found->second != entries) {
            // The server's store drops and takes values before it tells, and nobody is told of those that it drops.
            silence(entries);
            silence(found->second);
        }
    }
    if (downloaded_) {
        // It has told of all that it holds.
        for (const auto& [key, entry] : now["tftpconfigstore"]) {
            silenced_.erase(key);
        }
    }
    remembered_ = std::move(now);
}

void ScheduledWorld::checkQuiet() {
    ++tally_["quiet moments"];
    if (!reports_->isEmpty()) {
        complain("a report was never brought to the service");
    }
    if (const auto key = live_->owed()) {
        complain("a silent report that nobody was told of afterwards: " + printable(*key));
    }
    if (!model_.userDestroyed && !model_.writeFailed && model_.userFile != model_.userEntries()) {
        complain(difference("the user's file when all is written", model_.userEntries(), model_.userFile));
    }
    if (!host_.adapter().getDownloadJournal()->snapshot().settled) {
        complain("a download is still under way although nothing is left to do");
    }
    checkLiveValues();
}

void ScheduledWorld::checkLiveValues() {
    oracle_.adopt(mirror());
    const auto values = host_.service().getAllConfig();
    for (const auto& value : *values) {
        const ValueState live = stateOf(*value);
        if (silenced_.count(folded(live.key)) != 0) {
            continue;
        }
        const std::wstring* const old = ChainOracle::oldNameOf(live.key);
        if (!isToldSo(live, oracle_.stateOf(live.key)) && (old == nullptr || !isToldSo(live, oracle_.stateOf(*old)))) {
            complain("a live value is not what the chain answers\n  expected: " +
                     describe({ChainCall::Kind::Changed, oracle_.stateOf(live.key)}) +
                     "\n  actual:   " + describe(live));
        }
    }
}

void ScheduledWorld::settle() {
    while (!complaint_ && !isQuiet()) {
        ScheduleStep step;
        step.result = 1;
        step.act = host_.dispatcher().waiting() > 0       ? ScheduleAct::RunDispatcher
                   : host_.pool().waiting() > 0           ? ScheduleAct::RunPool
                   : !host_.transport().running().empty() ? ScheduleAct::EndTransfer
                                                          : ScheduleAct::RunPersist;
        // Hundreds of reports: who is told of what is looked at for each, the rest when something else happens.
        const bool isReport = step.act == ScheduleAct::RunDispatcher && host_.dispatcher().waiting() > 1 &&
                              ReportModel::isReport(host_.dispatcher().nextName());
        // Of a row of writes the last is looked at; the others write what it writes.
        const bool isOneOfMany = step.act == ScheduleAct::RunPersist && host_.persistence().waiting() > 1;
        if (isReport || isOneOfMany) {
            perform(step);
            checkHeard();
        } else {
            apply(step);
        }
    }
}

std::optional<std::string> ScheduledWorld::finish() {
    ScheduleStep step;
    step.act = ScheduleAct::FreeDisk;
    apply(step);
    settle();
    // A write that comes once the disk takes it again brings along what one before it could not.
    step.act = ScheduleAct::Start;
    apply(step);
    step.act = ScheduleAct::Store;
    step.key = L"Last_Of_All";
    step.text = L"kept";
    apply(step);
    settle();
    step.act = ScheduleAct::Kill;
    apply(step);
    settle();
    return complaint_;
}

}  // namespace simulation
