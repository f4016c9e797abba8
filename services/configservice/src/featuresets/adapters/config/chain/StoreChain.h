#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "LockRanks.h"
#include "chain/SearchedStore.h"
#include "tessel/Mutex.h"

/// Stores in the order in which they are searched.
using StoreList = std::vector<std::shared_ptr<ConfigStore>>;

/// The chain's list of stores and its reentrant lock.
///
/// The list is replaced whole by every change, so that a walk keeps the list with which it began whatever its callbacks
/// do to the chain. Every operation takes the lock for its own length; Lock spans several. A store that leaves the
/// chain is kept until the outermost Lock of the thread is gone: its destructor may be a client's, and runs without the
/// lock.
class StoreChain {
public:
    /// Holds the chain for the length of a scope; may be nested on one thread.
    class TESSEL_SCOPED_CAPABILITY Lock {
    public:
        explicit Lock(StoreChain& chain) TESSEL_ACQUIRE(chain.mutex_) : chain_(chain) {
            chain_.mutex_.lock();
            ++chain_.depth_;
        }

        ~Lock() TESSEL_RELEASE() {
            if (--chain_.depth_ == 0 && !chain_.departed_.empty()) {
                chain_.unlockAndLetGo();
            } else {
                chain_.mutex_.unlock();
            }
        }

        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        StoreChain& chain_;
    };

    /// The order of the chain: a has the smaller priority number.
    static bool precedes(const std::shared_ptr<ConfigStore>& a, const std::shared_ptr<ConfigStore>& b);

    /// The list as it stands; never null, and never changed afterwards.
    std::shared_ptr<const StoreList> stores();

    /// The same for searches; good until the outermost Lock of this thread is gone, even if the chain changes.
    const SearchList& searchList(const Lock&) TESSEL_NO_THREAD_SAFETY_ANALYSIS { return content_->search; }

    /// The store at that place as the chain stands, null behind its end.
    std::shared_ptr<ConfigStore> at(std::size_t index);

    /// The first store of that name, without regard to case; null if there is none.
    std::shared_ptr<ConfigStore> find(const std::string& name);

    /// True if this very store is in the chain.
    bool contains(const ConfigStore& store);

    /// Puts a store behind those of the same or a smaller priority number.
    void insert(const std::shared_ptr<ConfigStore>& store);

    /// Takes this very store out, if it is in the chain.
    void erase(const std::shared_ptr<ConfigStore>& store);

    /// Calls visit(store), with a SearchedStore, for the stores of this moment, first to last, until it returns false.
    /// A store that has left the chain before its turn is passed over, one that joins meanwhile is not visited.
    template <typename Visit>
    void walk(const Visit& visit) {
        const Lock lock(*this);
        walk(lock, visit);
    }

    /// The same for a thread that holds the chain.
    template <typename Visit>
    void walk(const Lock& lock, const Visit& visit) TESSEL_NO_THREAD_SAFETY_ANALYSIS {
        const SearchList& list = searchList(lock);
        for (const SearchedStore& store : list) {
            if (stillHas(list, *store.store()) && !visit(store)) {
                return;
            }
        }
    }

    /// The same from last to first, to the end.
    template <typename Visit>
    void walkBackwards(const Visit& visit) {
        const Lock lock(*this);
        const SearchList& list = searchList(lock);
        for (auto store = list.rbegin(); store != list.rend(); ++store) {
            if (stillHas(list, *store->store())) {
                visit(*store);
            }
        }
    }

private:
    struct Content {
        StoreList stores;
        SearchList search;
    };

    /// contains() for a store of an earlier list, which nearly always is the list of this moment.
    bool stillHas(const SearchList& earlier, const ConfigStore& store) TESSEL_REQUIRES(mutex_) {
        return &earlier == &content_->search || contains(store);
    }

    void replace(StoreList stores) TESSEL_REQUIRES(mutex_);

    /// Ends the departed stores, after the lock.
    void unlockAndLetGo() TESSEL_RELEASE(mutex_);

    tessel::Mutex mutex_{LockRanks::CHAIN};
    std::shared_ptr<const Content> content_ TESSEL_GUARDED_BY(mutex_) = std::make_shared<const Content>();
    std::vector<std::shared_ptr<const Content>> departed_ TESSEL_GUARDED_BY(mutex_);  ///< with their stores
    unsigned depth_ TESSEL_GUARDED_BY(mutex_) = 0;
};
