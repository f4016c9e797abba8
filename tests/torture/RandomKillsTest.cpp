#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <iostream>
#include <string>
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

    /// @return the status of its end.
    int killNow() {
        const int status = child_.end();
        while (readOne()) {
        }
        return status;
    }

    /// How many acknowledgements have come.
    std::size_t acknowledged() const { return acknowledged_; }

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
    constexpr Deed deeds[] = {Deed::SetUser,    Deed::SetUser,      Deed::SetUser,  Deed::JoinServer,
                              Deed::JoinServer, Deed::RemoveServer, Deed::TakeLink, Deed::ResetData};
    return deeds[trial.below(std::size(deeds))];
}

/// One client that is killed over and over, and whose files live on.
class KilledClient {
public:
    KilledClient(Trial& trial, const Scene& scene) : trial_(trial), scene_(scene) {}

    void round() {
        const std::size_t awaited = trial_.below(6);
        std::vector<Step> steps(awaited + moreThanThePauseHolds);
        for (Step& step : steps) {
            step = {randomDeed(trial_), ++lastState_};
        }
        Stepper stepper(scene_, steps);
        stepper.await(awaited);
        trial_.passUpTo(longestPause);
        const int status = stepper.killNow();
        trial_.tried();
        ++rounds_;
        if (status != 128 + SIGKILL) {
            trial_.lost("the client was not killed, it ended with " + std::to_string(status), scene_.folder());
            return;
        }
        compare(steps, stepper.acknowledged());
    }

    /// The others met the start.
    std::string summary() const {
        return std::to_string(inSteps_) + " of " + std::to_string(rounds_) + " kills came after the start, " +
               std::to_string(inWrites_) + " of all left a temporary file behind";
    }

    /// A few may all come before a write or after it.
    void expectThatWritesWereMet() const {
        constexpr std::uint64_t enough = 200;
        EXPECT_TRUE(inWrites_ > 0 || rounds_ < enough) << summary();
    }

private:
    static constexpr std::chrono::microseconds longestPause{3000};
    static constexpr std::size_t moreThanThePauseHolds = 100;

    void compare(const std::vector<Step>& steps, std::size_t acknowledged) {
        const std::size_t done = acknowledged == 0 ? 0 : acknowledged - 1;
        for (std::size_t index = 0; index < done; ++index) {
            files_ = after(files_, steps[index].deed, steps[index].state);
        }
        const bool wasAtOne = acknowledged > 0 && done < steps.size();
        inSteps_ += wasAtOne ? 1 : 0;
        inWrites_ += scene_.temporaries().empty() ? 0 : 1;
        const States next = wasAtOne ? after(files_, steps[done].deed, steps[done].state) : files_;
        const States found = States::of(scene_);
        const std::string wrong = otherThanKilled(found, files_, next);
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
        const std::string wrong = otherAnswers(client, files_);
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
    int lastState_ = 0;
    std::uint64_t rounds_ = 0;
    std::uint64_t inSteps_ = 0;
    std::uint64_t inWrites_ = 0;
};

TEST(RandomKills, LeaveEachFileAsItWasOrAsItWasToBe) {
    const fakes::TemporaryDirectory directory;
    const Scene scene(directory.path());
    Trial trial("kill", "rounds", 200, 20000);
    KilledClient client(trial, scene);
    while (trial.nextRound()) {
        client.round();
    }
    std::cout << "kill: " << client.summary() << "\n";
    trial.remark(client.summary());
    client.expectThatWritesWereMet();
}

}  // namespace
}  // namespace torture
