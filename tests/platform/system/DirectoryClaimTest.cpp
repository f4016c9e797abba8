#include "impl/system/DirectoryClaim.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>

#include "fakes/TemporaryDirectory.h"
#include "support/ForkedChild.h"
#include "support/OrdinaryUser.h"

using platform::DirectoryClaim;
using platform::DirectoryUser;

namespace {

/// A process that does something and then does nothing more, until it is killed. It knows of no claim that this one
/// holds.
class Holder {
public:
    explicit Holder(const std::function<void()>& begin)
        : child_([&](int channel) {
              begin();
              [[maybe_unused]] const ssize_t written = write(channel, "!", 1);
              for (;;) {
                  pause();
              }
              return 0;
          }) {
        char byte = 0;
        EXPECT_EQ(read(child_.channel(), &byte, 1), 1);
    }

    void kill() { child_.end(); }
    pid_t process() const { return child_.id(); }

private:
    support::ForkedChild child_;
};

class DirectoryClaims : public testing::Test {
protected:
    DirectoryClaims() { std::filesystem::create_directory(place_); }

    const fakes::TemporaryDirectory directory_;
    const std::string place_ = directory_.path("place");
};

}  // namespace

TEST_F(DirectoryClaims, SeeNobodyWhereNobodyIs) {
    const DirectoryClaim claim(place_);
    EXPECT_TRUE(claim.isOpen());
    EXPECT_FALSE(claim.resident());
    EXPECT_FALSE(claim.writer());
}

TEST_F(DirectoryClaims, TellWhoIsResident) {
    DirectoryClaim resident(place_);
    resident.becomeResident();
    const DirectoryClaim other(place_);
    ASSERT_TRUE(other.resident());
    EXPECT_EQ(other.resident()->process, getpid());
    EXPECT_EQ(other.resident()->name, "platform_tests");
    EXPECT_FALSE(other.writer());
}

TEST_F(DirectoryClaims, DoNotSeeThemselves) {
    DirectoryClaim claim(place_);
    claim.becomeResident();
    EXPECT_FALSE(claim.takeTurn());
    EXPECT_FALSE(claim.resident());
    EXPECT_FALSE(claim.writer());
}

TEST_F(DirectoryClaims, LetResidentsBeTogether) {
    DirectoryClaim first(place_);
    DirectoryClaim second(place_);
    first.becomeResident();
    second.becomeResident();
    EXPECT_TRUE(first.resident());
    EXPECT_TRUE(second.resident());
}

TEST_F(DirectoryClaims, EndWithTheirObject) {
    {
        DirectoryClaim claim(place_);
        claim.becomeResident();
        EXPECT_FALSE(claim.takeTurn());
    }
    DirectoryClaim next(place_);
    EXPECT_FALSE(next.resident());
    EXPECT_FALSE(next.takeTurn());
}

TEST_F(DirectoryClaims, GiveTheTurnToOneAfterTheOther) {
    auto first = std::make_unique<DirectoryClaim>(place_);
    DirectoryClaim second(place_);
    EXPECT_FALSE(first->takeTurn());
    EXPECT_FALSE(first->takeTurn()) << "it keeps what it has";
    ASSERT_TRUE(second.takeTurn());
    EXPECT_EQ(second.takeTurn()->process, getpid());
    EXPECT_TRUE(second.writer());
    EXPECT_FALSE(first->writer()) << "who waits does not write";
    first.reset();
    EXPECT_FALSE(second.takeTurn());
}

TEST_F(DirectoryClaims, LetThoseWhoWaitInByTheirNumbers) {
    auto first = std::make_unique<DirectoryClaim>(place_);
    ASSERT_FALSE(first->takeTurn());
    DirectoryClaim waiting(place_);
    ASSERT_TRUE(waiting.takeTurn());
    first.reset();
    // A later process has the higher number, as long as the numbers do not begin again.
    const pid_t here = getpid();
    const auto ask = [&] {
        const std::optional<DirectoryUser> inTheWay = DirectoryClaim(place_).takeTurn();
        return getpid() < here ? 2 : inTheWay && inTheWay->process == here ? 1 : 0;
    };
    EXPECT_THAT(support::runForked(ask), testing::AnyOf(1, 2));
    EXPECT_FALSE(waiting.takeTurn());
}

TEST_F(DirectoryClaims, GoWithAProcessThatIsKilled) {
    Holder holder([this] {
        auto* const claim = new DirectoryClaim(place_);  // nobody deletes it: the process is killed
        claim->becomeResident();
        claim->takeTurn();
    });
    DirectoryClaim claim(place_);
    ASSERT_TRUE(claim.resident());
    EXPECT_EQ(claim.resident()->process, holder.process());
    ASSERT_TRUE(claim.takeTurn());
    holder.kill();
    EXPECT_FALSE(claim.resident());
    EXPECT_FALSE(claim.takeTurn());
}

TEST_F(DirectoryClaims, LeaveAloneWhoTakesTheDirectoryWithFlock) {
    DirectoryClaim claim(place_);
    claim.becomeResident();
    ASSERT_FALSE(claim.takeTurn());
    const int other = open(place_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    close(other);
    EXPECT_TRUE(DirectoryClaim(place_).resident()) << "it must not go with somebody else's open file";
    EXPECT_TRUE(DirectoryClaim(place_).writer());
}

TEST_F(DirectoryClaims, NeedNoRightToWrite) {
    chmod(directory_.path().c_str(), 0755);
    chmod(place_.c_str(), 0555);
    const support::OrdinaryUser user;
    DirectoryClaim claim(place_);
    claim.becomeResident();
    EXPECT_FALSE(claim.takeTurn());
    EXPECT_TRUE(DirectoryClaim(place_).resident());
    EXPECT_TRUE(DirectoryClaim(place_).writer());
}

TEST_F(DirectoryClaims, OfAMissingDirectoryHinderNobodyAndMakeNone) {
    const std::string missing = directory_.path("missing");
    DirectoryClaim claim(missing);
    EXPECT_FALSE(claim.isOpen());
    claim.becomeResident();
    EXPECT_FALSE(claim.takeTurn());
    EXPECT_FALSE(claim.resident());
    EXPECT_FALSE(claim.isOf(missing));
    EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(DirectoryClaims, KnowWhetherTheirDirectoryIsThePathsStill) {
    const DirectoryClaim claim(place_);
    EXPECT_TRUE(claim.isOf(place_));
    std::filesystem::rename(place_, directory_.path("elsewhere"));
    EXPECT_FALSE(claim.isOf(place_));
    std::filesystem::create_directory(place_);
    EXPECT_FALSE(claim.isOf(place_));
    EXPECT_TRUE(claim.isOf(directory_.path("elsewhere")));
}
