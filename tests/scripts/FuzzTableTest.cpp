#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace {

namespace fs = std::filesystem;

/// A tree with scripts/fuzz and one target, which is a script of the test's own.
class FuzzTable : public testing::Test {
protected:
    FuzzTable() {
        fs::create_directories(directory_.path("scripts"));
        fs::create_directories(directory_.path("fuzz/corpus/chain-file"));
        fs::copy(fs::path(CORVID_SOURCE_DIRECTORY) / "scripts/fuzz", directory_.path("scripts/fuzz"));
        writeScript("bin/cmake", "");
    }

    void writeScript(const std::string& name, const std::string& text) const {
        fs::permissions(directory_.write(name, "#!/bin/bash\n" + text + "\n"), fs::perms::owner_all);
    }

    /// @param early in MiB, in the second tenth of the run with short inputs. @param late in the last one.
    void targetGrows(const std::string& early, const std::string& late) const {
        targetPrints("#150\tNEW    cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 64 rss: " + early +
                     "Mb L: 4/4 MS: 1 -\n"
                     "#1000\tDONE   cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 500 rss: " +
                     late +
                     "Mb\n"
                     "Done 1000 runs in 2 second(s)\n"
                     "stat::number_of_executed_units: 1000\n"
                     "stat::average_exec_per_sec:     500\n"
                     "stat::peak_rss_mb:              95\n");
    }

    /// @param text what is printed of the run with short inputs; of that with long ones more memory each time.
    void targetPrints(const std::string& text) const {
        writeScript("build/fuzz/fuzz/fuzz_chain_file", "case \"$*\" in\n*-max_len=1024*) cat <<'END'\n" + text +
                                                           "END\n;;\n*) cat <<'END'\n" + longInputs + "END\n;;\nesac");
    }

    support::Ended fuzz(const std::string& target = "chain-file") const {
        return support::runProgram({directory_.path("scripts/fuzz"), "--runs", "2000", target},
                                   {.environment = {{"PATH", directory_.path("bin") + ":/usr/bin:/bin"}}});
    }

    static constexpr const char* longInputs =
        "#199\tNEW    cov: 9 ft: 9 corp: 1/1b exec/s: 0 rss: 300Mb L: 1/1 MS: 1 -\n"
        "Done 200 runs in 1 second(s)\n"
        "stat::number_of_executed_units: 200\n"
        "stat::average_exec_per_sec:     100\n"
        "stat::peak_rss_mb:              301\n";

    const fakes::TemporaryDirectory directory_;
};

constexpr const char* endOfShortInputs = "#1000\tDONE   cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 500 rss: 94Mb\n"
                                         "Done 1000 runs in 2 second(s)\n"
                                         "stat::number_of_executed_units: 1000\n"
                                         "stat::average_exec_per_sec:     500\n"
                                         "stat::peak_rss_mb:              95\n";

TEST_F(FuzzTable, TellsByHowMuchTheMemoryGrewOnceTheTargetWasWarm) {
    targetPrints(std::string("INFO: seed corpus: files: 9 min: 3b max: 44b total: 111b rss: 41Mb\n"
                             "#50\tNEW    cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 0 rss: 45Mb L: 4/4 MS: 1 -\n"
                             "#128\tpulse  cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 64 rss: 60Mb\n"
                             "#150\tREDUCE cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 64 rss: 70Mb L: 4/4 MS: 1 -\n"
                             "#512\tpulse  cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 64 rss: 99Mb\n"
                             "#950\tNEW    cov: 9 ft: 9 corp: 1/1b lim: 4 exec/s: 64 rss: 86Mb L: 4/4 MS: 1 -\n") +
                 endOfShortInputs);
    const support::Ended ended = fuzz();
    EXPECT_THAT(ended.out, testing::HasSubstr("| target | executions | each second | memory (growth) | found |\n"));
    EXPECT_THAT(ended.out, testing::HasSubstr("| `chain-file` | 1200 | 300 | 301 MiB (+25) | nothing |\n"));
    EXPECT_EQ(ended.status, 0) << ended.error;
}

