#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

constexpr const char* SOURCE = "services/configservice/src/featuresets/adapters/config/chain/SearchedStore.cpp";

/// A tree with scripts/mutate and one source, in which building and testing are scripts of the test's own.
class Mutate : public testing::Test {
protected:
    Mutate() {
        fs::create_directory(directory_.path("scripts"));
        fs::copy(fs::path(CORVID_SOURCE_DIRECTORY) / "scripts/mutate", directory_.path("scripts/mutate"));
        directory_.write(SOURCE, "int one(bool isLost) {\n"
                                 "    take(isLost);\n"
                                 "    return isLost == true;\n"
                                 "}\n");
        directory_.write("tests/unfound.txt", "Nothing.\n");
        script("bin/ninja", "");
        script("bin/cmake", "mkdir -p build/dev/tests; cp tests/* build/dev/tests/");
        testsFind("");
    }

    void script(const std::string& name, const std::string& text) const {
        fs::permissions(directory_.write(name, "#!/bin/bash\n" + text + "\n"), fs::perms::owner_all);
    }

    /// The mistakes that the tests find: sources with this text. They tell of each source that they have seen.
    void testsFind(const std::string& text) const {
        const std::string source = directory_.path("build/mutants/tree-0/") + SOURCE;
        script("tests/configservice_chain_tests", "sed -n '2,3p' " + source + " >>" + directory_.path("seen") +
                                                      (text.empty() ? "" : "; ! grep -qF '" + text + "' " + source));
    }

    /// Each lane's first build is that of the tree as it is.
    void buildsOnceAndThen(const std::string& text) const {
        script("bin/ninja", "[ -e $PWD/built ] || { touch $PWD/built; exit 0; }; " + text);
    }

    support::Ended mutate(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {directory_.path("scripts/mutate"), "--lanes", "1"});
        return support::runProgram(arguments, {.environment = {{"PATH", directory_.path("bin") + ":/usr/bin:/bin"}}});
    }

    std::string line(const std::string& rest) const { return std::string("not found: ") + SOURCE + ":" + rest + "\n"; }

    const fakes::TemporaryDirectory directory_;
};

TEST_F(Mutate, NamesEachMistakeThatNoTestFinds) {
    testsFind("isLost != true");
    const support::Ended ended = mutate({"--seed", "5", SOURCE});
    EXPECT_EQ(ended.out, "seed 5\n" + line("2: ;") + line("3: return isLost == false;") +
                             "| file | mistakes | found |\n|---|--:|--:|\n"
                             "| `SearchedStore.cpp` | 3 | 1 |\n| all | 3 | 1, 33.3 % |\n")
        << ended.error;
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Mutate, TriesThoseAgainThatAnEarlierRunHasNotFound) {
    // What that run has printed, and other lines of a log.
    directory_.write("list", "seed 5\n" + line("2: ;") + "mutants: not found: nothing\n| all | 3 | 1, 33.3 % |\n");
    const support::Ended ended = mutate({"--again", directory_.path("list")});
    EXPECT_THAT(ended.out, EndsWith(line("2: ;") + "| file | mistakes | found |\n|---|--:|--:|\n"
                                                   "| `SearchedStore.cpp` | 1 | 0 |\n| all | 1 | 0, 0.0 % |\n"))
        << ended.error;
    EXPECT_EQ(ended.status, 1);
    // As it is, and with that mistake alone.
    EXPECT_EQ(directory_.read("seen"), "    take(isLost);\n    return isLost == true;\n"
                                       "    ;\n    return isLost == true;\n");

    testsFind("    ;");
    const support::Ended found = mutate({"--again", directory_.path("list")});
    EXPECT_THAT(found.out, Not(HasSubstr("not found")));
    EXPECT_THAT(found.out, EndsWith("| all | 1 | 1, 100.0 % |\n"));
    EXPECT_EQ(found.status, 0);
}

TEST_F(Mutate, AsksTheTestsThatFoundAnotherMistakeFirst) {
    const std::string asked = directory_.path("asked");
    // Finds each mistake by one test, which says so when it is asked, whether alone or with all others.
    const std::string source = directory_.path("build/mutants/tree-0/") + SOURCE;
    script("tests/configservice_chain_tests",
           "echo \"$@\" >>" + asked + "; cmp -s " + source + " " + directory_.path(SOURCE) +
               " || { echo '[ RUN      ] A.Finds'; echo '[  FAILED  ] A.Finds (0 ms)'; exit 1; }");
    const support::Ended ended = mutate({SOURCE});
    EXPECT_EQ(ended.status, 0) << ended.error;
    const std::string all = "--gtest_fail_fast --gtest_filter=*\n";
    const std::string one = "--gtest_fail_fast --gtest_filter=A.Finds\n";
    EXPECT_EQ(directory_.read("asked"), all + all + one + one);
    EXPECT_THAT(directory_.read("build/mutants/verdicts.txt"),
                HasSubstr("found by configservice_chain_tests A.Finds: " + std::string(SOURCE) + ":2: ;\n"));
}

TEST_F(Mutate, CountsATestThatDiesAsOneThatFinds) {
    script("tests/configservice_chain_tests", "echo '[ RUN      ] A.Passes'; echo '[ RUN      ] A.Dies'; cmp -s " +
                                                  directory_.path("build/mutants/tree-0/") + SOURCE + " " +
                                                  directory_.path(SOURCE) + " || kill -SEGV $$");
    EXPECT_EQ(mutate({SOURCE}).status, 0);
    EXPECT_THAT(directory_.read("build/mutants/verdicts.txt"),
                HasSubstr("found by configservice_chain_tests A.Dies: "));
}

