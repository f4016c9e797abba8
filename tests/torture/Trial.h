#pragma once

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

namespace torture {

/// Copies what is below a folder, links as links. What cannot be copied, a pipe say, is left out, and the rest goes on.
void keepFiles(const std::string& folder, const std::string& target);

/// One row of the table: how often something was tried, and how often something was lost by it. One thread.
///
/// A test takes the number of rounds that suits a quick run; ./torture sets the environment for a long one:
///   CORVID_TORTURE_ROUNDS   rounds instead of the short number
///   CORVID_TORTURE_MINUTES  rounds until that time has passed
///   CORVID_TORTURE_TABLE    file to which the row is added: "name<TAB>unit<TAB>tried<TAB>lost<TAB>seed<TAB>remark"
///   CORVID_TORTURE_KEEP     folder in which the files of what was lost are kept; while a trial is under way
///   NAME-under-way
///                           in it has the seed of its try, and stays there if the process dies
class Trial {
public:
    /// @param name of the row. @param unit what is counted. @param shortRounds for a quick run, a tenth of them where a
    /// sanitizer makes each one dear. @param longRounds for a long one of which nothing else is said.
    Trial(std::string name, std::string unit, std::uint64_t shortRounds = 1, std::uint64_t longRounds = 1);

    /// Writes the row, if there is a table, and removes the file that says that it is under way.
    ~Trial();

    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;

    /// True in a long run: what a quick run samples is then done in full.
    static bool isLong();

    /// How long something may take before it counts as lost. @param promised what a long run holds it to; a quick one,
    /// which shares the machine with others, only takes a hang of more than ten seconds for one.
    static std::chrono::nanoseconds longest(std::chrono::nanoseconds promised);

    /// Begins a round, unless there have been enough, or something was lost: the files are kept as they are then.
    bool nextRound();

    /// Begins a try that has a seed of its own, for a process that dies in it to leave that one behind.
    /// @param seed with which a run begins with this very try.
    void begin(unsigned seed);

    /// Counts tries.
    void tried(std::uint64_t count = 1) { tried_ += count; }

    /// In a quick run true for about so many of all, for a tenth of that where a sanitizer makes each one dear; in a
    /// long one for all. Never once something was lost.
    bool picks(std::uint64_t wanted, std::uint64_t all);

    /// Fails the test, and keeps the folder under the trial's name and seed.
    void lost(const std::string& what, const std::string& folder) { lost(what, folder, seed_); }

    /// The same where each try has a seed of its own. @param seed with which a run begins with this very try.
    void lost(const std::string& what, const std::string& folder, unsigned seed);

    /// For the table: why less was tried than told, say.
    void remark(const std::string& text);

    bool hasLost() const { return lost_ > 0; }
    std::mt19937& random() { return random_; }

    /// The seed of this run.
    unsigned seed() const { return seed_; }

    /// @return a random number below the limit, which is 1 or more.
    std::uint64_t below(std::uint64_t limit);

    /// Looks at the clock until a random time of less than that has passed: a sleep would end at moments of the
    /// system's choosing.
    void passUpTo(std::chrono::microseconds limit);

private:
    bool timeIsLeft() const;
    std::string fileWhileUnderWay() const;

    const std::string name_;
    const std::string unit_;
    const unsigned seed_;
    std::mt19937 random_;
    std::uint64_t rounds_;
    double minutes_ = 0;
    const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();
    std::uint64_t begunRounds_ = 0;
    std::uint64_t tried_ = 0;
    std::uint64_t lost_ = 0;
    std::string remark_;
    int underWay_ = -1;  ///< the file that says so, open: a campaign begins thousands of tries in a second
};

}  // namespace torture
