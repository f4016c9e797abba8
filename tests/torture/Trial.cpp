#include "Trial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include "simulation/Sanitized.h"
#include "support/Seed.h"

namespace torture {
namespace {

std::string setting(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

void keepFiles(const std::string& folder, const std::string& target) {
    namespace fs = std::filesystem;
    std::error_code failure;
    fs::create_directories(target, failure);
    for (fs::recursive_directory_iterator entry(folder, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const fs::path copy = fs::path(target) / entry->path().lexically_relative(folder);
        const fs::file_type type = entry->symlink_status().type();
        std::error_code ofThisOne;
        if (type == fs::file_type::directory) {
            fs::create_directory(copy, ofThisOne);
        } else if (type == fs::file_type::regular || type == fs::file_type::symlink) {
            fs::copy(entry->path(), copy, fs::copy_options::copy_symlinks, ofThisOne);
        }
    }
}

Trial::Trial(std::string name, std::string unit, std::uint64_t shortRounds, std::uint64_t longRounds)
    : name_(std::move(name)),
      unit_(std::move(unit)),
      seed_(support::seedOfThisRun()),
      random_(seed_),
      rounds_(isLong() ? longRounds : simulation::sequences(shortRounds)) {
    testing::Test::RecordProperty("seed", std::to_string(seed_));
    if (const std::string rounds = setting("CORVID_TORTURE_ROUNDS"); !rounds.empty()) {
        rounds_ = std::stoull(rounds);
    }
    if (const std::string minutes = setting("CORVID_TORTURE_MINUTES"); !minutes.empty()) {
        minutes_ = std::stod(minutes);
    }
    if (const std::string file = fileWhileUnderWay(); !file.empty()) {
        underWay_ = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        begin(seed_);
    }
}

Trial::~Trial() {
    if (underWay_ >= 0) {
        close(underWay_);
        unlink(fileWhileUnderWay().c_str());
    }
    const std::string table = setting("CORVID_TORTURE_TABLE");
    if (!table.empty()) {
        std::ofstream(table, std::ios::app)
            << name_ << '\t' << unit_ << '\t' << tried_ << '\t' << lost_ << '\t' << seed_ << '\t' << remark_ << '\n';
    }
}

bool Trial::isLong() { return !setting("CORVID_TORTURE_TABLE").empty(); }

std::chrono::nanoseconds Trial::longest(std::chrono::nanoseconds promised) {
    return isLong() ? promised : std::chrono::seconds(10);
}

std::string Trial::fileWhileUnderWay() const {
    const std::string keep = setting("CORVID_TORTURE_KEEP");
    return keep.empty() ? "" : keep + "/" + name_ + "-under-way";
}

void Trial::begin(unsigned seed) {
    if (underWay_ < 0) {
        return;
    }
    const std::string text = "CORVID_TEST_SEED=" + std::to_string(seed) + "\n";
    // One write for each try, and none that a disk is asked to take at once: the file is shortened afterwards only.
    if (pwrite(underWay_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size()) ||
        ftruncate(underWay_, static_cast<off_t>(text.size())) != 0) {
        ADD_FAILURE() << fileWhileUnderWay() << " cannot be written";
    }
}

bool Trial::timeIsLeft() const {
    return std::chrono::steady_clock::now() - begun_ < std::chrono::duration<double, std::ratio<60>>(minutes_);
}

bool Trial::nextRound() {
    const bool goesOn = !hasLost() && (minutes_ > 0 ? timeIsLeft() : begunRounds_ < rounds_);
    begunRounds_ += goesOn ? 1 : 0;
    return goesOn;
}

bool Trial::picks(std::uint64_t wanted, std::uint64_t all) {
    if (hasLost()) {
        return false;
    }
    // As many of ten times all are a tenth.
    const std::uint64_t times = 10 / simulation::sequences(10);
    return isLong() || below(std::max<std::uint64_t>(all, 1) * times) < wanted;
}

void Trial::lost(const std::string& what, const std::string& folder, unsigned seed) {
    ++lost_;
    ADD_FAILURE() << name_ << ", CORVID_TEST_SEED=" << seed << ", try " << tried_ << ": " << what;
    const std::string keep = setting("CORVID_TORTURE_KEEP");
    if (!keep.empty()) {
        const std::string target = keep + "/" + name_ + "-" + std::to_string(seed) + "-" + std::to_string(tried_);
        keepFiles(folder, target + "/files");
        std::ofstream(target + "/what.txt") << what << "\n";
    }
}

void Trial::remark(const std::string& text) { remark_ = text; }

std::uint64_t Trial::below(std::uint64_t limit) {
    return std::uniform_int_distribution<std::uint64_t>(0, limit - 1)(random_);
}

void Trial::passUpTo(std::chrono::microseconds limit) {
    const std::chrono::microseconds time(below(static_cast<std::uint64_t>(limit.count())));
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
}

}  // namespace torture
