#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <optional>
#include <vector>

#include "Pages.h"
#include "support/Lines.h"

using docs::readPage;
using support::linesOf;
using testing::HasSubstr;

namespace {

using Version = std::array<int, 3>;

const std::string UNRELEASED = "## [Unreleased]";

/// The version of a text such as "0.1.0"; none if anything else stands there.
std::optional<Version> versionIn(const std::string& text) {
    Version version{};
    int length = 0;
    const int parts = std::sscanf(text.c_str(), "%d.%d.%d%n", &version[0], &version[1], &version[2], &length);
    const bool isWhole = parts == 3 && static_cast<std::size_t>(length) == text.size();
    return isWhole ? std::optional(version) : std::nullopt;
}

/// The headings of a changelog's versions, the newest first.
std::vector<std::string> headingsOf(const std::string& changelog) {
    std::vector<std::string> headings;
    for (const std::string& line : linesOf(changelog)) {
        if (line.starts_with("## ")) {
            headings.push_back(line);
        }
    }
    return headings;
}

/// The version of a heading such as "## [0.1.0] - 2024-02-29"; none if it has another form.
std::optional<Version> versionOf(const std::string& heading) {
    const std::string begin = "## [";
    const std::string form = "] - 0000-00-00";
    const std::size_t end = heading.find(']');
    if (!heading.starts_with(begin) || end == std::string::npos || heading.size() != end + form.size()) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index < form.size(); ++index) {
        const char letter = heading[end + index];
        if (form[index] == '0' ? letter < '0' || letter > '9' : letter != form[index]) {
            return std::nullopt;
        }
    }
    return versionIn(heading.substr(begin.size(), end - begin.size()));
}

/// What is wrong with a changelog of a project that has that version; empty if nothing is. What is not released yet may
/// stand above, for a version that is newer than the last one that was released.
std::string complaintOf(const std::string& changelog, const std::string& project) {
    std::vector<std::string> headings = headingsOf(changelog);
    const bool hasUnreleased = !headings.empty() && headings.front() == UNRELEASED;
    if (hasUnreleased) {
        headings.erase(headings.begin());
    }
    if (headings.empty()) {
        return hasUnreleased ? "" : "no heading of a version";
    }
    const std::optional<Version> newest = versionOf(headings.front());
    const std::optional<Version> current = versionIn(project);
    if (!newest || !current) {
        return "expected \"## [VERSION] - YEAR-MONTH-DAY\": " + headings.front();
    }
    const bool agree = hasUnreleased ? *newest <= *current : *newest == *current;
    return agree ? "" : "the project's version is " + project + ", the newest heading: " + headings.front();
}

TEST(Changelog, AgreesWithTheProjectOnTheVersion) {
    EXPECT_EQ(complaintOf(readPage("CHANGELOG.md"), CORVID_VERSION), "");
}

TEST(Changelog, MayTellOfAVersionToCome) {
    EXPECT_EQ(complaintOf("## [Unreleased]\n", "0.1.0"), "");
    EXPECT_EQ(complaintOf("## [Unreleased]\n## [0.9.0] - 2024-02-29\n", "0.10.0"), "");
    EXPECT_EQ(complaintOf("## [0.2.0] - 2024-02-29\n## [0.1.0] - 2024-01-01\n", "0.2.0"), "");
}

TEST(Changelog, IsRefusedWithAnotherVersion) {
    EXPECT_EQ(complaintOf("## [0.2.0] - 2024-02-29\n", "0.1.0"),
              "the project's version is 0.1.0, the newest heading: ## [0.2.0] - 2024-02-29");
    EXPECT_NE(complaintOf("## [0.1.0] - 2024-02-29\n", "0.2.0"), "");
    EXPECT_NE(complaintOf("## [Unreleased]\n## [0.2.0] - 2024-02-29\n", "0.1.0"), "");
}

TEST(Changelog, IsRefusedInAnotherForm) {
    EXPECT_EQ(complaintOf("### Added\n", "0.1.0"), "no heading of a version");
    for (const char* const heading : {"## 0.1.0", "## [0.1.0]", "## [0.1] - 2024-02-29", "## [0.1.0] - 29.02.2024",
                                      "## [0.1.0] - 2024-02-29 later", "## [0.1.0b] - 2024-02-29"}) {
        EXPECT_EQ(complaintOf(heading, "0.1.0"), std::string("expected \"## [VERSION] - YEAR-MONTH-DAY\": ") + heading);
    }
}

TEST(PageOfPackages, ShowsTheProjectOfTheExample) {
    const std::string example = readPage("examples/consumer/CMakeLists.txt");
    std::vector<std::string> lines = linesOf(docs::blockOf(readPage("docs/packages.md"), "cmake"));
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(example, HasSubstr("\n" + lines[0] + "\n"));
    const std::string name = "(client ";
    const std::size_t at = lines[1].find(name);
    ASSERT_NE(at, std::string::npos);
    EXPECT_THAT(example, HasSubstr("\n" + lines[1].replace(at, name.size(), "(consumer ") + "\n"));
}

TEST(PageOfPackages, AsksForTheVersionOfTheProject) {
    const Version version = versionIn(CORVID_VERSION).value_or(Version{});
    const std::string interface =
        std::to_string(version[0]) + (version[0] == 0 ? "." + std::to_string(version[1]) : std::string());
    EXPECT_THAT(readPage("docs/packages.md"), HasSubstr("find_package(ConfigService " + interface + " REQUIRED)"));
}

TEST(PageOfPackages, AsksPkgConfigAsTheExampleDoes) {
    const std::string makefile = readPage("examples/consumer/Makefile");
    EXPECT_THAT(readPage("docs/packages.md"), HasSubstr("`pkg-config --cflags --libs configservice`"));
    EXPECT_THAT(makefile, HasSubstr("$(shell pkg-config --cflags configservice)"));
    EXPECT_THAT(makefile, HasSubstr("$(shell pkg-config --libs configservice)"));
}

}  // namespace