TEST_F(Mutate, TriesEachMistakeOnceInHoweverManyLanes) {
    const support::Ended ended = mutate({"--lanes", "3", SOURCE});
    EXPECT_THAT(ended.out, EndsWith("| all | 3 | 0, 0.0 % |\n")) << ended.error;
    for (const char* mistake : {"2: ;", "3: return isLost == false;", "3: return isLost != true;"}) {
        EXPECT_THAT(ended.out, HasSubstr(line(mistake)));
    }
}

TEST_F(Mutate, CountsNoMistakeThatTheCompilerRefuses) {
    buildsOnceAndThen("echo 'x.cpp:2:5: error: expected expression'; exit 1");
    const support::Ended ended = mutate({SOURCE});
    EXPECT_THAT(ended.out, EndsWith("| `SearchedStore.cpp` | 0 | 0 |\n| all | 0 | 0, 0.0 % |\n")) << ended.error;
    EXPECT_EQ(ended.status, 0);
}

TEST_F(Mutate, EndsAtABuildThatFailsForNoMistake) {
    for (const char* const text :
         {"collect2: error: ld returned 1 exit status", "cc1plus: fatal error: error writing"}) {
        buildsOnceAndThen(std::string("echo '") + text + "'; exit 1");
        const support::Ended ended = mutate({"--lanes", "2", SOURCE});
        EXPECT_EQ(ended.error,
                  std::string("mutate: configservice_chain_tests cannot be built, and not for a mistake:\n") + text +
                      "\n\n");
        EXPECT_THAT(ended.out, Not(HasSubstr("|")));
        EXPECT_EQ(ended.status, 1);
    }
}

TEST_F(Mutate, FailsWhereTheTestsFailWithoutAMistake) {
    script("tests/configservice_chain_tests", "echo '[  FAILED  ] A.Fails (0 ms)'; exit 1");
    const support::Ended ended = mutate({SOURCE});
    EXPECT_THAT(ended.error, HasSubstr("mutate: configservice_chain_tests fails as it is: A.Fails\n"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Mutate, RefusesAListOfWhatAreNoMistakes) {
    const auto refuses = [this](const std::string& list, const std::string& reason) {
        directory_.write("list", list);
        const support::Ended ended = mutate({"--again", directory_.path("list")});
        EXPECT_THAT(ended.error, EndsWith("mutate: error: " + reason + "\n"));
        EXPECT_EQ(ended.status, 2);
    };
    refuses("| all | 3 | 3, 100.0 % |\n", "no line of " + directory_.path("list") + " begins with 'not found: '");
    refuses(line("2: ;") + line("1: ;"), std::string("no such mistake: ") + SOURCE + ":1: ;");
    refuses("not found: none.cpp:1: ;\n", "no such mistake: none.cpp:1: ;");
    EXPECT_EQ(mutate({"--again", directory_.path("none")}).status, 2);
    EXPECT_EQ(mutate({"--again", directory_.path("list"), SOURCE}).status, 2);
    EXPECT_EQ(mutate({"--again", directory_.path("list"), "--count", "1"}).status, 2);
    EXPECT_FALSE(directory_.exists("seen"));
}

TEST_F(Mutate, PlantsNothingThatIsKnownToChangeNothing) {
    const std::string entry = std::string("  ") + SOURCE + ": return isLost == true; => ";
    directory_.write("tests/unfound.txt", "A reason:\n" + entry + "return isLost != true;\n");
    const support::Ended ended = mutate({"--seed", "5", SOURCE});
    EXPECT_EQ(ended.out, "seed 5\n" + line("2: ;") + line("3: return isLost == false;") +
                             "| file | mistakes | found |\n|---|--:|--:|\n"
                             "| `SearchedStore.cpp` | 2 | 0 |\n| all | 2 | 0, 0.0 % |\n")
        << ended.error;

    directory_.write("tests/unfound.txt", entry + "return isLost >= true;\n");
    const support::Ended refused = mutate({SOURCE});
    EXPECT_EQ(refused.error, std::string("mutate: tests/unfound.txt lists what is no such mistake in ") + SOURCE +
                                 ": ('return isLost == true;', 'return isLost >= true;')\n");
    EXPECT_EQ(refused.status, 1);
}

TEST(KnownToChangeNothing, AreMistakesThatMayBePlanted) {
    const std::string script = std::string(CORVID_SOURCE_DIRECTORY) + "/scripts/mutate";
    const support::Ended ended =
        support::runProgram({"/usr/bin/python3", "-B", "-c",
                             "import importlib.machinery as machinery, importlib.util as util\n"
                             "loader = machinery.SourceFileLoader('mutate', '" +
                                 script +
                                 "')\n"
                                 "mutate = util.module_from_spec(util.spec_from_loader('mutate', loader))\n"
                                 "loader.exec_module(mutate)\n"
                                 "print(sum(len(mutate.mutants_of(file)) for file in mutate.SUBJECTS), "
                                 "set(mutate.unnoticed()) - set(mutate.SUBJECTS))\n"},
                            {});
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, testing::MatchesRegex("[0-9]+ set\\(\\)\n"));
}

TEST_F(Mutate, KnowsNoFileThatIsNotThere) {
    const std::string refusal = mutate({"x"}).error;
    const std::string begin = "unknown file 'x', expected one of: ";
    ASSERT_THAT(refusal, HasSubstr(begin));
    std::istringstream names(refusal.substr(refusal.find(begin) + begin.size()));
    for (std::string name; names >> name;) {
        EXPECT_TRUE(fs::is_regular_file(fs::path(CORVID_SOURCE_DIRECTORY) / name.substr(0, name.find(',')))) << name;
    }
}

}  // namespace
