#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using testing::HasSubstr;

namespace {

/// A repository with the script and the format in its first commit.
class PreCommit : public testing::Test {
protected:
    PreCommit() {
        const std::filesystem::path sources = CORVID_SOURCE_DIRECTORY;
        std::filesystem::create_directory(directory_.path("scripts"));
        std::filesystem::copy(sources / "scripts/pre-commit", directory_.path("scripts/pre-commit"));
        std::filesystem::copy(sources / ".clang-format", directory_.path(".clang-format"));
        EXPECT_EQ(run("git init -q . && git add -A && git commit -q -m first").status, 0);
    }

    /// Runs a command in the repository, whatever the user's own settings of git are.
    support::Ended run(const std::string& command) const {
        std::map<std::string, std::string> environment = {{"GIT_CONFIG_GLOBAL", "/dev/null"},
                                                          {"GIT_CONFIG_SYSTEM", "/dev/null"},
                                                          {"GIT_DIR", ""},
                                                          {"GIT_INDEX_FILE", ""},
                                                          {"GIT_WORK_TREE", ""}};
        for (const char* who : {"GIT_AUTHOR_", "GIT_COMMITTER_"}) {
            environment[std::string(who) + "NAME"] = "Anna";
            environment[std::string(who) + "EMAIL"] = "anna@example.org";
        }
        return support::runProgram({"/bin/sh", "-c", "cd '" + directory_.path() + "' && " + command},
                                   {.environment = environment});
    }

    /// Puts a file into the next commit, and looks at it.
    support::Ended look(const std::string& name, const std::string& contents) const {
        directory_.write(name, contents);
        return run("git add -A && scripts/pre-commit");
    }

    static bool hasFormatter() {
        return std::system("(command -v clang-format-14 || command -v clang-format) >/dev/null") == 0;
    }

    const fakes::TemporaryDirectory directory_;
};

TEST_F(PreCommit, LetsPassWhatIsInOrder) {
    const support::Ended ended = look("a.cpp", "int main() { return 0; }\n");
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_EQ(ended.out, "");
}

TEST_F(PreCommit, NamesAFileThatLooksOtherwise) {
    if (!hasFormatter()) {
        GTEST_SKIP() << "clang-format is not installed";
    }
    const support::Ended ended = look("a.cpp", "int  main( ) {return 0;}\n");
    EXPECT_EQ(ended.error, "a.cpp: run clang-format -i, then git add\n");
    EXPECT_EQ(ended.status, 1);
}

TEST_F(PreCommit, LooksAtWhatIsCommittedAndNotAtTheFolder) {
    if (!hasFormatter()) {
        GTEST_SKIP() << "clang-format is not installed";
    }
    look("a.cpp", "int  main( ) {return 0;}\n");
    directory_.write("a.cpp", "int main() { return 0; }\n");
    EXPECT_EQ(run("scripts/pre-commit").status, 1);
}

TEST_F(PreCommit, RefusesWhiteSpaceAtTheEndOfALine) {
    const support::Ended ended = look("a.txt", "text \n");
    EXPECT_THAT(ended.out, HasSubstr("a.txt:1: trailing whitespace."));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(PreCommit, RefusesMarksOfAMerge) {
    const support::Ended ended = look("a.txt", "<<<<<<< ours\none\n=======\ntwo\n>>>>>>> theirs\n");
    EXPECT_THAT(ended.out, HasSubstr("leftover conflict marker"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(PreCommit, RefusesAScriptThatTheShellCannotRead) {
    const support::Ended ended = look("tool", "#!/bin/sh\nif true\n");
    EXPECT_THAT(ended.error, HasSubstr("tool: the shell cannot read it"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(PreCommit, RunsBeforeEachCommitOnceInstalled) {
    EXPECT_EQ(run("scripts/pre-commit --install").status, 0);
    directory_.write("a.txt", "text \n");
    EXPECT_NE(run("git add -A && git commit -q -m second").status, 0);
    directory_.write("a.txt", "text\n");
    EXPECT_EQ(run("git add -A && git commit -q -m second").status, 0);
}

TEST_F(PreCommit, LeavesAnotherHookAlone) {
    directory_.write(".git/hooks/pre-commit", "#!/bin/sh\n");
    const support::Ended ended = run("scripts/pre-commit --install");
    EXPECT_THAT(ended.error, HasSubstr("is there already; call scripts/pre-commit from it"));
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(directory_.read(".git/hooks/pre-commit"), "#!/bin/sh\n");
}

TEST_F(PreCommit, SaysWhatItTakes) {
    const support::Ended ended = run("scripts/pre-commit --all");
    EXPECT_EQ(ended.error, "pre-commit: unknown argument '--all', expected nothing or --install\n");
    EXPECT_EQ(ended.status, 2);
}

}  // namespace
