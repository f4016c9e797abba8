#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace simulation {

/// Where the server's file is to be had.
struct ServerDetails {
    std::wstring server1;
    std::wstring server2;
    std::wstring server3;
    std::wstring file;

    bool operator==(const ServerDetails&) const = default;
};

std::string describe(const ServerDetails& details);

enum class DownloadStepKind {
    Announce,           ///< the chain holds these details now, and reports a change of a key
    RunTask,            ///< the pool runs one of its waiting tasks
    Complete,           ///< one of the running transfers ends
    RunDispatcher,      ///< the dispatcher thread runs its oldest task
    Force,              ///< a download from the details last seen
    Forget,             ///< clears the details last seen
    StoreVersion,       ///< the chain holds this server version now; empty for none
    AnswerVersion,      ///< a server answers so from now on when it is asked for its version
    NameDeviceServers,  ///< the chain holds these device-list servers now
    RefuseInMemory,     ///< whether the in-memory store takes values
    Observe,
    Unobserve,
    AskValue,
    StoreValue,
    RemoveValue,
    RemoveAllValues,
    PersistValues,
    WaitForStore,  ///< skipped while it would block
    SwitchFips,
    SwitchDebug,
};

/// One thing that the chain, the network, a thread or a client does to the store of the server's file.
struct DownloadStep {
    DownloadStepKind kind = DownloadStepKind::RunTask;
    ServerDetails details;                ///< Announce; the three servers of NameDeviceServers
    std::wstring key;                     ///< Announce: the key that changed; the steps about values
    std::wstring text;                    ///< Announce: the store that the report names; StoreValue, StoreVersion
    std::string address;                  ///< AnswerVersion
    std::size_t index = 0;                ///< RunTask, Complete: which, modulo their number; AnswerVersion: the answer
    std::size_t document = 0;             ///< Complete: what arrived, whole or not
    int result = 0;                       ///< Complete: 0 for success
    int observer = 0;                     ///< Observe, Unobserve
    bool on = false;                      ///< the switches; Complete: on the dispatcher thread itself
    std::vector<DownloadStep> reactions;  ///< Observe: what the observer does, one step in each call
};

/// The step as a line that a reader can replay by hand.
std::string describe(const DownloadStep& step);

}  // namespace simulation
