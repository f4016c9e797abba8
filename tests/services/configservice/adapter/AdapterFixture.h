#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ConfigAdapter.h"
#include "ConfigServiceImpl.h"
#include "InjectConfigService.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/RecordingManagerObserver.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedStore.h"
#include "impl/system/SignalNotifier.h"
#include "impl/system/SystemMonitorImpl.h"
#include "impl/system/SystemServiceImpl.h"
#include "remote/TftpConfigStore.h"
#include "unified/UnifiedFactory.h"

using Values = std::map<std::string, std::string>;

/// A document as the user's local file and the defaults file hold it.
inline std::string localDocument(const Values& values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n";
    for (const auto& [key, value] : values) {
        text += "<userConfig name=\"" + key + "\" value=\"" + value + "\"/>\n";
    }
    return text + "</Corvid>\n";
}

/// A document as the server and the cache files hold it.
inline std::string serverDocument(const Values& values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Corvid>\n<CachedConfig>\n";
    for (const auto& [key, value] : values) {
        text += "<" + key + ">" + value + "</" + key + ">\n";
    }
    return text + "</CachedConfig>\n</Corvid>\n";
}

/// A power monitor that counts who comes and goes.
class CountingSystemMonitor : public TesselSystemMonitor::SystemMonitorImpl {
public:
    void addPowerEventObserver(std::weak_ptr<TesselSystemMonitor::PowerEventObserver> observer) override {
        ++added;
        SystemMonitorImpl::addPowerEventObserver(observer);
    }
    void removePowerEventObserver(std::weak_ptr<TesselSystemMonitor::PowerEventObserver> observer) override {
        ++removed;
        SystemMonitorImpl::removePowerEventObserver(observer);
    }
    int added = 0;
    int removed = 0;
};

/// Counts registrations and keeps none, so that nothing is kept alive.
class CountingResetDataProvider : public ResetDataProvider {
public:
    void registerResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) override {
        names.push_back("register " + callback->getInterfaceName());
    }
    void removeResetDataCallback(std::shared_ptr<ProviderResetDataCallback> callback) override {
        names.push_back("remove " + callback->getInterfaceName());
    }
    std::vector<std::string> names;
};

/// Keeps the last connection that it gave, to see whether its owner ends it.
class RememberingNotifier : public SignalNotifier {
public:
    std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) override {
        const auto connection = SignalNotifier::connect(callback);
        last = connection.lock();
        return connection;
    }
    std::shared_ptr<PropertyNotifierConnection> last;
};

/// A system service whose provider of data resets and whose notifiers a test can look into.
class ScriptedSystemService : public SystemServiceImpl, private SystemServiceNotifiers {
public:
    std::shared_ptr<ResetDataProvider> getResetDataProvider() override { return provider; }
    std::shared_ptr<SystemServiceNotifiers> getSystemServiceNotifiers() override {
        // The test's fixture owns this object for longer than anyone uses the notifiers.
        return {std::shared_ptr<void>(), static_cast<SystemServiceNotifiers*>(this)};
    }
    std::shared_ptr<ServerHealthInformationList> getServerHealthInformationList() const override {
        ++listReads;
        return SystemServiceImpl::getServerHealthInformationList();
    }
    void userProfileChanged() { profileNotifier->fire(); }
    std::shared_ptr<PropertyNotifierConnection> lastProfileConnection() const { return profileNotifier->last; }
    std::shared_ptr<CountingResetDataProvider> provider = std::make_shared<CountingResetDataProvider>();
    std::shared_ptr<ServerHealthInformationListNotifier> listNotifier;  ///< null: that of the real service
    mutable std::atomic<int> listReads = 0;

private:
    std::shared_ptr<PropertyNotifier> getUserProfileNotifier() override { return profileNotifier; }
    std::shared_ptr<ServerHealthInformationListNotifier> getServerHealthInformationListNotifier() override {
        return listNotifier != nullptr
                   ? listNotifier
                   : SystemServiceImpl::getSystemServiceNotifiers()->getServerHealthInformationListNotifier();
    }
    const std::shared_ptr<RememberingNotifier> profileNotifier = std::make_shared<RememberingNotifier>();
};

