#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

/// A tree with ./torture and its parts, in which each program that it runs is a script of the test's own.
class Torture : public testing::Test {
protected:
    Torture() {
        const fs::path sources = CORVID_SOURCE_DIRECTORY;
        fs::create_directories(directory_.path("scripts"));
        fs::copy(sources / "torture", directory_.path("torture"));
        fs::copy(sources / "scripts/torture", directory_.path("scripts/torture"));
        script("scripts/install-deps", "");
        script("bin/cmake", "");
    }

    void script(const std::string& name, const std::string& text) const {
        fs::permissions(directory_.write(name, "#!/bin/bash\n" + text + "\n"), fs::perms::owner_all);
    }

    /// What the programs of the trials "kill" and "order" do.
    void testsDo(const std::string& text) const { script("build/release/tests/torture_tests", text); }

    support::Ended torture(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), directory_.path("torture"));
        return support::runProgram(arguments, {.environment = {{"PATH", directory_.path("bin") + ":/usr/bin:/bin"},
                                                               {"CORVID_TORTURE_MINUTES", ""},
                                                               {"CORVID_TORTURE_ROUNDS", ""},
                                                               {"CORVID_TEST_SEED", ""}}});
    }

    /// What stands in the table behind its head.
    static std::string rowsOf(const support::Ended& ended) {
        const std::string head =
            "| trial | what is tried | tried | lost | seed | remark |\n|---|---|--:|--:|--:|---|\n";
        EXPECT_TRUE(ended.out.starts_with(head)) << ended.out << ended.error;
        return ended.out.substr(std::min(head.size(), ended.out.size()));
    }

    const fakes::TemporaryDirectory directory_;
};

constexpr const char* ORDER = "| `order` | temporary synced before the rename, folder synced after it | ";
constexpr const char* ADD_A_ROW = R"(printf 'order\twrites\t18\t0\t7\tof all\n' >>"$CORVID_TORTURE_TABLE")";

TEST_F(Torture, ShowsWhatATrialTellsOfItself) {
    testsDo(ADD_A_ROW);
    const support::Ended ended = torture({"order"});
    EXPECT_EQ(rowsOf(ended), std::string(ORDER) + "18 writes | 0 | 7 | of all |\n");
    EXPECT_EQ(directory_.read("build/torture/table.md"), ended.out);
    EXPECT_EQ(ended.status, 0);
}

