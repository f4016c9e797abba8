#pragma once

#include <map>
#include <memory>
#include <string>

#include "ConfigStore.h"
#include "unified/FeatureSet.h"

/// The configuration feature set: the chain of stores as other modules see it. Obtained from the factory with
/// getFeatureSet<ConfigFeatureSet>(); may be called on any thread unless an operation says otherwise.
///
/// Before the feature set has been started, reads and writes work on the stores that the installation and the user's
/// files give; only addConfigStore() and removeConfigStore() refuse.
///
/// startTftpConfigSource(), stopTftpConfigSource() and refreshConfigFeatureSet() are lifecycle operations, one at a
/// time. Called from inside a change notification while one is under way, on another thread or on this very one, whose
/// step the notification then tells of, they are queued and run on the dispatcher thread after the notification;
/// otherwise they have run when the call returns. So one that is queued may run after one that was called later.
class ConfigFeatureSet : public FeatureSet {
public:
    /// Adds a store of the caller's to the chain; one of the same name is replaced. Its keys are reported before the
    /// call returns on the dispatcher thread, and queued for it from any other. Refused, with a level 2 line, while the
    /// feature set is not started. A store named "PresenceConfigStore" makes the caller wait for the server's file
    /// first, at most 20 seconds: do not add it from inside a change notification, which holds the chain, and so every
    /// other reader, all that time, nor on the dispatcher thread, for which the end of a host and a power down wait.
    virtual void addConfigStore(std::shared_ptr<ConfigStore> store) = 0;

    /// Takes a store and the cached copy of it out of the chain, its cache file included. An addition of it that is
    /// under way writes no copy any more, nor does a download that is being reported; one that is not being reported
    /// yet does.
    /// @return true if either was there. Refused, with a level 2 line, while the feature set is not started.
    virtual bool removeConfigStore(const std::string& name) = 0;

    /// Takes the cached copies of remote stores out of the chain and deletes all cache files; what a provisioning link
    /// has set goes on answering until the next start of the program, refresh or data reset.
    virtual void removeAllCachedConfigStores() = 0;

    /// The winning value of a key, aliases included.
    /// @param value receives the text on a hit; on a miss its contents are undefined (in FIPS mode
    ///              "telephony_p2p_enabled" reads "false" even then). @param skipLocal true: only stores that the user
    ///              cannot write are asked.
    /// @return true if a store holds the key.
    virtual bool getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) = 0;

    /// The same with the name of the store that answered.
    /// @param usedOtherKeyName becomes true if the value came from the key's other name; never set to false.
    virtual bool getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName,
                           bool& usedOtherKeyName, bool skipLocal) = 0;

    /// Stores a user value in the first writable store of the chain; it is persisted later, on the host's task queue.
    /// Under the old name "VVM_Mailstore_Server_0" the user's file takes it as "VoicemailPrimaryServer", and nobody is
    /// told: lookups see it, live values keep what they had until "VoicemailPrimaryServer" is reported.
    /// @return true if a store took it. Whether the value wins is another question: ask getConfig().
    virtual bool setConfig(const std::wstring& key, const std::wstring& value) = 0;

    /// Stores several user values, in every writable store but the in-memory one. @return true if there is such a
    /// store.
    virtual bool setConfig(std::map<std::wstring, std::wstring> values) = 0;

    /// Stores a value in memory only, ahead of nothing but the installation's defaults.
    /// @return true if there is an in-memory store. Whether the value wins is another question: ask getConfig().
    virtual bool setInMemoryConfig(const std::wstring& key, const std::wstring& value) = 0;

    /// Removes a key, under all its names, from every writable store.
    virtual void resetConfig(const std::wstring& key) = 0;

    /// True if the key's value must not be shown in a log.
    virtual bool isKeySensitive(const std::wstring& key) = 0;

    /// Marks a key as sensitive, for the life of the feature set.
    virtual void setKeySensitive(const std::wstring& key) = 0;

    /// Turns the download of the server's file on and fetches it, if one of "TFTPPrimaryServer", "TFTPBackupServer1"
    /// and "TFTPBackupServer2" names a server; "configurationfile" may name the file. A second call while on does
    /// nothing.
    ///
    /// May block: unless "HomeUdsVersion" is known, servers are asked for their version first, for up to 30 seconds if
    /// they are silent. So not on a thread that a user waits for. The transfer runs in the background, and what it
    /// brings arrives as ordinary changes of the live values.
    ///
    /// What lies in the nature of this source:
    /// - An address is tried once. There is no retry: the next attempt comes with another start, with a change of one
    ///   of the four keys, or, in edge mode, when telephony connects.
    /// - The download that telephony asks for runs beside one that is under way, and whichever ends last decides: when
    ///   the earlier one then fails and no server is left, the values that have come are gone until the next download
    ///   or start, while the copy on disk stays.
    /// - Without a version nothing is fetched, and a change of the addresses does not help: a stop and a start do. In
    ///   edge mode telephony's connection does too, but only if "HomeUdsVersion" is known by then, or if somebody is
    ///   left to be asked: the server that "HubcipServer1" names, each time anew, or one that has not been asked while
    ///   there have been fewer than three requests. A request that was interrupted counts like any other.
    /// - A change of the four keys while this call is under way may go unnoticed: set them before.
    /// - When every address has failed, the server's values are gone from the chain, and nobody is told: lookups see
    ///   it, live values keep what they had.
    /// - A file that is no configuration document counts as delivered: the server's values are gone, and so are those
    ///   of its copy, which would have served the next start. Live values keep what they had.
    /// - A policy in the file can erase the server keys that the user has entered. That starts a new attempt with what
    ///   is left; if no address is left, the values that have just joined are gone again.
    /// - Sensitive values are not in the copy on disk: after a restart they are missing until the next download.
    /// - After a power down that is called off the source is on and may have missed something: of a file that has come
    ///   meanwhile nobody is told, and if it was the first, neither it nor a later one joins the chain; a version that
    ///   servers have told is forgotten, while they count as asked. So who has turned the source on turns it off and on
    ///   again then, best on a thread of its own; an observer of power events is told when
    ///   (PowerDownCalledOff in system/SystemMonitor.h). The new file is told as any, and what the one that has come
    ///   meanwhile had alone as gone; a live value whose key is in neither of the two keeps what it had.
    virtual void startTftpConfigSource() = 0;

    /// Turns it off. The values that it has brought stay in the chain, and a download that is under way goes on.
    virtual void stopTftpConfigSource() = 0;

    /// Builds the user's stores anew from their files while the feature set keeps running; values in memory are gone,
    /// and the remote source is off afterwards.
    virtual void refreshConfigFeatureSet() = 0;

    /// Applies a provisioning link: fewer than 1000 characters, and behind the first "?" pairs of key "=" value joined
    /// by "&", without any escaping. Keys other than the fourteen of URL_PROVISIONING_CONFIG_KEY_ARRAY are dropped.
    /// @return true if it was taken; false if it holds none of those keys, is too long or has no "?", or if a link was
    ///         taken before ("AllowUrlProvisioning" reads "false"). Of two links at once both may be taken: the one
    ///         whose file is written last answers, now and after a restart.
    virtual bool setUrlProvisioningData(std::wstring data) = 0;

    /// Allows another provisioning link after one was taken. @return true if there was something to allow.
    virtual bool resetAllowUriProvisioningData() = 0;
};
