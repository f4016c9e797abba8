#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DownloadFixture.h"
#include "OnceClient.h"

/// Reaches what the adapter never is in a host.
struct ConfigAdapterTestAccess {
    /// Calls the action while the adapter has no chain.
    static void withoutManager(ConfigAdapter& adapter, const std::function<void()>& action) {
        const auto manager = std::exchange(adapter.configStoreManager_, nullptr);
        action();
        adapter.configStoreManager_ = manager;
    }

    /// What the adapter does to its chain of itself, on account of a store.
    static void maintainChain(ConfigAdapter& adapter, const std::shared_ptr<ConfigStore>& store) {
        adapter.updateExistingConfigStore(store, store->getKeys());
        adapter.updateCacheStorePriority(store->getName(), store->getPriority());
        adapter.InitialiseCachedConfigStores();
        adapter.removeCustomServerValuesIfPolicySet();
    }
};

/// A module that is asked to forget the user's data.
class DataResetFixture : public DownloadFixture {
protected:
    void reset() { adapter()->InvokeResetData(); }

    bool exists(const std::string& name) const { return std::filesystem::exists(status(name)); }

    /// A regular file, which even one who looks for values in it can read.
    void put(const std::string& name) const { write("config/" + name, localDocument({})); }

    /// Full paths of what is left in the configuration directory, folders not counted.
    std::vector<std::string> filesLeft() const {
        std::vector<std::string> names;
        const std::filesystem::path directory(world.configDirectory());
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
            if (!std::filesystem::is_directory(entry.symlink_status())) {
                names.push_back(entry.path().lexically_relative(directory).string());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Calls the action once, when the live value of the key next changes.
    void atNextChange(const std::wstring& key, const std::function<void()>& action) {
        live_ = service()->getConfig(key);
        client_ = std::make_shared<OnceClient>(action);
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
    }

    /// The chain, the service and the disk hold nothing that was the user's.
    void expectNothingOfTheUsers(const std::vector<std::wstring>& keys) {
        dispatcher->runAll();
        tasks->runAll();
        pool->runAll();
        dispatcher->runAll();
        tasks->runAll();
        for (const std::wstring& key : keys) {
            EXPECT_EQ(get(key), L"<none>") << QuillCoreUtils::toString(key);
        }
        EXPECT_EQ(get(L"PrimaryConfigStores"), L"<none>");
        EXPECT_THAT(filesLeft(), testing::IsEmpty());
    }

    std::string deleted(const std::string& name) const { return lineOf("file with name: [" + name + "] deleted"); }
    std::string kept(const std::string& name) const {
        return lineOf("file will be excluded from reset deletion: [" + name + "]");
    }

    /// What the reset says of files, in order.
    std::vector<std::string> fileLines() const {
        std::vector<std::string> lines;
        for (const std::string& line : adapterLines(4)) {
            if (line.rfind("removeFilesFromDirectory: ", 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

private:
    std::filesystem::file_status status(const std::string& name) const {
        return std::filesystem::symlink_status(world.configDirectory() + "/" + name);
    }
    static std::string lineOf(const std::string& text) { return "removeFilesFromDirectory: " + text; }

    std::shared_ptr<ConfigValue> live_;
    std::shared_ptr<OnceClient> client_;
};