TEST_F(FuzzTable, TellsNoGrowthOfARunThatIsTooShort) {
    targetPrints(endOfShortInputs);
    EXPECT_THAT(fuzz().out, testing::HasSubstr("| `chain-file` | 1200 | 300 | 301 MiB (?) | nothing |\n"));
}

TEST_F(FuzzTable, NamesATargetThatGrewByMoreThan32MiB) {
    targetGrows("60", "93");
    const support::Ended ended = fuzz();
    EXPECT_THAT(ended.out, testing::HasSubstr("| 301 MiB (+33) | grew by 33 MiB |\n"));
    EXPECT_EQ(ended.status, 1) << ended.error;
}

TEST_F(FuzzTable, HasNothingAgainstATargetThatGrewByNoMore) {
    for (const std::string late : {"92", "60", "20"}) {
        targetGrows("60", late);
        const support::Ended ended = fuzz();
        EXPECT_THAT(ended.out, testing::HasSubstr(" | nothing |\n"));
        EXPECT_EQ(ended.status, 0) << ended.error;
    }
}

TEST_F(FuzzTable, NamesATargetOfWhichAnInputTakesASecondOfProcessorTimeByItself) {
    const std::string input = "build/found/chain-file-slow-unit-1";
    const std::string printed = std::string("cat <<'END'\n") + endOfShortInputs + "END";
    for (const auto& [alone, remark] :
         {std::pair{"ulimit -t 2; while :; do :; done", "1 took a second"}, std::pair{"", "nothing"}}) {
        writeScript("build/fuzz/fuzz/fuzz_chain_file", "case \"$*\" in\n*-report_slow_units=1*) : >" + input + "\n" +
                                                           printed + "\n;;\n*" + input + ") " + alone +
                                                           "\n;;\n*) exit 2;;\nesac");
        const support::Ended ended = fuzz();
        EXPECT_THAT(ended.out, testing::HasSubstr(std::string("| 95 MiB (?) | ") + remark + " |\n"));
        EXPECT_EQ(ended.status, remark == std::string("nothing") ? 0 : 1) << ended.error;
        EXPECT_EQ(directory_.exists(input), ended.status == 1);
    }
}

TEST_F(FuzzTable, RunsWhatLedFurtherInTheWholeChainOnceMoreUnderAllSanitizers) {
    fs::create_directories(directory_.path("fuzz/corpus/whole-chain"));
    writeScript("build/fuzz-fast/fuzz/fuzz_whole_chain", std::string("cat <<'END'\n") + endOfShortInputs + "END");
    const std::string found =
        "*-runs=0*\\ " + directory_.path("build/found/whole-chain") + "\\ fuzz/corpus/whole-chain";
    for (const auto& [ending, remark] : {std::pair{0, "nothing"}, std::pair{1, "see build/found/whole-chain.log"}}) {
        writeScript("build/fuzz/fuzz/fuzz_whole_chain",
                    "case \"$*\" in\n" + found + ") exit " + std::to_string(ending) + ";;\n*) exit 2;;\nesac");
        const support::Ended ended = fuzz("whole-chain");
        EXPECT_THAT(ended.out,
                    testing::HasSubstr(std::string("| `whole-chain` | 1000 | 500 | 95 MiB (?) | ") + remark));
        EXPECT_EQ(ended.status, ending) << ended.error;
    }
}

TEST_F(FuzzTable, BuildsTheFastTargetsForTheWholeChainOnly) {
    writeScript("bin/cmake", R"(echo "cmake $*" >&2)");
    targetGrows("60", "60");
    fs::create_directories(directory_.path("fuzz/corpus/whole-chain"));
    for (const char* const name : {"build/fuzz-fast/fuzz/fuzz_whole_chain", "build/fuzz/fuzz/fuzz_whole_chain"}) {
        writeScript(name, "");
    }
    fuzz("chain-file");
    EXPECT_EQ(directory_.read("build/found/build.log"), "cmake --preset fuzz\ncmake --build --preset fuzz\n");
    fuzz("whole-chain");
    EXPECT_EQ(directory_.read("build/found/build.log"), "cmake --preset fuzz\ncmake --build --preset fuzz\n"
                                                        "cmake --preset fuzz-fast\ncmake --build --preset fuzz-fast\n");
}

}  // namespace
