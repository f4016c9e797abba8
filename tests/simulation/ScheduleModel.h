#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ChainOracle.h"
#include "DiskPicture.h"
#include "LiveOracle.h"

namespace simulation {

/// A store's entries as a file holds them.
FileEntries asFileEntries(const ModelStore& store);

/// What the stores and the files of a module ought to hold, whatever the order of the steps. The server's store and the
/// copies in the chain are taken as they are; their files are not.
struct ScheduleModel {
    using StorePtr = ChainOracle::StorePtr;

    ScheduleModel();

    /// A process has begun on the files.
    void boot();

    void stop();
    void refresh();
    void resetData();

    /// The user's values as their file would hold them.
    FileEntries userEntries() const { return asFileEntries(*user); }

    /// Names of the stores that the chain must hold, folded, but for the copies.
    std::vector<std::string> members() const;

    StorePtr user;
    StorePtr memory;
    StorePtr provisioning;
    StorePtr defaults;
    std::map<std::string, StorePtr> outside;  ///< by folded name

    bool started = true;         ///< the feature set
    bool usersFilesIn = true;    ///< the user's file and the override are in the chain
    bool userDestroyed = false;  ///< the user's file is written no more
    bool hearsOfPower = true;
    bool sourceOn = false;
    bool serverIn = false;  ///< the server's store is in the chain

    FileEntries userFile;                       ///< nothing where there is no file
    bool writeFailed = false;                   ///< a write of the user's file may have failed, and none has come since
    std::map<std::string, FileEntries> copies;  ///< files of the folder of the copies
    bool linkUnwritten = false;                 ///< the store of the links holds what its file does not

    static const char* const linkFile;
    static const char* const serverStore;  ///< its name in the chain

    /// The name of the file that holds the copy of a store.
    static std::string copyOf(const std::string& storeName) { return "cached" + storeName + ".xml"; }

private:
    void readLinkFile();
    void dropOutside(bool localToo);
};

/// The reports on their way to the service: at once on the dispatcher thread, after all that waits; from elsewhere by a
/// task, which brings the oldest.
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
    LiveOracle& live_;
    std::deque<ChainCall> waiting_;
    std::deque<bool> tasks_;  ///< those that wait; whether each brings a report
};

}  // namespace simulation
