#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "Client.h"
#include "TracedDeeds.h"
#include "Tracer.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "simulation/QuietXml.h"

namespace torture {
namespace {

constexpr int stateBefore = 3;
constexpr int stateAfter = 4;

/// What a process finds when its calls fail, as its exit status; a sanitizer that finds something gives 1.
enum Verdict : int { fine = 0, untold = 10, forgotten, unwritten, tornFile, elsewhere };

const char* nameOfVerdict(int verdict) {
    switch (verdict) {
    case untold:
        return "the file is the old one, and no line of the log says so";
    case forgotten:
        return "memory does not hold what the deed has made of it";
    case unwritten:
        return "the next one has not written it either";
    case tornFile:
        return "a file is neither the old one nor the new one";
    case elsewhere:
        return "another file has changed";
    default:
        return "the process has died";
    }
}

struct Failure {
    Fault fault;
    std::string name;
};

Failure failing(int error, const char* name, bool once) {
    // A call that is interrupted for ever is waited for for ever, and no kernel does that.
    const std::size_t times = once ? 1 : (error == EINTR ? 50 : Fault::fromThenOn);
    return {{Fault::Kind::Fail, 0, times, error}, std::string(name) + (once ? " once" : " from then on")};
}

std::vector<Failure> allFailures() {
    const std::pair<int, const char*> errors[] = {{ENOSPC, "ENOSPC"}, {EDQUOT, "EDQUOT"}, {EIO, "EIO"},
                                                  {EACCES, "EACCES"}, {EROFS, "EROFS"},   {EMFILE, "EMFILE"},
                                                  {EINTR, "EINTR"}};
    std::vector<Failure> failures;
    for (const auto& [error, name] : errors) {
        failures.push_back(failing(error, name, true));
        failures.push_back(failing(error, name, false));
    }
    failures.push_back({{Fault::Kind::ShortWrite, 0, 1, 0}, "short write once"});
    failures.push_back({{Fault::Kind::ShortWrite, 0, Fault::fromThenOn, 0}, "short writes from then on"});
    return failures;
}

/// The state of the files that the deed is about. A reset leaves those that it has removed and those that it has not.
int writtenBy(Deed deed, const States& states) {
    switch (deed) {
    case Deed::SetUser:
        return states.user;
    case Deed::JoinServer:
        return states.server;
    case Deed::TakeLink:
        return states.link;
    case Deed::ResetData:
        break;
    }
    const bool isTorn = states.user == States::torn || states.server == States::torn;
    return isTorn ? States::torn : std::max(states.user, states.server);
}

/// What writtenBy() gives once the deed is done.
int stateWanted(Deed deed) { return deed == Deed::ResetData ? States::none : stateAfter; }

/// Writes what the deed has left in memory, as the next one does that comes to a disk in order.
void writeAgain(Client& client, Deed deed) {
    if (deed == Deed::SetUser) {
        client.touchUser();
    } else {
        perform(client, deed, stateAfter);
    }
}

/// In the traced process: the deed under the fault, and what came of it.
Verdict tryDeed(const Scene& scene, Deed deed, bool mayBeSilent) {
    const States before{stateBefore, stateBefore, stateBefore};
    Client client(scene);
    client.log().clear();
    markBegin();
    perform(client, deed, stateAfter);
    markEnd();
    const std::size_t complaints = client.complaints();
    const States found = States::of(scene);
    if (!neitherOldNorNew(found, before, after(before, deed, stateAfter)).empty()) {
        return writtenBy(deed, found) == States::torn ? tornFile : elsewhere;
    }
    if (writtenBy(deed, found) != stateWanted(deed) && complaints == 0 && !mayBeSilent) {
        return untold;
    }
    const int answered = writtenBy(deed, client.answers());
    // What a reset could not remove is read again.
    if (answered != stateWanted(deed) && (deed != Deed::ResetData || answered != writtenBy(deed, found))) {
        return forgotten;
    }
    writeAgain(client, deed);
    return writtenBy(deed, States::of(scene)) == stateWanted(deed) ? fine : unwritten;
}

/// A temporary file that cannot be opened is passed over in silence: the store's contract.
bool isOpeningOfATemporary(const Call& call) {
    return call.path.ends_with(".temp") && (call.name.starts_with("open") || call.name == "fchmod");
}

/// One deed on old files, again and again, with another call that fails.
class DeedOnABadDisk {
public:
    DeedOnABadDisk(Trial& trial, Deed deed) : trial_(trial), deed_(deed) { writeFiles(old_, stateBefore); }

