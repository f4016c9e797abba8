#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "quill/StringUtils.h"

namespace fakes {

/// A store whose every answer a test, a benchmark or a simulation sets. It keeps its values in memory, writes down what
/// is asked of it, refuses on request, and can run an action from inside a lookup.
///
/// Made by its maker's chain of settings, which are to be finished before the store is shared:
///     const auto store = std::make_shared<ScriptedStore>("Server", 300);
///     store->readOnly().with(L"domain", L"example.com");
/// The rest may be called on any thread. No lock is held while an action runs.
class ScriptedStore : public ConfigStore {
public:
    /// A writable local store.
    ScriptedStore(std::string name, std::int32_t priority);

    // Settings.

    ScriptedStore& with(const std::wstring& key, const std::wstring& value);
    ScriptedStore& readOnly();

    /// isLocal() is false from now on.
    ScriptedStore& remote();

    /// shouldCacheConfigStore() is true from now on.
    ScriptedStore& cached();

    /// storeValue() of this key returns false from now on and stores nothing; the empty text stands for every key.
    ScriptedStore& refusing(const std::wstring& key = {});

    /// waitForStoreReady() returns false from now on.
    ScriptedStore& neverReady();

    /// On a miss the value is left with this text, as a careless store might do.
    ScriptedStore& leavingOnMiss(const std::wstring& text);

    /// Runs inside every getValue(), before the answer, with the key that was asked for.
    void onGetValue(std::function<void(const std::wstring& key)> action);

    /// Runs inside every waitForStoreReady().
    void onWait(std::function<void()> action);

    /// Runs inside every destroy().
    void onDestroy(std::function<void()> action);

    /// Runs in the destructor.
    void onDestruction(std::function<void()> action);

    // What happened.

    /// Calls that change the store or reach outside, in order: "store key=value", "remove key", "removeAll", "persist",
    /// "destroy", "wait".
    std::vector<std::string> calls() const;

    /// How often exactly this call came.
    std::size_t count(const std::string& call) const;

    /// Keys of the getValue() calls, in order.
    std::vector<std::wstring> lookups() const;
    void forgetCalls();

    ~ScriptedStore() override;
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override { return readOnly_; }
    std::string getName() override { return name_; }
    std::int32_t getPriority() override { return priority_; }
    void persistValues() override;
    void destroy() override;
    bool isLocal() override { return local_; }
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override { return cached_; }

private:
    struct IgnoreCase {
        bool operator()(const std::wstring& a, const std::wstring& b) const {
            return QuillCoreUtils::caseInsensitiveStringCompare(a, b) < 0;
        }
    };

    void record(const std::string& call);

    const std::string name_;
    const std::int32_t priority_;
    bool readOnly_ = false;
    bool local_ = true;
    bool cached_ = false;
    bool ready_ = true;
    std::vector<std::wstring> refused_;
    std::wstring textOnMiss_;
    std::function<void()> onDestruction_;

    mutable std::mutex mutex_;
    std::map<std::wstring, std::wstring, IgnoreCase> values_;
    std::function<void(const std::wstring&)> onGetValue_;
    std::function<void()> onWait_;
    std::function<void()> onDestroy_;
    std::vector<std::string> calls_;
    std::vector<std::wstring> lookups_;
};

}  // namespace fakes
