#include "chain/ConfigStoreManager.h"

#include <span>
#include <utility>

#include "chain/FetchAhead.h"

void ConfigStoreManager::updateKey(std::wstring key, bool silent) {
    const FoldedKey folded(key);
    const StoreChain::Lock lock(chain_);
    report(lock, folded, silent);
}

void ConfigStoreManager::report(const StoreChain::Lock& lock, const FoldedKey& key, bool silent) {
    const KeyResolver chain = resolver(lock);
    KeyResolver::Report state;
    chain.lookUp(key, false, state.lookup);
    logLookup(key.text(), state.lookup, state.lookup.storeName.text(), false);
    chain.complete(key, state);
    if (state.name == nullptr) {
        return;
    }
    const auto tellUnder = [&](const FoldedKey& name) {
        tell({name, state.value(), state.originalValue(), state.isOverridden(), state.isDefined(),
              state.valueStoreName(), state.originalValueStoreName(), silent});
    };
    if (state.name == &key.text()) {
        tellUnder(key);
    } else {
        tellUnder(FoldedKey(*state.name));
    }
}

void ConfigStoreManager::tell(const KeyReport& report) {
    forEachObserver([&](ConfigStoreManager_Observer& observer, KeyReportReceiver* receiver) {
        if (receiver != nullptr) {
            receiver->takeReport(report);
        } else {
            observer.onConfigAddedOrUpdated(report.key.text(), report.value, report.originalValue, report.isOverridden,
                                            report.isDefined, report.valueStoreName, report.originalValueStoreName,
                                            report.silent);
        }
    });
}

void ConfigStoreManager::fire(const FoldedKey& key) {
    forEachObserver([&](ConfigStoreManager_Observer& observer, KeyReportReceiver* receiver) {
        if (receiver != nullptr) {
            receiver->fireIfRequired(key);
        } else {
            observer.onFireIfRequired(key.text());
        }
    });
}

void ConfigStoreManager::fireReported(const StoreChain::Lock& lock, const FoldedKey& key) {
    const std::wstring* const name = resolver(lock).reportedName(key);
    if (name == &key.text()) {
        fire(key);
    } else if (name != nullptr) {
        fire(FoldedKey(*name));
    }
}

void ConfigStoreManager::expect(std::span<const FoldedKey> keys) {
    forEachObserver([&](ConfigStoreManager_Observer&, KeyReportReceiver* receiver) {
        if (receiver != nullptr) {
            receiver->expect(keys);
        }
    });
}

void ConfigStoreManager::notifyObservers(const std::shared_ptr<ConfigStore>& store) {
    if (store != nullptr) {
        notifyObservers(store->getKeys());
    }
}

void ConfigStoreManager::notifyObservers(const std::vector<std::wstring>& keys) {
    // An observer may read in its turn: with the chain lock taken first, the two locks are always taken in one order.
    const StoreChain::Lock lock(chain_);
    const std::vector<FoldedKey> all(keys.begin(), keys.end());
    FetchAhead::inParts(std::span(all), [&](std::span<const FoldedKey> part) {
        for (const SearchedStore& store : chain_.searchList(lock)) {
            store.expect(part);
        }
        expect(part);
        for (const FoldedKey& key : part) {
            report(lock, key, true);
        }
    });
    FetchAhead::inParts(std::span(all), [&](std::span<const FoldedKey> part) {
        expect(part);
        for (const FoldedKey& key : part) {
            fireReported(lock, key);
        }
    });
}

void ConfigStoreManager::NotifyConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                                    bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                                    std::wstring originalValueStoreName, bool silent) {
    const FoldedKey folded(key);
    tell({folded, value, originalValue, isOverridden, isDefined, valueStoreName, originalValueStoreName, silent});
}

void ConfigStoreManager::NotifyFireIfRequired(std::wstring key) { fire(FoldedKey(key)); }

void ConfigStoreManager::AddObserver(ConfigStoreManager_Observer* observer) {
    if (observer != nullptr) {
        const tessel::ScopedLock lock(observersMutex_);
        observers_.emplace(observer, dynamic_cast<KeyReportReceiver*>(observer));
    }
}

void ConfigStoreManager::RemoveObserver(ConfigStoreManager_Observer* observer) {
    if (observer != nullptr) {
        const tessel::ScopedLock lock(observersMutex_);
        observers_.erase(observer);
    }
}
