#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "reading/KeySelection.h"
#include "reading/Views.h"

class ConfigService;
class ConfigStoreManager;
class ConfigValue;
class ServicesDispatcher;

namespace corvidctl {

/// Observes live objects, those that exist and those that come, and tells each report that changed one of them: once,
/// however many of its properties changed, and after all of them have been applied.
///
/// Made, started and stopped on the dispatcher thread, where the changes are told too.
class LiveWatcher : public ConfigStoreManager_Observer, public std::enable_shared_from_this<LiveWatcher> {
public:
    using Listener = std::function<void(const ChangeView&)>;

    LiveWatcher(ConfigStoreManager& chain, std::shared_ptr<ConfigService> service,
                std::shared_ptr<ServicesDispatcher> dispatcher, ChainReader reader, KeySelection selection,
                Listener listener);
    ~LiveWatcher() override;

    /// @param listener called on the dispatcher thread whenever a piece of work that changed something is over and all
    ///        of its changes have been told: a task of that thread, or what another thread did under the chain's lock.
    ///        Before start().
    void setWorkListener(std::function<void()> listener) { workListener_ = std::move(listener); }

    /// @param listener called with the current name of each key that is called sensitive, on any thread, under a lock
    ///        of the chain: it must not ask the chain. Before start().
    void setSecretListener(std::function<void(const std::wstring& key)> listener) {
        secretListener_ = std::move(listener);
    }

    /// From here on changes are told.
    void start();

    /// Tells what is still waiting, and takes it for the end of a piece of work.
    void endWork();

    /// Tells what is still waiting, and nothing more.
    void stop();

    // The chain's reports, on any thread. They say where one report ends and the next begins, and name new keys; what
    // changed comes from the live objects.

    void onFireIfRequired(std::wstring key) override;
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override;
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;

private:
    class Subscription;

    void betweenReports(const std::wstring& key, bool silent);
    void onDispatcher(const std::function<void()>& function);
    void follow(const std::wstring& key, bool silent);
    std::shared_ptr<Subscription> subscribe(const std::shared_ptr<ConfigValue>& object);
    void flushLater(const std::wstring& key);
    void flush();
    void endWorkBehindOtherThreads();
    void afterwards(void (LiveWatcher::*function)(), const char* name);

    ConfigStoreManager& chain_;
    const std::shared_ptr<ConfigService> service_;
    const std::shared_ptr<ServicesDispatcher> dispatcher_;
    const ChainReader reader_;
    const KeySelection selection_;
    const Listener listener_;
    std::function<void()> workListener_;
    std::function<void(const std::wstring&)> secretListener_;
    bool started_ = false;
    bool isEndingWork_ = false;          ///< a task that ends the work is on its way
    std::vector<std::wstring> waiting_;  ///< keys with a change that has not been told, in the order of their reports
    std::map<std::wstring, std::shared_ptr<Subscription>, caseInsensitiveMapComparator> subscriptions_;
};

}  // namespace corvidctl