    /// @param wanted about how many tries of a quick run.
    void tryAllFailures(std::uint64_t wanted) {
        scene_.copyFrom(old_);
        const std::vector<Call> calls =
            runTraced(scene_.folder(), [this] { return tryDeed(scene_, deed_, false); }, {}).calls;
        const std::vector<Failure> failures = allFailures();
        for (std::size_t call = 0; call < calls.size(); ++call) {
            for (const Failure& failure : failures) {
                const bool isShort = failure.fault.kind == Fault::Kind::ShortWrite;
                if ((!isShort || calls[call].name == "write") && trial_.picks(wanted, calls.size() * failures.size())) {
                    tryFailure(failure, calls, call);
                }
            }
        }
    }

private:
    void tryFailure(Failure failure, const std::vector<Call>& calls, std::size_t call) {
        scene_.copyFrom(old_);
        failure.fault.at = call;
        bool mayBeSilent = isOpeningOfATemporary(calls[call]);
        for (std::size_t later = call; failure.fault.times > 1 && later < calls.size(); ++later) {
            mayBeSilent = mayBeSilent || isOpeningOfATemporary(calls[later]);
        }
        const Traced traced = runTraced(
            scene_.folder(), [&] { return tryDeed(scene_, deed_, mayBeSilent); }, failure.fault);
        trial_.tried(traced.faultCame ? 1 : 0);
        if (traced.status != fine) {
            trial_.lost(std::string(nameOf(deed_)) + ", " + failure.name + " at call " + std::to_string(call) + ", " +
                            calls[call].name + " " + calls[call].path + ": " +
                            (traced.wentOnForEver ? "the same calls for ever" : nameOfVerdict(traced.status)),
                        scene_.folder());
        }
    }

    Trial& trial_;
    const Deed deed_;
    const fakes::TemporaryDirectory directory_;
    const Scene old_{directory_.path("old")};
    const Scene scene_{directory_.path("scene")};
};

TEST(FailingCalls, LeaveTheFileOldOrNewAndTheValueInMemoryForTheNextPersist) {
    Trial trial("fail", "calls");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    for (const Deed deed : allDeeds) {
        DeedOnABadDisk(trial, deed).tryAllFailures(25);
    }
}

/// Starts on old files, again and again, with another call that fails.
class StartOnABadDisk {
public:
    explicit StartOnABadDisk(Trial& trial) : trial_(trial) {}

    const Scene& old() const { return old_; }

    /// @param kept what must be in the user's file, or in one that was set aside, after each of them, and after the
    /// write that follows: there, the values of a whole file will do.
    void tryAllFailures(const std::vector<std::string>& kept) {
        scene_.copyFrom(old_);
        const std::vector<Call> calls = runTraced(scene_.folder(), [&] { return start(kept); }, {}).calls;
        for (std::size_t call = 0; call < calls.size(); ++call) {
            for (const Failure& failure : allFailures()) {
                if (failure.fault.kind == Fault::Kind::Fail && trial_.picks(60, calls.size() * 14)) {
                    tryFailure(failure, calls, call, kept);
                }
            }
        }
    }

private:
    static constexpr int lostByTheStart = 10;
    static constexpr int lostByTheWrite = 11;

    /// In the traced process: a start under the fault, and a write to a disk that is in order again.
    int start(const std::vector<std::string>& kept) const {
        markBegin();
        Client client(scene_);
        markEnd();
        if (!keepsAll(kept)) {
            return lostByTheStart;
        }
        client.touchUser();
        return keepsAll(kept) || States::of(scene_).user == stateBefore ? 0 : lostByTheWrite;
    }

    bool keepsAll(const std::vector<std::string>& kept) const {
        return std::all_of(kept.begin(), kept.end(), [&](auto& bytes) { return scene_.keeps(bytes); });
    }

    static const char* nameOfEnd(int status) {
        return status == lostByTheStart ? "the user's file is gone"
               : status == lostByTheWrite
                   ? "the next write has replaced the user's file, and nothing holds what it held"
                   : "the process has died";
    }

    void tryFailure(Failure failure, const std::vector<Call>& calls, std::size_t call,
                    const std::vector<std::string>& kept) {
        scene_.copyFrom(old_);
        failure.fault.at = call;
        const Traced traced = runTraced(
            scene_.folder(), [&] { return start(kept); }, failure.fault);
        trial_.tried(traced.faultCame ? 1 : 0);
        if (traced.status != 0) {
            trial_.lost(failure.name + " at call " + std::to_string(call) + " of a start, " + calls[call].name + " " +
                            calls[call].path + ": " + nameOfEnd(traced.status),
                        scene_.folder());
        }
    }

    Trial& trial_;
    const fakes::TemporaryDirectory directory_;
    const Scene old_{directory_.path("old")};
    const Scene scene_{directory_.path("scene")};
};

TEST(FailingCalls, OfAStartLoseNoByteOfTheUsersFile) {
    Trial trial("fail-at-start", "calls");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    StartOnABadDisk whole(trial);
    Client(whole.old()).setUser(stateBefore);
    whole.tryAllFailures({bytesOf(whole.old().localFile())});

    const simulation::QuietXml quiet;
    StartOnABadDisk settingAside(trial);
    settingAside.old().damage();
    settingAside.tryAllFailures({Scene::damaged, Scene::damagedEarlier});
}

}  // namespace
}  // namespace torture
