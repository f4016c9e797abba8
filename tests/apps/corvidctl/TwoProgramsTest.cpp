// More than one program on one configuration directory.

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <future>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "Tool.h"
#include "cli/Definitions.h"
#include "impl/system/DirectoryClaim.h"
#include "session/WritersTurn.h"

using corvidctl::DirectoryUse;
using platform::DirectoryClaim;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

namespace {

class TwoPrograms : public Tool {
protected:
    TwoPrograms() { writeConfig("corvidLocalConfig.xml", localFile({{"OnlyMine", "1"}})); }

    const std::string place_ = directory_.path("config");
};

/// Beside a client that the test plays itself.
class BesideAClient : public TwoPrograms {
protected:
    BesideAClient() { client_.becomeResident(); }

    const std::string running_ =
        "corvidctl_tests (process " + std::to_string(getpid()) + ") is running on " + place_ + ": ";
    DirectoryClaim client_{place_};
};

/// Beside a command that the test plays itself, and that has its turn.
class BesideAWriter : public TwoPrograms {
protected:
    BesideAWriter() { EXPECT_FALSE(writer_->takeTurn()); }

    const std::string waiting_ =
        "waiting for corvidctl_tests (process " + std::to_string(getpid()) + "), which is changing " + place_;
    std::unique_ptr<DirectoryClaim> writer_ = std::make_unique<DirectoryClaim>(place_);
};

/// Standard error of a turn in the test's own process, which tells when the first line stands there.
class FirstLine : public std::stringbuf {
public:
    std::promise<void> isThere;

protected:
    int sync() override {
        if (!std::exchange(told_, true)) {
            isThere.set_value();
        }
        return 0;
    }

private:
    bool told_ = false;
};

const std::vector<std::vector<std::string>> CHANGES = {
    {"set", "A", "b"}, {"unset", "OnlyMine"}, {"provision", "x?ServicesDomain=a"}, {"reset-data", "--yes"}};

}  // namespace

TEST_F(TwoPrograms, ThatStoreAtTheSameTimeLoseNothing) {
    constexpr int PROGRAMS = 12;
    fs::remove_all(place_);  // they make it at the same time, too
    std::vector<std::unique_ptr<support::ChildProcess>> programs;
    for (int i = 0; i < PROGRAMS; ++i) {
        const std::string number = std::to_string(i);
        programs.push_back(std::make_unique<support::ChildProcess>(
            command({"--log-level", "2", "set", "key" + number, "value" + number})));
    }
    for (const auto& program : programs) {
        EXPECT_EQ(program->wait().status, 0);
    }
    const std::string file = configFile("corvidLocalConfig.xml");
    for (int i = 0; i < PROGRAMS; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_THAT(file, HasSubstr("name=\"key" + number + "\" value=\"value" + number + "\""));
    }
}

TEST_F(TwoPrograms, MakeOneDirectoryWhileSomeOfThemTakeTheirsAway) {
    fs::remove_all(place_);
    std::vector<std::unique_ptr<support::ChildProcess>> programs;
    for (int i = 0; i < 4; ++i) {
        programs.push_back(std::make_unique<support::ChildProcess>(command({"--log-level", "2", "unset", "nothing"})));
        programs.push_back(std::make_unique<support::ChildProcess>(
            command({"--log-level", "2", "set", "key" + std::to_string(i), "value"})));
    }
    for (const auto& program : programs) {
        EXPECT_EQ(program->wait().status, 0);
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"key" + std::to_string(i) + "\""));
    }
}

TEST_F(TwoPrograms, AreNotedWhereAWatchIsRunningUntilItIsKilled) {
    fs::remove(directory_.path("install/bootstrap.properties"));
    support::ChildProcess watch(command({"watch"}));
    ASSERT_TRUE(watch.waitForError("nothing fetched"));
    const support::Ended refused = run({"set", "A", "b"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.error, testing::MatchesRegex("corvidctl: nothing changed: corvidctl \\(process [0-9]+\\) is "
                                                     "running on [^\n]*\n[^\n]*\n"));
    watch.signal(SIGKILL);
    watch.wait();
    EXPECT_EQ(run({"--log-level", "2", "set", "A", "b"}).error, "");
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"b\""));
}

