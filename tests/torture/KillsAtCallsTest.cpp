#include <algorithm>
#include <set>
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

constexpr int oldState = 3;
constexpr int newState = 4;
constexpr int nextState = 5;

int recover(const Scene& scene) {
    markBegin();
    Client client(scene);
    client.setUser(nextState);
    markEnd();
    return 0;
}

constexpr Fault killAt(std::size_t call) { return {Fault::Kind::Kill, call, 1, 0}; }

/// What is wrong with the end of a process that was to be killed; empty if nothing is, or if the kill was come to.
std::string otherEnd(const Traced& traced) {
    return traced.faultCame || traced.status == 0 ? "" : "unkilled it ended with " + std::to_string(traced.status);
}

/// Kills a client at each call of a deed, and the next one at each call of its recovery.
class CallByCall {
public:
    CallByCall(Trial& trial, Day day) : trial_(trial), day_(day), before_(prepare(old_, day, oldState)) {}

    void killDuring(Deed deed) {
        bool cameTo = true;
        for (std::size_t call = 0; cameTo && !trial_.hasLost(); ++call) {
            if (!trial_.picks(1, 1)) {
                continue;
            }
            scene_.copyFrom(old_);
            const Traced traced = runTraced(
                scene_.folder(), [&] { return startAndPerform(scene_, deed, newState); }, killAt(call));
            cameTo = traced.faultCame;
            trial_.tried(cameTo ? 1 : 0);
            const States found = States::of(scene_);
            const States done = after(before_, deed, newState);
            const std::string wrong = otherEnd(traced) + otherThanKilled(found, cameTo ? before_ : done, done);
            if (!wrong.empty()) {
                trial_.lost(std::string(nameOf(deed)) + (day_ == Day::First ? " on the first day" : "") +
                                ", killed at call " + std::to_string(call) + ": " + wrong,
                            scene_.folder());
                continue;
            }
            if (seen_.insert(scene_.fingerprint()).second) {
                killDuringRecovery(found);
            }
        }
    }

    /// A start that finds a damaged user's file and an earlier backup.
    void killWhileSettingAside() {
        const Scene damaged(directory_.path("damaged"));
        damaged.damage();
        bool cameTo = true;
        for (std::size_t call = 0; cameTo && !trial_.hasLost(); ++call) {
            scene_.copyFrom(damaged);
            cameTo = recoverKilledAt(call, States{}, {Scene::damaged, Scene::damagedEarlier},
                                     "a start that sets a file aside");
        }
    }

private:
    /// Of the files as they are now: a recovery from the same files goes the same way.
    void killDuringRecovery(const States& found) {
        killed_.copyFrom(scene_);
        const Traced whole = runTraced(scene_.folder(), [&] { return recover(scene_); }, {});
        expectRecovered(whole, found, {}, "recovery");
        const std::size_t all = whole.calls.size();
        for (std::size_t call = 0; call <= all && !trial_.hasLost(); ++call) {
            if (!trial_.picks(1, all)) {
                continue;
            }
            scene_.copyFrom(killed_);
            recoverKilledAt(call, found, {}, "recovery");
        }
        scene_.copyFrom(killed_);
    }

    /// @return false if the kill was not come to.
    bool recoverKilledAt(std::size_t call, const States& found, const std::vector<std::string>& setAside,
                         const std::string& what) {
        const Traced traced = runTraced(
            scene_.folder(), [&] { return recover(scene_); }, killAt(call));
        trial_.tried(traced.faultCame ? 1 : 0);
        expectRecovered(traced, found, setAside, what + ", killed at call " + std::to_string(call));
        return traced.faultCame;
    }

    /// @param found before it. @param setAside the bytes of all files that are to be there as backups from the next
    /// start on.
    void expectRecovered(const Traced& recovery, const States& found, const std::vector<std::string>& setAside,
                         const std::string& what) {
        Client client(scene_);
        const States recovered = States::of(scene_);
        const States done = after(found, Deed::SetUser, nextState);
        const std::string wrong =
            otherEnd(recovery) + neitherOldNorNew(recovered, recovery.faultCame ? found : done, done);
        const bool isKept = std::all_of(setAside.begin(), setAside.end(),
                                        [this](const std::string& bytes) { return scene_.keeps(bytes); });
        if (!wrong.empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
        } else if (!isKept || scene_.backups().size() != setAside.size()) {
            trial_.lost(what + ": there are other backups than of what was damaged", scene_.folder());
        } else if (const std::string other = otherAnswers(client, recovered); !other.empty()) {
            trial_.lost(what + ": " + other, scene_.folder());
        } else if (!scene_.temporaries().empty()) {
            trial_.lost(what + ", left over after the next start: " + scene_.temporaries().front(), scene_.folder());
        }
    }

    Trial& trial_;
    const Day day_;
    const fakes::TemporaryDirectory directory_;
    const Scene old_{directory_.path("old")};
    const Scene scene_{directory_.path("scene")};
    const Scene killed_{directory_.path("killed")};
    const States before_;
    std::set<std::string> seen_;
};

TEST(KillsAtCalls, LeaveEachFileAsItWasOrAsItWasToBeAndSoDoKillsOfTheRecovery) {
    Trial trial("kill-at-call", "calls");
    if (!tracingIsAllowed(trial)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    for (const Day day : allDays) {
        CallByCall calls(trial, day);
        for (const Deed deed : allDeeds) {
            calls.killDuring(deed);
        }
    }
    const simulation::QuietXml quiet;
    CallByCall(trial, Day::Later).killWhileSettingAside();
}

}  // namespace
}  // namespace torture