TEST_F(Torture, HasARowForATrialThatDies) {
    testsDo("echo CORVID_TEST_SEED=11; exit 66");
    const support::Ended ended = torture({"order"});
    EXPECT_EQ(rowsOf(ended), std::string(ORDER) + "? | 1 or more | 11 | ended early: see build/torture/order.log |\n");
    EXPECT_THAT(ended.error, HasSubstr("torture: order failed: see build/torture/order.log and build/torture/lost\n"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Torture, TellsTheSeedOfTheVeryTryInWhichATrialDied) {
    testsDo(std::string(ADD_A_ROW) +
            "\necho CORVID_TEST_SEED=11; echo CORVID_TEST_SEED=4711 >$CORVID_TORTURE_KEEP/order-under-way; kill -9 $$");
    EXPECT_EQ(rowsOf(torture({"order"})), std::string(ORDER) + "18 writes | 0 | 7 | of all |\n" + ORDER +
                                              "? | 1 or more | 4711 | ended early: see build/torture/order.log |\n");
    EXPECT_THAT(directory_.read("build/torture/lost/order-4711/log.txt"), HasSubstr("CORVID_TEST_SEED=11\n"));
    EXPECT_FALSE(directory_.exists("build/torture/lost/order-under-way"));

    testsDo("echo CORVID_TEST_SEED=12; exit 66");
    EXPECT_THAT(rowsOf(torture({"order"})), HasSubstr("| 12 | ended early")) << "of this run, not of the one before";
}

TEST_F(Torture, HasARowForATrialThatFailsWithoutACountOfWhatItLost) {
    testsDo(std::string(ADD_A_ROW) + "; exit 1");
    EXPECT_THAT(rowsOf(torture({"order"})),
                testing::EndsWith("| ? | 1 or more | - | failed: see build/torture/order.log |\n"));
    testsDo(R"(printf 'order\twrites\t18\t1\t7\t\n' >>"$CORVID_TORTURE_TABLE"; exit 1)");
    EXPECT_EQ(rowsOf(torture({"order"})), std::string(ORDER) + "18 writes | 1 | 7 |  |\n");
}

TEST_F(Torture, TakesATrialThatTriesNothingForAFailure) {
    const std::string remark = "nothing was tried by the tests 'WriteOrder.*' of torture_tests";
    const std::string row = std::string(ORDER) + "? | 1 or more | - | " + remark + ": see build/torture/order.log |\n";
    // What a program says of itself whose filter matches no test, and of tests that never came to a try.
    for (const char* const text :
         {"echo 'Running 0 tests'", R"(printf 'order\twrites\t0\t0\t7\t\n' >>"$CORVID_TORTURE_TABLE")",
          R"(printf 'kill\trounds\t5\t0\t7\t\n' >>"$CORVID_TORTURE_TABLE")"}) {
        testsDo(text);
        const support::Ended ended = torture({"order"});
        EXPECT_EQ(ended.status, 1) << text;
        EXPECT_THAT(rowsOf(ended), testing::EndsWith(row)) << text;
        EXPECT_THAT(ended.error, HasSubstr("torture: order failed: see build/torture/order.log")) << text;
        EXPECT_THAT(directory_.read("build/torture/order.log"), HasSubstr(remark)) << text;
    }
    script("build/release/tests/integration_tests",
           R"(echo '<testsuites tests="0" failures="0" disabled="0" errors="0">' >"${2#--gtest_output=xml:}")");
    EXPECT_EQ(torture({"network"}).status, 1);
}

TEST_F(Torture, TakesATrialForAFailureWhoseScriptTriesNothing) {
    // A row of none is not enough, whatever it says besides, and no row still less.
    const auto failsAt = [this](const std::string& name, const std::string& by) {
        const support::Ended ended = torture({"--minutes", "1", name});
        EXPECT_EQ(ended.status, 1) << name;
        EXPECT_THAT(rowsOf(ended), testing::EndsWith("| ? | 1 or more | - | nothing was tried by " + by +
                                                     ": see build/torture/" + name + ".log |\n"));
        EXPECT_THAT(ended.error, HasSubstr("torture: " + name + " failed: "));
    };
    script("scripts/mutate", "echo 'seed 5'; echo '| all | 0 | 0, 0.0 % |'");
    failsAt("mutants", "scripts/torture/mutants");
    script("scripts/fuzz", "echo 'seed 5'; echo '| `local-file` | 0 | 0 | 82 MiB | nothing |'");
    failsAt("fuzz", "scripts/torture/fuzz");
    script("scripts/coverage", "");
    failsAt("coverage", "scripts/torture/coverage");
    script("scripts/run-helgrind", R"(printf 'helgrind\ttests\t0\t0\t-\thost_tests\n' >>"$CORVID_TORTURE_TABLE")");
    failsAt("helgrind", "scripts/run-helgrind");
}

TEST_F(Torture, CountsAProgramThatRunsNoTestUnderTheDetectorOrFailsInOneAsAComplaint) {
    fs::copy(fs::path(CORVID_SOURCE_DIRECTORY) / "scripts/run-helgrind", directory_.path("scripts/run-helgrind"));
    // As valgrind, and a test program of so many tests.
    script("bin/valgrind", R"(
for argument in "$@"; do
  case "$argument" in
    --log-file=*) echo '==1== ERROR SUMMARY: 0 errors' >"${argument#*=}" ;;
    */remote_tests) tests=0 ;;
    */platform_tests) failures=1 ;;
    --gtest_output=xml:*)
      echo "<testsuites tests=\"${tests-7}\" failures=\"${failures-0}\" disabled=\"0\" errors=\"0\">
  <testsuite name=\"Good\" tests=\"2\" failures=\"0\" disabled=\"0\" skipped=\"0\" errors=\"0\">" >"${argument#*:}" ;;
  esac
done)");
    const support::Ended ended = torture({"helgrind"});
    const std::string row =
        "| `helgrind` | test programs under a second detector of data races and of misused locks | ";
    EXPECT_THAT(rowsOf(ended), HasSubstr(row + "0 tests | 1 | - | remote_tests |\n"));
    EXPECT_THAT(rowsOf(ended), HasSubstr(row + "7 tests | 1 | - | platform_tests |\n"));
    EXPECT_THAT(rowsOf(ended), HasSubstr(row + "7 tests | 0 | - | host_tests |\n"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Torture, TakesATrialForWellThatSaysWhyItTriesNothing) {
    testsDo(R"(printf 'order\twrites\t0\t0\t7\tskipped\n' >>"$CORVID_TORTURE_TABLE")");
    const support::Ended ended = torture({"order"});
    EXPECT_EQ(rowsOf(ended), std::string(ORDER) + "0 writes | 0 | 7 | skipped |\n");
    EXPECT_EQ(ended.status, 0);
}

TEST_F(Torture, FindsTheBuildOfATrialThatTriesNothing) {
    script("build/tsan/tests/torture_tests", R"(printf 'stress\tsteps\t5\t0\t7\t\n' >>"$CORVID_TORTURE_TABLE")");
    script("build/tsan-gcc/tests/torture_tests", "");
    EXPECT_EQ(torture({"stress"}).status, 1);
}

TEST_F(Torture, CountsTheTestsOfProgramsThatCountNothing) {
    script("build/release/tests/integration_tests", R"(
case "$2" in --gtest_output=xml:*) ;; *) exit 3 ;; esac
cat >"${2#--gtest_output=xml:}" <<END
<testsuites tests="17" failures="2" disabled="0" errors="0">
<testcase name="A" result="skipped">
END
exit 1)");
    const support::Ended ended = torture({"network"});
    EXPECT_THAT(rowsOf(ended), HasSubstr("| 16 tests | 2 | - | 1 more were skipped |\n"));
    EXPECT_THAT(rowsOf(ended), Not(HasSubstr("?")));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Torture, KeepsTheLogOfATrialThatFails) {
    const fs::path lost = directory_.path("build/torture/lost");
    testsDo("echo CORVID_TEST_SEED=13; exit 1");
    torture({"order"});
    EXPECT_EQ(directory_.read("build/torture/lost/order-13/log.txt"), "CORVID_TEST_SEED=13\n");

    script("build/release/tests/memory_tests", "echo a secret was found; exit 1");
    torture({"secrets"});
    fs::path kept;
    for (const fs::directory_entry& entry : fs::directory_iterator(lost)) {
        kept = entry.path().filename().string().starts_with("secrets-20") ? entry.path() : kept;
    }
    EXPECT_EQ(directory_.read("build/torture/lost/" + kept.filename().string() + "/log.txt"), "a secret was found\n");

    testsDo(R"(echo CORVID_TEST_SEED=14; printf 'order\twrites\t18\t0\t7\t\n' >>"$CORVID_TORTURE_TABLE")");
    torture({"order"});
    EXPECT_FALSE(directory_.exists("build/torture/lost/order-14")) << "it was well";
}

