#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "cli/Invocation.h"
#include "fetching/FetchReport.h"
#include "output/ProgressLine.h"
#include "reading/Views.h"

namespace corvidctl {

class Interruption;

/// An entry that the administrator changes in the server's file.
struct EditView {
    std::string key;
    std::string value;
};

/// A change of a live object, with what it was before.
struct TransitionView {
    ValueView before;
    ChangeView after;
};

/// What a demonstration has seen, step by step.
struct DemonstrationView {
    std::string server;
    bool namesServers = false;  ///< the profile names servers of its own, which were not asked
    bool isDetour = false;      ///< a store of the demonstration's own is ahead of all others

    std::vector<StoreView> stores;  ///< before anything was fetched

    FetchView fetch;
    std::size_t changesOfFetch = 0;           ///< reports to the client that changed a live object
    std::vector<std::string> storesThatCame;  ///< names
    std::vector<std::string> storesThatWent;

    std::vector<ValueView> values;  ///< with the server's file

    std::vector<EditView> edits;
    FetchView secondFetch;
    std::vector<TransitionView> serverChanges;

    std::string userValue;  ///< what the user sets
    ValueView before;
    ValueView after;
    std::vector<ChangeView> userChanges;
};

/// Plays the main job through: a server starts, a client fetches its file, the administrator changes that, the client
/// fetches again, the user changes a value. Everything happens in temporary folders, which are gone when this returns.
/// @param profile the configuration directory to begin with; only read.
/// @param lastWords said where the interruption comes while the module starts, which may wait for the installer's file:
///        it ends the program on the spot, with status 1. None: it is noticed when the module has started.
/// @throws std::runtime_error with one line if a step fails, or the interruption comes.
DemonstrationView demonstrate(const Invocation& invocation, const std::string& profile, Interruption& interruption,
                              ProgressLine& progress, const std::function<void()>& lastWords = {});

}  // namespace corvidctl