TEST_F(BesideAClient, ACommandDoesNotChangeTheUsersData) {
    const std::map<std::string, std::string> before = files();
    for (const std::vector<std::string>& words : CHANGES) {
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 1) << words.front();
        EXPECT_EQ(ended.out, "") << words.front();
        EXPECT_EQ(ended.error, "corvidctl: nothing changed: " + running_ +
                                   "it would not notice the change, and may undo it when it next saves\n"
                                   "Stop it first, or add --force to make the change all the same.\n");
    }
    EXPECT_EQ(files(), before);
}

TEST_F(BesideAClient, ARefusedCommandPrintsNoAnswerForScripts) {
    for (std::vector<std::string> words : CHANGES) {
        words.emplace_back("--json");
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 1) << words.front();
        EXPECT_EQ(ended.out, "") << words.front();
    }
}

TEST_F(BesideAClient, ARehearsalTellsThatTheChangeWouldBeRefused) {
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"set", "A", "b", "--dry-run"}, {"unset", "OnlyMine", "--dry-run"}}) {
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 0) << words.front();
        EXPECT_THAT(ended.error, testing::StartsWith("corvidctl: " + running_ +
                                                     "while it is, nothing would be changed without --force\n"));
    }
    EXPECT_THAT(run({"set", "A", "b", "--dry-run", "--force"}).error,
                testing::StartsWith("corvidctl: " + running_ +
                                    "it would not notice the change, and may undo it when it next saves\n"));
}

TEST_F(BesideAClient, ACommandChangesTheUsersDataIfItIsForced) {
    for (std::vector<std::string> words : CHANGES) {
        words.emplace_back("--force");
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 0) << words.front();
        EXPECT_THAT(ended.error,
                    testing::StartsWith("corvidctl: " + running_ +
                                        "it does not notice the change, and may undo it when it next saves\n"));
    }
    EXPECT_FALSE(fs::exists(directory_.path("config/corvidLocalConfig.xml")));
}

TEST_F(BesideAClient, AFetchGoesOnAndTellsOfIt) {
    directory_.write("install/bootstrap.properties", "ServicesDomain: example.org\n");
    EXPECT_EQ(run({"fetch"}).error.find("corvidctl: " + running_ +
                                        "it goes on with the file that it has until it fetches one itself\n"),
              0U);
}

TEST_F(BesideAClient, CommandsThatReadTellNothing) {
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"get", "OnlyMine"}, {"list"}, {"explain", "OnlyMine"}, {"stores"}, {"report"}}) {
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 0) << words.front();
        EXPECT_EQ(ended.error, "") << words.front();
    }
}

TEST_F(BesideAClient, AWatchWarnsAndGoesOn) {
    support::ChildProcess watch(command({"watch"}));
    EXPECT_TRUE(watch.waitForError("corvidctl: " + running_.substr(0, running_.size() - 2) +
                                   " as well: neither notices what the other one changes\n"));
    EXPECT_TRUE(watch.waitForError("another program works on the configuration directory: process " +
                                   std::to_string(getpid()) + ", corvidctl_tests; "));
    EXPECT_TRUE(watch.waitForError("nothing fetched"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(BesideAWriter, ACommandWaitsAndTellsForWhom) {
    support::ChildProcess set(command({"set", "A", "b"}));
    EXPECT_TRUE(set.waitForError("corvidctl: " + waiting_ + "\n"));
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), Not(HasSubstr("name=\"A\"")));
    writeConfig("corvidLocalConfig.xml", localFile({{"stored-meanwhile", "c"}}));
    writer_.reset();
    const support::Ended ended = set.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "corvidctl: " + waiting_ + "\n") << "once";
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"b\""));
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"stored-meanwhile\" value=\"c\""));
}

