#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ConfigServiceNotifiers.h"
#include "ConfigServiceObserver.h"
#include "ConfigValue.h"
#include "contracts/UnifiedService.h"

// An observer of another layer does not compile: the overloads hide those of the base on purpose.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// What every client of the configuration holds: the live value of each key, and the way to change one.
/// Obtained from the factory with getService<ConfigService>().
///
/// The model is push: getConfig() reads no store. The object that it gives changes, and tells its observers, when a
/// store brings, changes or loses the key.
///
/// Dispatcher thread only, unless an operation says otherwise; off it an operation throws an exception derived from
/// std::logic_error before it has touched anything. The registration of observers and the notifiers are not checked;
/// the thread is the caller's duty there. Without a feature set the forwarding operations do nothing and answer false.
class ConfigService : public virtual UnifiedService {
public:
    /// Held weakly; the same observer counts once.
    virtual void addObserver(std::weak_ptr<ConfigServiceObserver> observer) = 0;

    /// One that is not registered is no error.
    virtual void removeObserver(std::weak_ptr<ConfigServiceObserver> observer) = 0;

    /// Made at the first request. Never null.
    virtual std::shared_ptr<ConfigServiceNotifiers> getConfigServiceNotifiers() = 0;

    /// True from the end of the service's construction on. Says that the service exists, not that configuration has
    /// arrived: late values are ordinary changes.
    virtual bool getConfigReady() const = 0;

    /// The live object of the key, made undefined if nobody has asked for the key before. An old name of a key gives
    /// the object of its current name. Never null; the same object for every spelling of the key.
    virtual std::shared_ptr<ConfigValue> getConfig(std::wstring key) = 0;

    /// Stores a user value, which is written to the user's file later. The live object changes when the change comes
    /// back from the chain: before this returns. A value that does not win, or that no store takes, changes nothing in
    /// it and is no error: the live object tells what holds. The one exception is the old name
    /// "VVM_Mailstore_Server_0": the user's file takes it as "VoicemailPrimaryServer", which nobody is told of, so that
    /// the live object has the value from the next report of that name on, after the next start or refresh at the
    /// latest.
    virtual void setConfig(std::wstring key, std::wstring value) = 0;

    /// Stores a value in memory; it overrules nothing but the installation's defaults, and is gone after the next start
    /// or refresh of the feature set.
    virtual void setInMemoryConfig(std::wstring key, std::wstring value) = 0;

    /// All live objects in the order of their keys, undefined ones included. The vector is the caller's; its entries
    /// are the live objects. The thread is not checked here: the dispatcher thread is the caller's duty.
    virtual std::shared_ptr<std::vector<std::shared_ptr<ConfigValue>>> getAllConfig() = 0;

    /// Removes the user's value of a key, under all its names.
    virtual void resetConfig(std::wstring key) = 0;

    /// Takes a store and its cached copy out of the chain, cache file included. @return true if either was there.
    virtual bool removeConfigStoreAndCache(std::wstring storeName) = 0;

    /// Takes the cached copies of remote stores out of the chain and deletes all cache files; what a provisioning link
    /// has set goes on answering until the next start of the program, refresh or data reset.
    virtual void removeAllCachedConfigStores() = 0;

    /// Writes the "Master Configuration Settings" report of all live objects as one log record of level 4.
    virtual void logConfig() = 0;

    /// Marks a key as sensitive: from then on logs show VALUE_HIDDEN for it. There is no way back.
    virtual void setKeySensitive(std::wstring key) = 0;

    /// True once the mark has come back from the chain: right after setKeySensitive() on this thread.
    virtual bool isKeySensitive(std::wstring key) = 0;

    /// Applies a provisioning link, once; see ConfigFeatureSet. Any thread. @return true if it was taken.
    virtual bool setUrlProvisioningData(std::wstring data) = 0;

    /// Allows another provisioning link after one was taken. Any thread. @return true if there was something to allow.
    virtual bool resetAllowUriProvisioningData() = 0;

    std::string getInterfaceName() const override { return "ConfigService"; }
};

#pragma GCC diagnostic pop
