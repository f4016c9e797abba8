#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// What the report says of one file, of which some lines are missed, and of a list.
class CoverageReport : public testing::Test {
protected:
    /// A file of which the lines that begin with a dash are missed, and the others reached, without conditions.
    void source(const std::string& text) {
        std::istringstream lines(text);
        std::string code;
        nlohmann::json segments;
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            const bool isMissed = line.starts_with('-');
            segments.push_back({++number, 1, isMissed ? 0 : 1, true, true, false});
            code += line.substr(isMissed ? 1 : 0) + "\n";
        }
        directory_.write("src/a.cpp", code);
        const nlohmann::json file = {
            {"filename", directory_.path("src/a.cpp")}, {"segments", segments}, {"branches", nlohmann::json::array()}};
        directory_.write("reached.json", nlohmann::json{{"data", {{{"files", {file}}}}}}.dump());
    }

    /// With a list of these lines of the file.
    support::Ended reportOf(const std::vector<std::string>& listed) const {
        std::string list = "No reason.\n";
        for (const std::string& line : listed) {
            list += "  src/a.cpp: " + line + "\n";
        }
        directory_.write("unreached.txt", list);
        return support::runProgram({"/usr/bin/env", "-C", directory_.path(),
                                    CORVID_SOURCE_DIRECTORY "/scripts/coverage-report", "reached.json", "src",
                                    "unreached.txt"});
    }

    /// The numbers of the lines that the report finds missed without a reason.
    std::set<int> unlisted(const std::vector<std::string>& listed) const {
        const support::Ended ended = reportOf(listed);
        std::set<int> numbers;
        std::istringstream lines(ended.out);
        for (std::string line; std::getline(lines, line);) {
            if (line.find(": not reached (not listed): ") != std::string::npos) {
                numbers.insert(std::stoi(line.substr(std::string("src/a.cpp:").size())));
            }
        }
        EXPECT_EQ(ended.status, numbers.empty() ? 0 : 1) << ended.out << ended.error;
        return numbers;
    }

    const fakes::TemporaryDirectory directory_;
};

TEST_F(CoverageReport, LetsABlockPassWhoseFirstLineIsListed) {
    source("int one(bool isLost) {\n"
           "    if (isLost) {  // a remark\n"
           "-        if (two()) {\n"
           "-            three();\n"
           "-        }\n"
           "-        four();\n"
           "-    }\n"
           "    return 0;\n"
           "}\n");
    EXPECT_EQ(unlisted({"if (isLost) {  // a remark"}), std::set<int>());
    EXPECT_EQ(unlisted({}), std::set<int>({3, 4, 5, 6, 7}));
}

TEST_F(CoverageReport, WantsAReasonOfItsOwnForWhatStandsBehindAListedBlock) {
    source("    if (isLost) {\n"
           "-        one();\n"
           "-    }\n"
           "-    two();\n"
           "    if (isLost &&\n"
           "        isLate) {\n"
           "-        three();\n"
           "-    } else if (isEarly) {\n"
           "-        four();\n"
           "-    }\n"
           "-    five([] {\n"
           "-        six();\n"
           "-    });\n"
           "-    seven();\n");
    EXPECT_EQ(unlisted({"if (isLost) {"}), std::set<int>({4, 7, 8, 9, 10, 11, 12, 13, 14}));
    EXPECT_EQ(unlisted({"if (isLost) {", "isLate) {"}), std::set<int>({4, 8, 9, 10, 11, 12, 13, 14}));
    EXPECT_EQ(unlisted({"if (isLost) {", "isLate) {", "} else if (isEarly) {"}), std::set<int>({4, 11, 12, 13, 14}));
    EXPECT_EQ(unlisted({"if (isLost) {", "isLate) {", "} else if (isEarly) {", "five([] {"}), std::set<int>({4, 14}));
}

TEST_F(CoverageReport, LetsPassWhatFollowsAListedStatementInItsBlock) {
    source("    if (isLost) {\n"
           "-        one();\n"
           "-        return 1;\n"
           "-    }\n"
           "-    two();\n"
           "    switch (way) {\n"
           "-        case 1:\n"
           "-            three();\n"
           "-            break;\n"
           "-        case 2:\n"
           "-            four();\n"
           "    }\n");
    EXPECT_EQ(unlisted({"one();"}), std::set<int>({5, 7, 8, 9, 10, 11}));
    EXPECT_EQ(unlisted({"one();", "case 1:"}), std::set<int>({5, 10, 11}));
    EXPECT_EQ(unlisted({"one();", "three();"}), std::set<int>({5, 7, 10, 11}));
}

TEST_F(CoverageReport, LetsAFunctionOfOneLineStandForItselfAlone) {
    source("class A {\n"
           "-    int one() const { return 1; }\n"
           "-    int two() const { return 2; }\n"
           "};\n"
           "    while (three()) {\n"
           "-    }\n"
           "-    four();\n");
    EXPECT_EQ(unlisted({"int one() const { return 1; }"}), std::set<int>({3, 6, 7}));
    EXPECT_EQ(unlisted({"int one() const { return 1; }", "while (three()) {"}), std::set<int>({3, 7}));
}

TEST_F(CoverageReport, WantsAReasonForWhatIsMissedBehindAReachedLine) {
    source("    if (isLost) {\n"
           "-        one();\n"
           "        two();\n"
           "-        three();\n"
           "    }\n");
    EXPECT_EQ(unlisted({"if (isLost) {"}), std::set<int>({4}));
}

TEST_F(CoverageReport, TellsOfAListedLineThatIsReachedOrGone) {
    source("    one();\n");
    for (const char* const line : {"one();", "two();"}) {
        const support::Ended ended = reportOf({line});
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.out,
                    HasSubstr(std::string("src/a.cpp: is listed, and is reached, or is there no more: ") + line));
        EXPECT_THAT(ended.out, Not(HasSubstr("not reached")));
    }
}

}  // namespace
