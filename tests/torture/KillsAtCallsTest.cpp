#include <functional>
#include <set>
#include <string>

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
            cameTo = runTraced(
                         scene_.folder(), [&] { return startAndPerform(scene_, deed, newState); }, killAt(call))
                         .faultCame;
            trial_.tried(cameTo ? 1 : 0);
            const States found = States::of(scene_);
            const States done = after(before_, deed, newState);
            const std::string wrong = neitherOldNorNew(found, cameTo ? before_ : done, done);
            if (!wrong.empty()) {
                trial_.lost(std::string(nameOf(deed)) + (day_ == Day::First ? " on the first day" : "") +
                                ", killed at call " + std::to_string(call) + ": " + wrong,
                            scene_.folder());
                continue;
            }
            const bool isServerNamed = namesServer(day_ == Day::Later, deed, !cameTo);
            if (seen_.insert(scene_.fingerprint() + (isServerNamed ? "named" : "")).second) {
                killDuringRecovery(found, isServerNamed);
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
            cameTo = runTraced(
                         scene_.folder(), [&] { return recover(scene_); }, killAt(call))
                         .faultCame;
            trial_.tried(cameTo ? 1 : 0);
            { const Client next(scene_); }
            if (!scene_.keeps(Scene::damaged) || !scene_.keeps(Scene::damagedEarlier)) {
                trial_.lost("killed at call " + std::to_string(call) + " of a start that sets a file aside",
                            scene_.folder());
            }
        }
    }

private:
    /// Of the files as they are now: a recovery from the same files goes the same way.
    void killDuringRecovery(const States& found, bool isServerNamed) {
        killed_.copyFrom(scene_);
        const std::size_t all = runTraced(scene_.folder(), [&] { return recover(scene_); }, {}).calls.size();
        expectRecovered(found, isServerNamed, "recovery");
        for (std::size_t call = 0; call <= all && !trial_.hasLost(); ++call) {
            if (!trial_.picks(1, all)) {
                continue;
            }
            scene_.copyFrom(killed_);
            const bool cameTo = runTraced(
                                    scene_.folder(), [&] { return recover(scene_); }, killAt(call))
                                    .faultCame;
            trial_.tried(cameTo ? 1 : 0);
            expectRecovered(found, isServerNamed, "recovery killed at call " + std::to_string(call));
        }
        scene_.copyFrom(killed_);
    }

    void expectRecovered(const States& found, bool isServerNamed, const std::string& what) {
        const States recovered = States::of(scene_);
        const std::string wrong = neitherOldNorNew(recovered, found, after(found, Deed::SetUser, nextState));
        if (!wrong.empty() || !scene_.backups().empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
            return;
        }
        Client client(scene_);
        if (const std::string other = otherAnswers(client, recovered, isServerNamed); !other.empty()) {
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
