#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ChainOracle.h"
#include "DiskPicture.h"
#include "LiveOracle.h"

namespace simulation {

/// A store's entries as a file holds them.
FileEntries asFileEntries(const ModelStore& store);

/// What the stores and the files of a module ought to hold, whatever the order of the steps.
struct ScheduleModel {
    using StorePtr = ChainOracle::StorePtr;

    ScheduleModel();

    /// A process has begun on the files.
    void boot();

    void stop();
    void refresh();
    void resetData();

    /// The stores of the listed copies come into the chain, and read their files.
    /// @param list "name:priority;" for each.
    void addCopies(const std::wstring& list);

    /// A key of which no copy may hold the value, under either name, from now on.
    void markSensitive(const std::wstring& key) { sensitive.insert(folded(key)); }

    /// Whether the key is marked, under this name or the other one.
    bool isSensitive(const std::wstring& key) const;

    /// The user's values as their file would hold them.
    FileEntries userEntries() const { return asFileEntries(*user); }

    /// Names of the stores that the chain must hold, folded.
    std::vector<std::string> members() const;

    StorePtr user;
    StorePtr memory;
    StorePtr provisioning;
    StorePtr defaults;
    std::map<std::string, StorePtr> outside;  ///< by folded name
    std::map<std::string, StorePtr> cached;   ///< the copies in the chain, by folded name
    std::set<std::wstring> sensitive;         ///< folded, as marked in this process

    bool started = true;         ///< the feature set
    bool usersFilesIn = true;    ///< the user's file and the override are in the chain
    bool userDestroyed = false;  ///< the user's file is written no more
    bool hearsOfHost = true;     ///< of its power, and of the user's profile
    std::wstring lastProfile;    ///< of the user, as last read; empty for none
    bool sourceOn = false;
    bool serverIn = false;  ///< the server's store is in the chain

    FileEntries userFile;                       ///< nothing where there is no file
    bool writeFailed = false;                   ///< a write of the user's file may have failed, and none has come since
    std::map<std::string, FileEntries> copies;  ///< files of the folder of the copies
    bool linkUnwritten = false;                 ///< the store of the links holds what its file does not

    static const char* const linkFile;
    static const char* const serverStore;   ///< its name in the chain
    static const wchar_t* const copiesKey;  ///< whose value lists the copies

    /// The name of the file that holds the copy of a store.
    static std::string copyOf(const std::string& storeName) { return "cached" + storeName + ".xml"; }

private:
    void beginMarks();
    void readLinkFile();
    void dropOutside(bool localToo);
};

/// The reports on their way to the service: at once on the dispatcher thread, after all that waits; from elsewhere by a
/// task, which brings the oldest. The mark of a key is ahead of all that waits on the dispatcher thread.
class ReportModel {
public:
    explicit ReportModel(LiveOracle& live) : live_(live) {}

    /// The chain has made a call.
    void take(const ChainCall& call, bool onDispatcher);

    /// A task of the dispatcher thread begins.
    void beginTask(const std::string& name);

    /// Whether a task of the dispatcher thread is one of those that tell the service something.
    static bool isReport(const std::string& taskName);

    bool isEmpty() const { return waiting_.empty(); }

private:
    void bringOldest();

    LiveOracle& live_;
    std::deque<ChainCall> waiting_;
    std::size_t tasks_ = 0;  ///< those that wait
};

}  // namespace simulation
