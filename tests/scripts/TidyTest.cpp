#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using testing::HasSubstr;

namespace {

const char* const IN_ORDER = "int one() { return 1; }\n";
const char* const USED_AFTER_MOVE = "#include <string>\n#include <utility>\n"
                                    "void take(std::string);\n"
                                    "std::string twice(std::string text) {\n"
                                    "    take(std::move(text));\n"
                                    "    return text;\n"
                                    "}\n";

/// A tree with the script, its list, and sources of its own.
class Tidy : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("command -v clang-tidy-14 >/dev/null") != 0) {
            GTEST_SKIP() << "clang-tidy-14 is not installed";
        }
        const std::filesystem::path sources = CORVID_SOURCE_DIRECTORY;
        for (const char* folder : {"scripts", "host", "build", "build/tsan"}) {
            std::filesystem::create_directory(directory_.path(folder));
        }
        std::filesystem::copy(sources / "scripts/tidy", directory_.path("scripts/tidy"));
        std::filesystem::copy(sources / ".clang-tidy", directory_.path(".clang-tidy"));
    }

    void add(const std::string& name, const std::string& contents) {
        directory_.write("host/" + name, contents);
        const std::string file = directory_.path("host/" + name);
        commands_.push_back({{"directory", directory_.path()},
                             {"file", file},
                             {"command", "clang++-14 -std=c++20 -o " + name + ".o -c " + file}});
        directory_.write("build/tsan/compile_commands.json", commands_.dump());
    }

    support::Ended run(const std::string& file = "") const {
        std::vector<std::string> command = {directory_.path("scripts/tidy")};
        if (!file.empty()) {
            command.push_back(directory_.path(file));
        }
        return support::runProgram(command);
    }

    nlohmann::json commands_ = nlohmann::json::array();
    const fakes::TemporaryDirectory directory_;
};

TEST_F(Tidy, LetsPassWhatIsInOrder) {
    add("One.cpp", IN_ORDER);
    const support::Ended ended = run();
    EXPECT_EQ(ended.out, "tidy: 1 files, 0 findings\n");
    EXPECT_EQ(ended.status, 0) << ended.error;
}

TEST_F(Tidy, FailsOnAPlantedMistake) {
    add("One.cpp", IN_ORDER);
    add("Two.cpp", USED_AFTER_MOVE);
    const support::Ended ended = run();
    EXPECT_THAT(ended.out,
                HasSubstr("host/Two.cpp:6:12: error: 'text' used after it was moved [bugprone-use-after-move"));
    EXPECT_THAT(ended.out, HasSubstr("\ntidy: 2 files, 1 findings\n"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Tidy, LooksAtTheNamedSourcesOnly) {
    add("One.cpp", IN_ORDER);
    add("Two.cpp", USED_AFTER_MOVE);
    EXPECT_EQ(run("host/One.cpp").status, 0);
    EXPECT_EQ(run("host/Two.cpp").status, 1);
}

TEST_F(Tidy, LooksAtEachAloneWhereNamesCollide) {
    add("One.cpp", "namespace {\nint\nname() { return 1; }\n}\nint one() { return name(); }\n");
    add("Two.cpp", "namespace {\nint\nname() { return 2; }\n}\nint two() { return name(); }\n");
    add("Three.cpp", "enum { X };\nnamespace {\nstruct\nS {};\n}\nint three(S) { return X; }\n");
    add("Four.cpp", "namespace {\nstruct\nS { int i; };\n}\nint four(S s) { return s.i; }\n");
    EXPECT_EQ(run().out, "tidy: 4 files, 0 findings\n");
}

TEST_F(Tidy, FailsOnASourceThatCannotBeCompiled) {
    add("One.cpp", "int one() { return nothing; }\n");
    const support::Ended ended = run();
    EXPECT_THAT(ended.out, HasSubstr("host/One.cpp:1:20: error: use of undeclared identifier 'nothing'"));
    EXPECT_EQ(ended.status, 1);
}

TEST_F(Tidy, SaysWhatItTakes) {
    EXPECT_EQ(run().error, "tidy: there are no compile commands: run cmake --preset tsan first\n");
    add("One.cpp", IN_ORDER);
    const support::Ended ended = run("host/Other.cpp");
    EXPECT_THAT(ended.error, HasSubstr("Other.cpp' is none of the sources in apps/corvidctl, callcontrol, host"));
    EXPECT_EQ(ended.status, 2);
}

}  // namespace