TEST_F(BesideAWriter, AResetNamesWhatTheWriterHasLeft) {
    support::ChildProcess reset(command({"reset-data", "--yes"}));
    EXPECT_TRUE(reset.waitForError(waiting_));
    writeConfig("photo", "p");
    writer_.reset();
    EXPECT_THAT(reset.wait().out, HasSubstr("removed  photo\n"));
}

TEST_F(BesideAWriter, ACommandShowsOnATerminalForWhomItWaits) {
    support::ChildProcess::Options options;
    options.errorTerminal = true;
    options.environment = {{"TERM", "xterm"}};
    support::ChildProcess set(command({"set", "A", "b"}), options);
    EXPECT_TRUE(set.waitForError(waiting_.substr(0, 40)));
    writer_.reset();
    const support::Ended ended = set.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.error, Not(HasSubstr("corvidctl: waiting")));
    EXPECT_THAT(ended.error, testing::EndsWith("\x1b[K\r\r\x1b[K"));
}

TEST_F(BesideAWriter, ACommandThatWaitsEndsWhenItIsInterrupted) {
    const std::map<std::string, std::string> before = files();
    support::ChildProcess set(command({"set", "A", "b"}));
    EXPECT_TRUE(set.waitForError(waiting_));
    set.signal(SIGINT);
    EXPECT_EQ(set.wait().status, 128 + SIGINT);
    EXPECT_EQ(files(), before);
}

TEST_F(BesideAWriter, CommandsThatReadDoNotWait) {
    const support::Ended ended = run({"get", "OnlyMine"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "1\n");
    EXPECT_EQ(ended.error, "");
}

TEST_F(BesideAWriter, ATurnIsOnTheDirectoryThatIsThereInTheEnd) {
    corvidctl::Invocation invocation;
    invocation.command = "set";
    invocation.host.configDirectory = place_;
    FirstLine line;
    std::ostringstream out;
    std::ostream error(&line);
    corvidctl::Output output{out, error, false, false};
    std::future<std::unique_ptr<corvidctl::WritersTurn>> turn =
        std::async(std::launch::async, [&] { return std::make_unique<corvidctl::WritersTurn>(invocation, output); });
    line.isThere.get_future().wait();
    fs::rename(place_, directory_.path("elsewhere"));
    writer_.reset();
    const std::unique_ptr<corvidctl::WritersTurn> taken = turn.get();
    EXPECT_TRUE(taken->isGiven());
    EXPECT_TRUE(DirectoryClaim(place_).writer());
    EXPECT_FALSE(DirectoryClaim(directory_.path("elsewhere")).writer());
}

TEST_F(TwoPrograms, LeaveNoDirectoryBehindThatNothingIsStoredIn) {
    const std::string missing = directory_.path("new/profile");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"unset", "A"}, {"provision", "nonsense"}, {"get", "A"}, {"list"}}) {
        std::vector<std::string> all = command(words);
        all[2] = missing;
        support::runProgram(all);
        EXPECT_FALSE(fs::exists(directory_.path("new"))) << words.front();
    }
}

TEST_F(TwoPrograms, KeepAnEmptyDirectoryThatWasThere) {
    fs::remove_all(place_);
    fs::create_directory(place_);
    EXPECT_EQ(run({"--log-level", "2", "unset", "A"}).status, 0);
    EXPECT_TRUE(fs::is_directory(place_));
}

TEST(DirectoryUses, OfACommandThatChangesTheUsersDataCanBeForced) {
    for (const corvidctl::CommandDefinition& definition : corvidctl::commandDefinitions()) {
        bool canBeForced = false;
        for (const corvidctl::OptionDefinition& option : definition.options) {
            canBeForced = canBeForced || std::string(option.names) == "--force";
        }
        corvidctl::Invocation invocation;
        invocation.command = definition.name;
        if (corvidctl::directoryUseOf(invocation) == DirectoryUse::Changes) {
            EXPECT_TRUE(canBeForced) << definition.name;
        }
    }
}
