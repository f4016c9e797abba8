#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "limits/HashTable.h"
#include "limits/KeyWays.h"
#include "support/Layers.h"

namespace bench {

/// A chain of layers by hand: a table for each, the key hashed once, one lock that nobody else wants.
template <typename Way>
class HashChainBy {
public:
    using Key = std::wstring;

    explicit HashChainBy(const Layers& layers) {
        for (const Layer& layer : layers) {
            tables_.push_back(
                {L"Store" + std::to_wstring(tables_.size()), layer.readOnly, HashTable<Way>(layer.entries.size())});
            for (const auto& [key, value] : layer.entries) {
                tables_.back().values.put(widen(key), widen(value));
            }
        }
        observer_ = [this] { ++told_; };
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    bool lookUp(const Key& key) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return findValue(key, Way::hashOf(key));
    }

    /// Value, administrator's value and the stores of both.
    bool answer(const Key& key) {
        const std::lock_guard<std::mutex> lock(mutex_);
        return findAll(key, Way::hashOf(key));
    }

    /// Works out the whole answer, as the observer may ask for any part of it.
    void set(const Key& key, bool second) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            findAll(key, store(key, second));
        }
        tell();
    }

    /// Works out the value, and nothing besides.
    void setValueAlone(const Key& key, bool second) {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            findValue(key, store(key, second));
        }
        tell();
    }

    std::size_t told() const { return told_; }

private:
    struct Table {
        std::wstring name;
        bool readOnly;
        HashTable<Way> values;
    };

    bool findValue(const Key& key, std::uint64_t hash) {
        for (Table& table : tables_) {
            if (const std::wstring* found = table.values.find(key, hash)) {
                value_ = *found;
                return true;
            }
        }
        return false;
    }

    bool findAll(const Key& key, std::uint64_t hash) {
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

    /// @return the key's hash.
    std::uint64_t store(const Key& key, bool second) {
        const std::uint64_t hash = Way::hashOf(key);
        *tables_[USER_LAYER].values.find(key, hash) = second ? L"value-second" : L"value--first";
        return hash;
    }

    void tell() {
        if (value_ != seen_) {
            seen_ = value_;
            observer_();
        }
    }

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

/// The limit, as one writes it.
using HashChain = HashChainBy<LetterByLetter>;

/// With the module's own way to hash, for one who has time to write that for himself.
using QuickHashChain = HashChainBy<EightLetters>;

/// The same, as far as peers go that know one value of a key.
class HashChainOfValues : public HashChain {
public:
    using HashChain::HashChain;
    void set(const Key& key, bool second) { setValueAlone(key, second); }
};

}  // namespace bench