TEST_F(Torture, HasARowForEachFuzzTarget) {
    script("scripts/fuzz", R"(
echo "fuzz $*" >&2
mkdir -p build/found
echo of an earlier run >build/found/chain-file-crash-1
touch -d '1 hour ago' build/found/chain-file-crash-1
echo an input >build/found/chain-file-crash-2
echo log >build/found/chain-file.log
echo seed 5
echo '| target | executions | each second | memory | found |'
echo '|---|--:|--:|--:|---|'
echo '| `local-file` | 1200 | 6300 | 82 MiB | nothing |'
echo '| `chain-file` | 7 | 3 | 81 MiB | see build/found/chain-file.log |'
exit 1)");
    const support::Ended ended = torture({"--minutes", "3", "fuzz"});
    const std::string row = "| `fuzz` | inputs that lead further and further, made for each way in | ";
    EXPECT_EQ(rowsOf(ended),
              row + "1200 executions | 0 | 5 | local-file: 6300 each second, 82 MiB, found nothing |\n" + row +
                  "7 executions | 1 | 5 | chain-file: 3 each second, 81 MiB, see build/found/chain-file.log |\n");
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(directory_.read("build/torture/fuzz.log"), HasSubstr("fuzz --minutes 3\n"));
    EXPECT_EQ(directory_.read("build/torture/lost/fuzz-5-chain-file/files/chain-file-crash-2"), "an input\n");
    EXPECT_FALSE(directory_.exists("build/torture/lost/fuzz-5-chain-file/files/chain-file-crash-1"));
    EXPECT_EQ(directory_.read("build/torture/lost/fuzz-5-chain-file/log.txt"), "log\n");
    EXPECT_FALSE(directory_.exists("build/torture/lost/fuzz-5-local-file"));
    torture({"--rounds", "500", "fuzz"});
    EXPECT_THAT(directory_.read("build/torture/fuzz.log"), HasSubstr("fuzz --runs 500\n"));
    torture({"fuzz"});
    EXPECT_THAT(directory_.read("build/torture/fuzz.log"), HasSubstr("fuzz \n"));
}

