#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "remote/DownloadJournal.h"
#include "tessel/Mutex.h"
#include "tessel/TesselLogger.h"
#include "unified/UnifiedFactory.h"

/// Finds the major version of the call-control server: from the key "HomeUdsVersion", or else by asking servers over
/// HTTPS for the version of their directory service (UDS). What it finds goes into the in-memory store, so that later
/// queries need no network.
///
/// Any thread. Every request blocks its caller, for ten seconds at most; no lock is held meanwhile.
class UdsVersionQuery {
public:
    /// @param journal told of each request; never null.
    UdsVersionQuery(std::shared_ptr<UnifiedFactory> factory, std::shared_ptr<DownloadJournal> journal);

    /// Asks the primary server of the device list if it is set, and then, with at most three requests in this object's
    /// life, its backups and the three given addresses (empty for none) that have not been asked before.
    /// @return the major version, 0 if unknown.
    std::int32_t getUdsVersion(const std::string& tftpServer1, const std::string& tftpServer2,
                               const std::string& tftpServer3);

    /// The stored version; empty for none.
    std::string getConfigStoreHomeUdsVersion();

    /// True if every character is a digit or a full stop; so the empty text is valid.
    static bool isValidUdsVersion(std::string version);

    /// The digits up to the first other character, as atoi reads them but clamped to 32 bits; 0 without any.
    static std::int32_t udsVersionStringToInt(const std::string& version);

    /// Reads the three device-list servers anew. @return the primary one.
    std::string getHUBCIPServerValue();

    /// Asks one server, whether or not it was asked before. @return its version text, empty on any failure.
    std::string retrieveUdsVersion(const std::string& address);

    /// The backups and the given addresses, in order, until one answers. @return a version text, empty if none did.
    std::string attemptUdsVersionFailover(const std::string& tftpServer1, const std::string& tftpServer2,
                                          const std::string& tftpServer3);

    /// Stores the version where the next query finds it.
    void setInMemoryConfigStoreValue(std::string& version);

    /// @return the version text of a version document, empty if there is none.
    static std::string parseUdsVersionResponse(const std::string& body);

    /// Whether the address, exactly so, has been asked.
    bool isAddressBlacklisted(std::string address) const;

    /// @return true if the value is not empty.
    bool getConfigStoreValue(const std::wstring& key, std::wstring& value, bool skipLocal);

private:
    struct Servers {
        std::string primary;
        std::string backup1;
        std::string backup2;
    };

    static TesselLogger* logger();

    /// Asks a server unless it has been asked before or enough have. @param role what the log calls it.
    /// @return its version text, empty on any failure and if it was not asked.
    std::string askOnce(const std::string& address, const std::string& role);
    std::string request(const std::string& address);

    void recordAttempt(const std::string& address) TESSEL_REQUIRES(mutex_);
    bool isBlacklisted(const std::string& address) const TESSEL_REQUIRES(mutex_);

    const std::shared_ptr<UnifiedFactory> factory_;
    const std::shared_ptr<DownloadJournal> journal_;
    mutable tessel::Mutex mutex_;  ///< a leaf: held for a copy, across no call
    Servers hubcipServers_ TESSEL_GUARDED_BY(mutex_);
    std::uint32_t queryAttempts_ TESSEL_GUARDED_BY(mutex_) = 0;                ///< requests ever made
    std::vector<std::string> blacklistedAddresses_ TESSEL_GUARDED_BY(mutex_);  ///< servers ever asked, with repeats
};
