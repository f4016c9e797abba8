#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ModelTypes.h"

namespace simulation {

/// The chain restated as plainly as possible: a vector of stores that is walked for every question. It shares no code
/// with the module; no locks, no threads, no files. Whoever listens is called inside the operation and may call back.
class ChainOracle {
public:
    using Listener = std::function<void(const ChainCall&)>;
    using StorePtr = std::shared_ptr<ModelStore>;

    /// What a look-up says.
    struct Answer {
        bool found = false;
        std::wstring value;
        std::wstring storeName;
        bool usedOtherName = false;

        bool operator==(const Answer&) const = default;
    };

    explicit ChainOracle(Listener listener);

    /// Takes these stores for the chain, in this order, and tells nobody.
    void adopt(std::vector<StorePtr> stores) { chain_ = std::move(stores); }

    // Questions.

    const std::vector<StorePtr>& chain() const { return chain_; }
    StorePtr storeNamed(const std::string& name) const;  ///< null if the chain has none of this name
    Answer lookUp(const std::wstring& key, bool readOnlyStoresOnly) const;

    /// The report that a recomputation of the key makes, under the key as given.
    Report stateOf(const std::wstring& key) const;

    bool isSensitive(const std::wstring& key) const { return sensitive_.count(folded(key)) != 0; }

    /// How many runs of a store's persistence have been asked for.
    std::size_t persistTasks() const { return persistTasks_; }

    /// The current name of an old key; null if the key is none.
    static const std::wstring* currentNameOf(const std::wstring& key);

    /// The old name of a current key; null if it has none.
    static const std::wstring* oldNameOf(const std::wstring& key);

    bool fips() const { return fips_; }
    void setFips(bool on) { fips_ = on; }

    // Changes.

    bool store(const std::wstring& key, const std::wstring& value);
    bool storeAll(const std::map<std::wstring, std::wstring>& values);
    bool storeInMemory(const std::wstring& key, const std::wstring& value);
    bool erase(const std::wstring& key);
    void markSensitive(const std::wstring& key);

    void add(const StorePtr& store);
    void replace(const StorePtr& store);
    void replace(const StorePtr& store, const std::vector<std::wstring>& oldKeys);
    bool remove(const std::string& name);
    void clear();
    void resetData();

    /// A store that comes through the feature set: the custom-server policies are applied after it.
    void addThroughFeatureSet(const StorePtr& store);

    /// Erases what the policies forbid the user to set.
    void applyPolicies();

    /// Takes the presence store out of the list of copies where the product is a phone alone.
    void dropPresenceInPhoneMode();

private:
    struct Original {
        std::wstring value;
        std::wstring storeName;
        bool found = false;
        bool overridden = false;
        bool usedOtherName = false;
    };

    bool read(const ModelStore& store, const std::wstring& key, std::wstring& text) const;
    bool isHidden(const std::wstring& key) const;
    Answer walk(const std::wstring& key, bool readOnlyStoresOnly) const;
    Original originalFromStores(const std::wstring& key) const;
    Original originalOf(const std::wstring& key) const;
    bool write(ModelStore& store, const std::wstring& key, const std::wstring& value);
    bool removeFrom(ModelStore& store, const std::wstring& key);
    void takeOutSilently(const std::string& name);
    void recompute(const std::wstring& key, bool silent);
    void tellOfBatch(const std::vector<std::wstring>& keys);
    bool policyForbids(const std::wstring& policyKey) const;

    Listener listener_;
    std::vector<StorePtr> chain_;
    std::set<std::wstring> sensitive_;
    std::size_t persistTasks_ = 0;
    bool fips_ = false;
};

}  // namespace simulation