TEST_F(Torture, HasARowForLinesAndOneForBranches) {
    script("scripts/coverage", R"(
[ -z "${CORVID_TORTURE_TABLE-}${CORVID_TORTURE_MINUTES-}" ] || exit 3
echo 'services/a.cpp:3:9: never true (listed): if ([[c]]) {'
echo 'services/a.cpp:4:9: never true (not listed): if ([[d]]) {'
echo 'services/a.cpp:4:9: never false (not listed): if ([[d]]) {'
echo 'services/a.cpp:1: not reached (listed): a'
echo 'services/a.cpp:7: not reached (not listed): b'
echo 'lines: 5425 of 5454, 99.47 %'
echo 'branches: 1881 of 1942, 96.86 %'
exit 1)");
    const support::Ended ended = torture({"--minutes", "3", "coverage"});
    const std::string row = "| `coverage` | lines and branches of the module that its tests do not reach | ";
    EXPECT_EQ(rowsOf(ended), row + "5454 lines | 1 | - | 99.47 % reached; 28 of the others have a reason |\n" + row +
                                 "1942 branches | 2 | - | 96.86 % taken; 59 of the others have a reason |\n");
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Torture, HasARowForPlantedMistakes) {
    script("scripts/mutate", R"(
echo "mutate $*" >&2
echo 'seed 5'
echo '| all | 96 | 92, 95.8 % |')");
    const support::Ended ended = torture({"--rounds", "15", "mutants"});
    EXPECT_EQ(rowsOf(ended), "| `mutants` | mistakes planted in the code that decides, which no test finds | "
                             "96 mistakes | 4 | 5 | 95.8 % found |\n");
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(directory_.read("build/torture/mutants.log"), HasSubstr("mutate --count 15\n"));
    torture({"--minutes", "3", "mutants"});
    EXPECT_THAT(directory_.read("build/torture/mutants.log"), HasSubstr("mutate --minutes 3\n"));
}

TEST_F(Torture, TriesTheStressTenMinutesInEachOfItsBuildsIfNothingElseIsSaid) {
    const std::string tell = R"(echo "${CORVID_TORTURE_MINUTES-no} minutes, ${CORVID_TORTURE_ROUNDS-no} rounds"
printf 'stress\tsteps\t5\t0\t7\t\n' >>"$CORVID_TORTURE_TABLE")";
    script("build/tsan/tests/torture_tests", tell);
    script("build/tsan-gcc/tests/torture_tests", tell);
    torture({"stress"});
    EXPECT_EQ(directory_.read("build/torture/stress.log"), "10 minutes, no rounds\n10 minutes, no rounds\n");
    torture({"--rounds", "3", "stress"});
    EXPECT_EQ(directory_.read("build/torture/stress.log"), "no minutes, 3 rounds\nno minutes, 3 rounds\n");
}

TEST_F(Torture, TellsOfEveryTrialInItsHelpAndOnThePage) {
    const std::string refusal = torture({"x"}).error;
    const std::string begin = "torture: unknown trial 'x', expected one of: ";
    ASSERT_TRUE(refusal.starts_with(begin)) << refusal;
    const support::Ended help = torture({"--help"});
    EXPECT_EQ(help.status, 0);
    const fakes::TemporaryDirectory copy;
    fs::copy(fs::path(CORVID_SOURCE_DIRECTORY) / "docs/reliability.md", copy.path("page"));
    const std::string page = copy.read("page");
    std::istringstream names(refusal.substr(begin.size()));
    int count = 0;
    for (std::string name; names >> name; ++count) {
        EXPECT_TRUE(help.out.find(" " + name + ",") != std::string::npos ||
                    help.out.find(" " + name + "\n") != std::string::npos)
            << name;
        EXPECT_NE(page.find("| `" + name + "` |"), std::string::npos) << name;
    }
    EXPECT_EQ(count, 22);
}

}  // namespace
