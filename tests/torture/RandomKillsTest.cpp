#include <unistd.h>

#include <chrono>
#include <vector>

#include "Client.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ForkedChild.h"

namespace torture {
namespace {

struct Step {
    Deed deed;
    int state;
};

/// A process that starts a client, lets it take its steps and acknowledges the start and each step by a byte.
class Stepper {
public:
    Stepper(const Scene& scene, const std::vector<Step>& steps)
        : child_([&](int channel) { return takeSteps(scene, steps, channel); }) {}

    /// Waits for so many acknowledgements.
    void await(std::size_t count) {
        while (acknowledged_ < count && readOne()) {
        }
    }

    /// @return how many were acknowledged before the end.
    std::size_t killNow() {
        child_.end();
        while (readOne()) {
        }
        return acknowledged_;
    }

private:
    static int takeSteps(const Scene& scene, const std::vector<Step>& steps, int channel) {
        Client client(scene);
        acknowledge(channel);
        for (const Step& step : steps) {
            perform(client, step.deed, step.state);
            acknowledge(channel);
        }
        for (;;) {
            pause();
        }
    }

    static void acknowledge(int channel) {
        if (::write(channel, "+", 1) != 1) {
            _exit(1);
        }
    }

    bool readOne() {
        char mark = 0;
        const bool isThere = ::read(child_.channel(), &mark, 1) == 1;
        acknowledged_ += isThere ? 1 : 0;
        return isThere;
    }

    support::ForkedChild child_;
    std::size_t acknowledged_ = 0;
};

Deed randomDeed(Trial& trial) {
    constexpr Deed deeds[] = {Deed::SetUser,    Deed::SetUser,  Deed::SetUser,
                              Deed::JoinServer, Deed::TakeLink, Deed::ResetData};
    return deeds[trial.below(std::size(deeds))];
}

/// One client that is killed over and over, and whose files live on.
class KilledClient {
public:
    KilledClient(Trial& trial, const Scene& scene) : trial_(trial), scene_(scene) {}

    void round() {
        std::vector<Step> steps(1 + trial_.below(5));
        for (Step& step : steps) {
            step = {randomDeed(trial_), ++lastState_};
        }
        Stepper stepper(scene_, steps);
        stepper.await(trial_.below(steps.size() + 1));
        trial_.passUpTo(std::chrono::microseconds(3000));
        compare(steps, stepper.killNow());
    }

private:
    void compare(const std::vector<Step>& steps, std::size_t acknowledged) {
        const std::size_t done = acknowledged == 0 ? 0 : acknowledged - 1;
        for (std::size_t index = 0; index < done; ++index) {
            files_ = after(files_, steps[index].deed, steps[index].state);
            isServerNamed_ = namesServer(isServerNamed_, steps[index].deed, true);
        }
        const bool wasAtOne = acknowledged > 0 && done < steps.size();
        const States next = wasAtOne ? after(files_, steps[done].deed, steps[done].state) : files_;
        isServerNamed_ = wasAtOne ? namesServer(isServerNamed_, steps[done].deed, false) : isServerNamed_;
        const States found = States::of(scene_);
        trial_.tried();
        const std::string wrong = neitherOldNorNew(found, files_, next);
        if (!wrong.empty()) {
            trial_.lost(wrong, scene_.folder());
            return;
        }
        files_ = found;
        restart();
    }

    void restart() {
        Client client(scene_);
        const States found = States::of(scene_);
        const std::string wrong = otherAnswers(client, files_, isServerNamed_);
        if (!wrong.empty()) {
            trial_.lost("at the next start " + wrong, scene_.folder());
        } else if (found != files_ || !scene_.backups().empty()) {
            trial_.lost("the next start leaves " + found.text() + " of " + files_.text(), scene_.folder());
        } else if (!scene_.temporaries().empty()) {
            trial_.lost("left over after the next start: " + scene_.temporaries().front(), scene_.folder());
        }
    }

    Trial& trial_;
    const Scene& scene_;
    States files_;
    bool isServerNamed_ = false;
    int lastState_ = 0;
};

TEST(RandomKills, LeaveEachFileAsItWasOrAsItWasToBe) {
    const fakes::TemporaryDirectory directory;
    const Scene scene(directory.path());
    Trial trial("kill", "rounds", 200, 20000);
    KilledClient client(trial, scene);
    while (trial.nextRound()) {
        client.round();
    }
}

}  // namespace
}  // namespace torture