/// A host on the test's own thread, with the module put in by inject() once the test has written its files.
class AdapterFixture : public ::testing::Test {
protected:
    AdapterFixture() {
        world.change([this](platform::World& changed) { changed.systemMonitor = monitor; });
        factory->setService<SystemService>(7, systemService);
    }
    ~AdapterFixture() override {
        if (manager() != nullptr) {
            manager()->RemoveObserver(&observer);
        }
        factory->clear();
    }

    void inject() { InjectConfigService(factory); }

    void injectAndStart() {
        inject();
        start();
    }

    void start() { adapter()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); }
    void stop() { adapter()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr); }

    std::shared_ptr<ConfigAdapter> adapter() const {
        return std::dynamic_pointer_cast<ConfigAdapter>(factory->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    }
    std::shared_ptr<ConfigStoreManager> manager() const {
        return adapter() == nullptr ? nullptr : adapter()->getConfigStoreManager();
    }
    std::shared_ptr<ConfigService> service() const { return factory->getService<ConfigService>(); }

    void observe() { manager()->AddObserver(&observer); }

    /// The answer of the chain, asked without a line in the log; "<none>" if no store holds the key.
    std::wstring get(const std::wstring& key) const {
        std::wstring value;
        return manager()->getValue(key, value, false) ? value : L"<none>";
    }

    std::wstring storeOf(const std::wstring& key) const {
        std::wstring value;
        std::wstring storeName;
        bool usedOtherKeyName = false;
        manager()->getValue(key, value, storeName, usedOtherKeyName, false);
        return storeName;
    }

    std::vector<std::string> chain() const {
        std::vector<std::string> names;
        for (const auto& store : manager()->getStores()) {
            names.push_back(store->getName());
        }
        return names;
    }

    std::shared_ptr<ConfigStore> storeNamed(const std::string& name) const {
        for (const auto& store : manager()->getStores()) {
            if (store->getName() == name) {
                return store;
            }
        }
        return nullptr;
    }

    void writeLocal(const Values& values) const { write("config/corvidLocalConfig.xml", localDocument(values)); }
    void writeOverride(const Values& values) const { write("config/corvid-config-user.xml", serverDocument(values)); }
    void writeDefaults(const Values& values) const {
        write("install/corvid-config-defaults.xml", localDocument(values));
    }
    void writeBootstrap(const std::string& text) const { write("install/bootstrap.properties", text); }
    void writeCache(const std::string& fileName, const Values& values) const {
        write("config/Cache/" + fileName, serverDocument(values));
    }
    std::string cacheFile(const std::string& fileName) const { return read("config/Cache/" + fileName); }

    void write(const std::string& name, const std::string& text) const { world.directory().write(name, text); }
    std::string read(const std::string& name) const { return world.directory().read(name); }

    /// The lines of the adapter's own logger at a level: "function: text".
    std::vector<std::string> adapterLines(int level) const {
        std::vector<std::string> lines;
        for (const auto& line : log->lines()) {
            if (line.logger == "ConfigAdapter" && line.level == level) {
                lines.push_back(line.function + ": " + line.text);
            }
        }
        return lines;
    }

    fakes::ScopedWorld world;
    fakes::ScopedRecordingLog log;
    fakes::RecordingManagerObserver observer;
    const std::shared_ptr<CountingSystemMonitor> monitor = std::make_shared<CountingSystemMonitor>();
    const std::shared_ptr<ScriptedSystemService> systemService = std::make_shared<ScriptedSystemService>();
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    const std::shared_ptr<fakes::HandSteppedTaskDispatcher> tasks =
        std::make_shared<fakes::HandSteppedTaskDispatcher>();
    const std::shared_ptr<UnifiedFactory> factory = std::make_shared<UnifiedFactory>(dispatcher, tasks);
};
