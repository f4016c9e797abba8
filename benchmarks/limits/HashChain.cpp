#include <functional>
#include <mutex>

#include "limits/HashTable.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// The limit of a lookup over layers: a table for each, the key hashed once, one lock that nobody else wants.
class HashChain {
public:
    using Key = std::wstring;

    explicit HashChain(const Layers& layers) {
        for (const Layer& layer : layers) {
            tables_.push_back(
                {L"Store" + std::to_wstring(tables_.size()), layer.readOnly, HashTable(layer.entries.size())});
            for (const auto& [key, value] : layer.entries) {
                tables_.back().values.put(widen(key), widen(value));
            }
        }
        observer_ = [this] { ++told_; };
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    bool lookUp(const Key& key) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const std::uint64_t hash = HashTable::hashOf(key);
        for (Table& table : tables_) {
            if (const std::wstring* found = table.values.find(key, hash)) {
                value_ = *found;
                return true;
            }
        }
        return false;
    }

    bool answer(const Key& key) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const std::uint64_t hash = HashTable::hashOf(key);
        const Table* first = nullptr;
        for (Table& table : tables_) {
            if (first != nullptr && !table.readOnly) {
                continue;
            }
            const std::wstring* found = table.values.find(key, hash);
            if (found == nullptr) {
                continue;
            }
            if (first == nullptr) {
                first = &table;
                value_ = *found;
                store_ = table.name;
            }
            if (table.readOnly) {
                original_ = *found;
                originalStore_ = table.name;
                break;
            }
        }
        return first != nullptr;
    }

    void set(const Key& key, bool second) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            *tables_[USER_LAYER].values.find(key, HashTable::hashOf(key)) = second ? L"value-second" : L"value--first";
        }
        answer(key);
        if (value_ != seen_) {
            seen_ = value_;
            observer_();
        }
    }

    std::size_t told() const { return told_; }

private:
    struct Table {
        std::wstring name;
        bool readOnly;
        HashTable values;
    };

    std::mutex mutex_;
    std::vector<Table> tables_;
    std::wstring value_;
    std::wstring original_;
    std::wstring store_;
    std::wstring originalStore_;
    std::wstring seen_;
    std::function<void()> observer_;
    std::size_t told_ = 0;
};

}  // namespace

void addHashChain(const Scale& scale) {
    addLookups<HashChain>(scale, "limit: hash chain");
    addAnswer<HashChain>(scale, "limit: hash chain");
    addSet<HashChain>(scale, "limit: hash chain");
}

}  // namespace bench
