#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "ModelTypes.h"

namespace simulation {

/// What the scheduler lets happen next.
enum class ScheduleAct {
    // Threads of the host.
    RunDispatcher,  ///< the dispatcher thread runs its oldest task
    RunPool,        ///< a thread of the pool runs one of the waiting tasks
    RunPersist,     ///< the task queue runs its oldest task
    EndTransfer,    ///< one of the running transfers ends

    // Clients.
    Store,
    StoreMap,
    StoreInMemory,
    Erase,
    MarkSensitive,
    TakeLink,
    AllowLinks,
    Watch,
    Ask,

    // The host and other modules.
    AddStore,
    RemoveStore,
    RemoveCopies,
    Start,
    Stop,
    Destroy,
    Refresh,
    ResetData,
    PowerDown,
    SourceOn,
    SourceOff,
    ChangeProfile,  ///< the key of the user's profile is stored, and the host tells of it
    Kill,           ///< the process ends with nothing of what waits done, and another one starts on its files
    ShutDown,       ///< the process ends as a host ends it, and another one starts on its files

    // Servers and disk.
    AnswerVersion,  ///< what servers answer from now on when they are asked for their version
    FillDisk,       ///< no file can grow beyond a few bytes until FreeDisk
    FreeDisk,
    PersistWithoutDescriptors,  ///< as RunPersist, while no file can be opened
};

/// One step of a schedule.
struct ScheduleStep {
    ScheduleAct act = ScheduleAct::RunDispatcher;
    bool onDispatcher = false;                    ///< clients and host: on the dispatcher thread, else on another one
    std::wstring key;                             ///< the steps about values
    std::wstring text;                            ///< Store, StoreInMemory; the link of TakeLink; the profile
    std::map<std::wstring, std::wstring> values;  ///< StoreMap
    ModelStore store;                             ///< AddStore; RemoveStore needs only its name
    std::size_t index = 0;                        ///< which of those that wait or run, modulo their number; the answer
    std::size_t document = 0;                     ///< EndTransfer: what arrived
    int result = 0;                               ///< EndTransfer: 0 for success
    int watcher = 0;                              ///< Watch
    std::vector<ScheduleStep> meanwhile;          ///< what happens while this step waits for a server or a thread
};

/// The step as a line that a reader can replay by hand.
std::string describe(const ScheduleStep& step);

}  // namespace simulation
