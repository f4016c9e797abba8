#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
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
enum Verdict : int { fine = 0, untold = 10, forgotten, unwritten, unwrittenByTheEnd, tornFile, elsewhere, setAside };

const char* nameOfVerdict(int verdict) {
    switch (verdict) {
    case untold:
        return "a file is the old one, and no line of the log names it";
    case forgotten:
        return "memory does not hold what the deed has made of it";
    case unwritten:
        return "the next one has not written it either";
    case unwrittenByTheEnd:
        return "the end has not written it, and the next start answers something else";
    case tornFile:
        return "a file is neither the old one nor the new one";
    case elsewhere:
        return "another file has changed";
    case setAside:
        return "a whole file was set aside";
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

/// Whether the call can fail so: only a write can be a short one.
bool comesTo(const Call& call, const Failure& failure) {
    return failure.fault.kind != Fault::Kind::ShortWrite || call.name == "write";
}

/// What is tried in every run, however few are: a write that is interrupted, and what sets a damaged file aside.
bool isTriedAlways(const Call& call, const Failure& failure) {
    const bool isOnce = failure.fault.kind == Fault::Kind::Fail && failure.fault.times == 1;
    const bool isOfABackup = call.path.find("-backup") != std::string::npos || call.name.starts_with("rename");
    return isOnce &&
           ((call.name == "write" && failure.fault.error == EINTR) || (isOfABackup && failure.fault.error == EIO));
}

/// The state of the files that the deed is about. A reset leaves those that it has removed and those that it has not.
int writtenBy(Deed deed, const States& states) {
    switch (deed) {
    case Deed::SetUser:
    case Deed::Refresh:
        return states.user;
    case Deed::JoinServer:
        return states.server;
    case Deed::RemoveServer:
        // A copy that could not be removed is in no chain.
        return states.isServerListed ? stateBefore : States::none;
    case Deed::TakeLink:
        return states.link;
    case Deed::ResetData:
        break;
    }
    const bool isTorn = states.user == States::torn || states.server == States::torn;
    return isTorn ? States::torn : std::max(states.user, states.server);
}

/// Whether it is about the user's file alone.
bool isOfTheUser(Deed deed) { return deed == Deed::SetUser || deed == Deed::Refresh; }

/// What writtenBy() gives once the deed is done.
int stateWanted(Deed deed) { return deed == Deed::ResetData || deed == Deed::RemoveServer ? States::none : stateAfter; }

/// The files that a deed has left as they were.
std::vector<std::string> leftBehindBy(Deed deed, const States& found, const Scene& scene) {
    const std::pair<int, std::string> user{found.user, scene.localFile()};
    const std::pair<int, std::string> server{found.server, scene.serverFile()};
    const std::pair<int, std::string> link{found.link, scene.linkFile()};
    std::vector<std::pair<int, std::string>> about;
    if (isOfTheUser(deed) || deed == Deed::ResetData) {
        about.push_back(user);
    }
    if (deed == Deed::JoinServer || deed == Deed::RemoveServer || deed == Deed::ResetData) {
        about.push_back(server);
    }
    if (deed == Deed::TakeLink) {
        about.push_back(link);
    }
    std::vector<std::string> files;
    for (const auto& [state, file] : about) {
        if (state != stateWanted(deed)) {
            files.push_back(file);
        }
    }
    if ((deed == Deed::JoinServer && !found.isServerListed) || (deed == Deed::RemoveServer && found.isServerListed)) {
        files.push_back(scene.localFile());
    }
    return files;
}

/// Writes what the deed has left in memory, as the next one does that comes to a disk in order.
void writeAgain(Client& client, Deed deed) {
    if (isOfTheUser(deed) || deed == Deed::RemoveServer) {
        client.touchUser();
    } else {
        perform(client, deed, stateAfter);
    }
}

bool isTriedAgainByTheEnd(Deed deed) {
    return isOfTheUser(deed) || deed == Deed::RemoveServer || deed == Deed::TakeLink;
}

/// What comes once the disk is in order again.
enum class Then { AnotherWrite, TheEnd };

/// Whether a client answers what the deed has made of it. @param found in the files after it.
bool isAnswered(Deed deed, const States& answers, const States& found, const States& before) {
    const States wanted = after(before, deed, stateAfter);
    // What a reset could not remove is read again.
    const auto isEither = [&](int answer, int file, int value) {
        return answer == value || (deed == Deed::ResetData && answer == file);
    };
    return isEither(answers.user, found.user, wanted.user) && isEither(answers.server, found.server, wanted.server) &&
           answers.link == wanted.link;
}

/// In the traced process: the deed under the fault, and what came of it but for what the next one makes of it.
Verdict tryDeedAlone(Client& client, const Scene& scene, Deed deed, const States& before) {
    client.log().clear();
    markBegin();
    perform(client, deed, stateAfter);
    markEnd();
    const std::vector<std::string> complaints = client.complaints();
    const States found = States::of(scene);
    const std::vector<std::string> leftBehind = leftBehindBy(deed, found, scene);
    const bool isTold = std::all_of(leftBehind.begin(), leftBehind.end(),
                                    [&](const std::string& file) { return tellsOf(complaints, file); });
    if (!neitherOldNorNew(found, before, after(before, deed, stateAfter)).empty()) {
        return writtenBy(deed, found) == States::torn ? tornFile : elsewhere;
    }
    if (!scene.backups().empty()) {
        return setAside;
    }
    return !isAnswered(deed, client.answers(), found, before) ? forgotten : isTold ? fine : untold;
}

/// In the traced process: the deed under the fault, and what came of it.
Verdict tryDeed(const Scene& scene, Deed deed, const States& before, Then then) {
    Verdict verdict = fine;
    {
        Client client(scene);
        verdict = tryDeedAlone(client, scene, deed, before);
        if (verdict != fine && verdict != untold) {
            return verdict;
        }
        if (then == Then::AnotherWrite) {
            writeAgain(client, deed);
            if (!scene.backups().empty()) {
                return setAside;
            }
            return writtenBy(deed, States::of(scene)) == stateWanted(deed) ? verdict : unwritten;
        }
    }
    return writtenBy(deed, Client(scene).answers()) == stateWanted(deed) ? verdict : unwrittenByTheEnd;
}

/// A temporary file that cannot be opened is passed over in silence: the store's contract.
bool isOpeningOfATemporary(const Call& call) {
    return call.path.ends_with(".temp") && (call.name.starts_with("open") || call.name == "fchmod");
}

/// A write goes well without it: the lock on the folder, what is tidied away before, what is given back.
bool isDispensable(const Call& call, const Scene& scene) {
    const bool isFolder = call.path == scene.config() || call.path == scene.config() + "/Cache";
    return call.name == "close" || (call.name == "unlink" && call.path.ends_with(".temp")) ||
           (isFolder && (call.name == "readlink" || call.name == "flock" || call.name.starts_with("open") ||
                         call.name.find("stat") != std::string::npos));
}

/// Whether it was the opening of a temporary file, and nothing else that failed, that kept a file from being written.
/// @param calls of the process that met the fault.
bool mayBeSilent(const std::vector<Call>& calls, const Fault& fault, const Scene& scene) {
    bool isOpened = true;
    for (std::size_t call = fault.at; call < calls.size() && call - fault.at < fault.times; ++call) {
        const bool isOpening = isOpeningOfATemporary(calls[call]);
        if (!isOpening && !isDispensable(calls[call], scene)) {
            return false;
        }
        isOpened = isOpened && !isOpening;
    }
    return !isOpened;
}

/// One deed on what a client finds on one day, again and again, with another call that fails.
class DeedOnABadDisk {
public:
    DeedOnABadDisk(Trial& trial, Deed deed, Day day)
        : trial_(trial), deed_(deed), day_(day), before_(prepare(old_, day, stateBefore)) {}

    /// @param wanted about how many tries of a quick run.
    void tryAllFailures(std::uint64_t wanted) {
        scene_.copyFrom(old_);
        const std::vector<Call> calls =
            runTraced(scene_.folder(), [this] { return tryDeed(scene_, deed_, before_, Then::AnotherWrite); }, {})
                .calls;
        // The folder above is synced where one is made in it.
        const bool isFolderMade = std::any_of(calls.begin(), calls.end(), [&](const Call& call) {
            return call.name == "fsync" && call.path == scene_.folder();
        });
        EXPECT_EQ(isFolderMade, day_ == Day::First && deed_ != Deed::ResetData) << nameOf(deed_);
        const std::vector<Failure> failures = allFailures();
        for (std::size_t call = 0; call < calls.size(); ++call) {
            for (const Failure& failure : failures) {
                const bool isPicked =
                    isTriedAlways(calls[call], failure) || trial_.picks(wanted, calls.size() * failures.size());
                if (comesTo(calls[call], failure) && isPicked) {
                    tryFailure(failure, calls, call, Then::AnotherWrite);
                    if (isTriedAgainByTheEnd(deed_) && failure.fault.times == 1) {
                        tryFailure(failure, calls, call, Then::TheEnd);
                    }
                }
            }
        }
    }

private:
    void tryFailure(Failure failure, const std::vector<Call>& calls, std::size_t call, Then then) {
        scene_.copyFrom(old_);
        failure.fault.at = call;
        const Traced traced = runTraced(
            scene_.folder(), [&] { return tryDeed(scene_, deed_, before_, then); }, failure.fault);
        trial_.tried(traced.faultCame ? 1 : 0);
        const bool isInOrder =
            traced.status == fine || (traced.status == untold && mayBeSilent(traced.calls, failure.fault, scene_));
        if (!isInOrder) {
            trial_.lost(std::string(nameOf(deed_)) + (day_ == Day::First ? " on the first day, " : ", ") +
                            failure.name + " at call " + std::to_string(call) + ", " + calls[call].name + " " +
                            calls[call].path + ": " +
                            (traced.wentOnForEver ? "the same calls for ever" : nameOfVerdict(traced.status)),
                        scene_.folder());
        }
    }

    Trial& trial_;
    const Deed deed_;
    const Day day_;
    const fakes::TemporaryDirectory directory_;
    const Scene old_{directory_.path("old")};
    const Scene scene_{directory_.path("scene")};
    const States before_;
};

TEST(FailingCalls, LeaveTheFileOldOrNewAndTheValueInMemoryForTheNextPersistOrTheEnd) {
    Trial trial("fail", "calls");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    const simulation::QuietXml quiet;
    for (const Day day : allDays) {
        for (const Deed deed : allDeeds) {
            DeedOnABadDisk(trial, deed, day).tryAllFailures(25);
        }
    }
}

/// Starts on old files, again and again, with another call that fails.
class StartOnABadDisk {
public:
    explicit StartOnABadDisk(Trial& trial) : trial_(trial) {}

    const Scene& old() const { return old_; }

    /// @param kept what must be in the user's file, or in one that was set aside, after each of them with a write, and
    /// after the write that follows; the values of a whole file will do.
    void tryAllFailures(const std::vector<std::string>& kept) {
        tryAll([&] { return startAndWrite(kept); });
    }

    /// What each file of writeEachFile() gives must be answered by the next start, a write later, or stand in a user's
    /// file that was set aside after a failure from then on; the other files must be in their places, or told of.
    void tryAllFailuresOfReading() {
        tryAll([&] { return startWriteAndStart(); });
    }

    /// Makes every file that a start reads.
    void writeEachFile() const {
        writeFiles(old_, stateBefore);
        std::ofstream(defaultsOf(old_)) << "<Corvid><userConfig name=\"OfDefaults\" value=\"1\"/></Corvid>";
        std::ofstream(overrideOf(old_)) << "<Corvid><group><OfOverride>1</OfOverride></group></Corvid>";
    }

private:
    /// Ends of a process; those about one file count on from theirs, in the order of filesOf().
    enum End : int {
        inOrder = 0,
        lostByTheStart = 10,
        lostByTheWrite,
        notWritten,
        userFileSetAside,  ///< whole, and it is told of: in order but where one call failed once
        unanswered = 20,
        gone = 30,
        dropped = 40
    };

    static std::string defaultsOf(const Scene& scene) { return scene.install() + "/corvid-config-defaults.xml"; }
    static std::string overrideOf(const Scene& scene) { return scene.config() + "/corvid-config-user.xml"; }

    static std::vector<std::string> filesOf(const Scene& scene) {
        return {scene.localFile(), scene.serverFile(), scene.linkFile(), defaultsOf(scene), overrideOf(scene)};
    }

    /// Whether a client answers what each of the files gives.
    static std::vector<bool> answeredBy(Client& client) {
        const auto holds = [&](const std::wstring& key) {
            std::wstring value;
            return client.featureSet().getConfig(key, value, false) && value == L"1";
        };
        const States states = client.answers();
        return {states.user == stateBefore, states.server == stateBefore, states.link == stateBefore,
                holds(L"OfDefaults"), holds(L"OfOverride")};
    }

    /// @param start in the traced process.
    void tryAll(const std::function<int()>& start) {
        scene_.copyFrom(old_);
        const std::vector<Call> calls = runTraced(scene_.folder(), start, {}).calls;
        for (std::size_t call = 0; call < calls.size(); ++call) {
            for (const Failure& failure : allFailures()) {
                const bool isPicked = isTriedAlways(calls[call], failure) || trial_.picks(60, calls.size() * 16);
                if (comesTo(calls[call], failure) && isPicked) {
                    tryFailure(failure, calls, call, start);
                }
            }
        }
    }

    /// A start and a write under the fault, and a write to a disk that is in order again.
    int startAndWrite(const std::vector<std::string>& kept) const {
        const auto isLost = [&] { return !keepsAll(kept) && States::of(scene_).user != stateBefore; };
        markBegin();
        Client client(scene_);
        client.touchUser();
        markEnd();
        if (isLost()) {
            return lostByTheStart;
        }
        client.touchUser();
        return isLost() ? lostByTheWrite : inOrder;
    }

    /// A start under the fault, a write to a disk that is in order again, and the next start.
    int startWriteAndStart() const {
        markBegin();
        auto client = std::make_unique<Client>(scene_);
        markEnd();
        const std::vector<bool> first = answeredBy(*client);
        client->touchUser();
        const std::wstring touched = touchOf(*client);
        const std::vector<std::string> complaints = client->complaints();
        client.reset();
        const std::vector<std::string> files = filesOf(scene_);
        const std::vector<std::string> oldFiles = filesOf(old_);
        // All but the user's, which has been written.
        for (std::size_t file = 1; file < files.size(); ++file) {
            if (bytesOf(files[file]) != bytesOf(oldFiles[file]) && !tellsOf(complaints, files[file])) {
                return gone + static_cast<int>(file);
            }
        }
        client = std::make_unique<Client>(scene_);
        if (touchOf(*client) != touched) {
            return notWritten;
        }
        const std::vector<bool> second = answeredBy(*client);
        const bool isAside = !first[0] && !second[0] && scene_.keeps(bytesOf(old_.localFile())) &&
                             tellsOf(complaints, scene_.backups().front());
        for (std::size_t file = 0; file < files.size(); ++file) {
            // The user's file says which copies of servers' files are in the chain.
            if (!second[file] && (first[file] || !isAside || file > 1)) {
                return (first[file] ? dropped : unanswered) + static_cast<int>(file);
            }
        }
        return isAside ? userFileSetAside : inOrder;
    }

    static std::wstring touchOf(Client& client) {
        std::wstring touched;
        return client.featureSet().getConfig(L"touched", touched, false) ? touched : L"";
    }

    bool keepsAll(const std::vector<std::string>& kept) const {
        return std::all_of(kept.begin(), kept.end(), [&](auto& bytes) { return scene_.keeps(bytes); });
    }

    std::string nameOfEnd(int status) const {
        const std::vector<std::string> files = filesOf(scene_);
        const auto isAbout = [&](int first) {
            return status >= first && status < first + static_cast<int>(files.size());
        };
        if (isAbout(unanswered)) {
            return "neither this start nor the next one, a write later, answers what stands in " +
                   files[static_cast<std::size_t>(status - unanswered)];
        }
        if (isAbout(gone)) {
            return "no line of the log tells that it is not in its place: " +
                   files[static_cast<std::size_t>(status - gone)];
        }
        if (isAbout(dropped)) {
            return "the next write has dropped what this start has read in " +
                   files[static_cast<std::size_t>(status - dropped)];
        }
        return status == lostByTheStart     ? "the user's file is gone"
               : status == notWritten       ? "the next write has not written what was set"
               : status == userFileSetAside ? "the user's file was set aside after a single failure"
               : status == lostByTheWrite
                   ? "the next write has replaced the user's file, and nothing holds what it held"
                   : "the process has died";
    }

    void tryFailure(Failure failure, const std::vector<Call>& calls, std::size_t call,
                    const std::function<int()>& start) {
        scene_.copyFrom(old_);
        failure.fault.at = call;
        const Traced traced = runTraced(scene_.folder(), start, failure.fault);
        trial_.tried(traced.faultCame ? 1 : 0);
        const bool isInOrder =
            traced.status == inOrder || (traced.status == userFileSetAside && failure.fault.times > 1);
        if (!isInOrder) {
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

TEST(FailingCalls, MayBeSilentWhereTheOpeningOfATemporaryAloneKeptAFileOld) {
    const fakes::TemporaryDirectory directory;
    const Scene scene(directory.path());
    const std::string temporary = scene.config() + "/file.temp";
    const Call lock{"flock", scene.config(), ""};
    const Call tidy{"unlink", temporary, ""};
    const Call open{"openat", temporary, ""};
    const Call write{"write", temporary, ""};
    const Call make{"mkdir", scene.config(), ""};
    const Call remove{"unlink", scene.localFile(), ""};
    const auto isSilent = [&](const std::vector<Call>& calls, std::size_t at, std::size_t times) {
        return mayBeSilent(calls, {Fault::Kind::Fail, at, times, EIO}, scene);
    };
    EXPECT_TRUE(isSilent({make, lock, tidy, open, write}, 3, 1)) << "the write of a second file";
    EXPECT_TRUE(isSilent({make, lock, tidy, open}, 1, Fault::fromThenOn));
    EXPECT_FALSE(isSilent({make, lock, tidy, open}, 0, Fault::fromThenOn));
    EXPECT_FALSE(isSilent({lock, tidy, open, write}, 0, Fault::fromThenOn));
    EXPECT_FALSE(isSilent({remove, open}, 0, Fault::fromThenOn));
    EXPECT_FALSE(isSilent({lock, tidy}, 0, Fault::fromThenOn));
    EXPECT_FALSE(isSilent({lock, tidy, open}, 3, Fault::fromThenOn)) << "a fault that never came";
}

TEST(FailingCalls, OfAStartLoseNoByteOfAnyFile) {
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

    StartOnABadDisk reading(trial);
    reading.writeEachFile();
    reading.tryAllFailuresOfReading();
}

}  // namespace
}  // namespace torture
