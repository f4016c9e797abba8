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
        return "the value is not in memory";
    case unwritten:
        return "the next persist has not written the value";
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

int writtenBy(Deed deed, const States& states) {
    return deed == Deed::SetUser ? states.user : deed == Deed::JoinServer ? states.server : states.link;
}

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
    if (writtenBy(deed, found) != stateAfter && complaints == 0 && !mayBeSilent) {
        return untold;
    }
    if (writtenBy(deed, client.answers()) != stateAfter) {
        return forgotten;
    }
    writeAgain(client, deed);
    return writtenBy(deed, States::of(scene)) == stateAfter ? fine : unwritten;
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
        trial_.tried();
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
    for (const Deed deed : {Deed::SetUser, Deed::JoinServer, Deed::TakeLink}) {
        DeedOnABadDisk(trial, deed).tryAllFailures(25);
    }
}

/// True if the bytes are those of the user's file or of one that was set aside.
bool isKept(const Scene& scene, const std::string& bytes) {
    std::vector<std::string> files = scene.backups();
    files.push_back(scene.localFile());
    return std::any_of(files.begin(), files.end(), [&](const std::string& file) { return bytesOf(file) == bytes; });
}

TEST(FailingCalls, OfAStartLoseNoByteOfTheUsersFile) {
    Trial trial("fail-at-start", "calls");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    const fakes::TemporaryDirectory directory;
    const Scene old(directory.path("old"));
    const Scene scene(directory.path("scene"));
    Client(old).setUser(stateBefore);
    const std::string bytes = bytesOf(old.localFile());
    const auto start = [&] {
        markBegin();
        const Client client(scene);
        markEnd();
        return 0;
    };
    scene.copyFrom(old);
    const std::vector<Call> calls = runTraced(scene.folder(), start, {}).calls;
    for (std::size_t call = 0; call < calls.size(); ++call) {
        for (Failure failure : allFailures()) {
            if (failure.fault.kind == Fault::Kind::Fail && trial.picks(60, calls.size() * 14)) {
                scene.copyFrom(old);
                failure.fault.at = call;
                const Traced traced = runTraced(scene.folder(), start, failure.fault);
                trial.tried();
                if (traced.status != 0 || !isKept(scene, bytes)) {
                    trial.lost(failure.name + " at call " + std::to_string(call) + " of a start, " + calls[call].name +
                                   " " + calls[call].path,
                               scene.folder());
                }
            }
        }
    }
}

}  // namespace
}  // namespace torture
