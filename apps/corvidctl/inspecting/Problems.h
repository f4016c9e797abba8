#pragma once

#include <string>
#include <vector>

#include "explaining/Explanation.h"
#include "inspecting/ServerView.h"
#include "output/MachineText.h"
#include "reading/Views.h"

/// What a person should look at, worked out of plain data. Pure functions; no value of a key is told but that of a
/// policy. Any thread.
namespace corvidctl {

struct Problem {
    enum class Severity { Error, Warning, Info };
    enum class Kind { UnreadableFile, ShadowedValue, ErasedByPolicy, CopyInUse, NoServerAnswered, NotOnDisk };

    Severity severity = Severity::Error;
    Kind kind = Kind::UnreadableFile;
    std::string text;   ///< a sentence
    std::string key;    ///< this and those below are empty, and the line is 0, where they do not apply
    std::string store;  ///< that the problem is about; of a value that waits, the one that holds it
    std::string file;   ///< as people see it
    int line = 0;       ///< from 1
};

/// A store whose file cannot be read.
struct FailedStore {
    std::string store;
    StoreOrigin origin;
};

/// A user's value that waits behind another store's.
struct WaitingValue {
    std::string key;
    std::string winner;  ///< the store that wins
    HiddenPlace place;   ///< where the user's value is
};

/// A key of the user's that a policy erases at each start.
struct ForbiddenKey {
    std::string key;
    ForbiddingPolicy policy;       ///< with the places of what is gone
    std::vector<HiddenPlace> set;  ///< what has been set since, and goes at the next start
};

/// All that problems are worked out of.
struct ProblemFacts {
    std::vector<FailedStore> failed;
    std::vector<WaitingValue> waiting;
    std::vector<ForbiddenKey> forbidden;
    std::vector<StoreReport> stores;
    ServerView server;
    std::string lostCopy;  ///< the copy for the next start, if it could not be written
    bool isOnDisk = true;  ///< all that was stored
    std::string configDirectory;
};

/// The worst first; of one severity in the order of the kinds.
std::vector<Problem> problemsOf(const ProblemFacts& facts);

namespace answers {

Json problems(const std::vector<Problem>& problems);

}  // namespace answers

}  // namespace corvidctl
