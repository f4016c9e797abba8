#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "ConfigStoreConstants.h"
#include "ConsoleBlock.h"
#include "Home.h"
#include "Pages.h"
#include "ServerPolicy.h"
#include "chain/ConfigKeyAliasesMapper.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/StringUtils.h"
#include "support/ChildProcess.h"
#include "xml/XmlConfigParser.h"

using docs::Command;
using docs::Home;
using docs::readPage;
using QuillCoreUtils::toString;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::filesystem::path SOURCES = CORVID_SOURCE_DIRECTORY;

class PageOfCommands : public testing::TestWithParam<const char*> {};

TEST_P(PageOfCommands, PrintsWhatItSays) {
    const std::string page = readPage(std::string("docs/").append(GetParam()));
    const std::vector<Command> commands = docs::commandsOf(GetParam(), page);
    EXPECT_FALSE(commands.empty());
    const Home home(Home::Profile::Sample);
    home.write("changes.jsonl", docs::blockOf(page, "jsonl"));
    for (const Command& command : commands) {
        const std::string output = home.outputOf(command.text);
        EXPECT_TRUE(docs::isAsExpected(output, command.expected))
            << command.page << ":" << command.line << ": " << command.text << "\nprints\n"
            << output << "and the page says\n"
            << command.expected;
    }
}

INSTANTIATE_TEST_SUITE_P(Docs, PageOfCommands, testing::Values("cookbook.md", "files.md"),
                         [](const auto& page) { return std::string(page.param, std::strcspn(page.param, ".")); });

TEST(PageOfKeys, HasEveryOldNameWithTheCurrentOne) {
    ConfigMap currentNames;
    ConfigMap oldNames;
    ConfigKeyAliasesMapper::GetConfigKeyAliases(currentNames, oldNames);
    const std::string page = readPage("docs/keys.md");
    for (const auto& [oldName, currentName] : currentNames) {
        EXPECT_THAT(page, HasSubstr("| `" + toString(oldName) + "` | `" + toString(currentName) + "`"));
    }
}

TEST(PageOfKeys, HasEveryPolicyWithWhatItErases) {
    const std::string page = readPage("docs/keys.md");
    for (const ServerPolicy& policy : serverPolicies()) {
        const std::size_t begin = page.find("| `" + toString(policy.policyKey) + "` |");
        ASSERT_NE(begin, std::string::npos) << toString(policy.policyKey);
        const std::string row = page.substr(begin, page.find('\n', begin) - begin);
        for (const std::wstring& key : policy.erasedKeys) {
            EXPECT_THAT(row, HasSubstr("`" + toString(key) + "`"));
        }
    }
}

TEST(PageOfKeys, HasEveryKeyOfALink) {
    const std::string page = readPage("docs/keys.md");
    for (const std::wstring& key : ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY) {
        EXPECT_THAT(page, HasSubstr("`" + toString(key) + "`"));
    }
}

TEST(PageOfKeys, HasEveryKeyThatTheModuleReads) {
    using namespace ConfigStoreConstants;
    const std::string page = QuillCoreUtils::toLowercase(readPage("docs/keys.md"));
    for (const std::wstring& key : {HOME_UDS_VERSION,
                                    TFTP_SERVER_1_KEY,
                                    TFTP_SERVER_2_KEY,
                                    TFTP_SERVER_3_KEY,
                                    CONFIGURATION_FILE_KEY,
                                    VOICEMAIL_SERVER_1_KEY,
                                    HUBCIP_SERVER_1_KEY,
                                    HUBCIP_SERVER_2_KEY,
                                    HUBCIP_SERVER_3_KEY,
                                    CTI_SERVER_1_KEY,
                                    PRIMARY_CONFIG_STORES_KEY,
                                    AD_PASSWORD_KEY,
                                    AD_USERNAME_KEY,
                                    BDI_CONNECTION_PASSWORD_STRING,
                                    BDI_CONNECTION_USERNAME_STRING,
                                    BDI_CONNECTION_USERDN_STRING,
                                    ALLOW_URL_PROVISIONING_KEY,
                                    ADDTIONAL_INFO,
                                    certificateValidationEnabled,
                                    PRODUCT_MODE_KEY}) {
        EXPECT_THAT(page, HasSubstr("`" + QuillCoreUtils::toLowercase(toString(key)) + "`"));
    }
}

TEST(PageOfFiles, NamesEveryFile) {
    using namespace ConfigStoreConstants;
    const std::string page = readPage("docs/files.md");
    for (const std::string& file : {LOCAL_FILE_CONFIG_STORE_FILE_NAME, DEFAULT_CONFIG_STORE_FILE_NAME,
                                    TFTP_OVERRIDE_FILE_NAME, toString(DEFAULT_TFTP_CONFIGURATION_FILE_NAME)}) {
        EXPECT_THAT(page, HasSubstr(file));
    }
}

TEST(PageOfFiles, ShowsAJournalAsTheToolWritesIt) {
    const std::string journal = docs::blockOf(readPage("docs/files.md"), "jsonl");
    const Home home(Home::Profile::None);
    home.write("changes.jsonl", journal);
    const std::string start = journal.substr(0, journal.find('\n') + 1);
    EXPECT_EQ(start + home.outputOf("corvidctl -o jsonl history --batch --journal changes.jsonl"), journal);
}

TEST(PageOfFiles, ShowsAVersionThatIsRead) {
    const std::string document = docs::blockOf(readPage("docs/files.md"), "xml");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(document), "12.5");
}

/// Where the links and pictures of a page lead that are no addresses of the web.
std::vector<std::string> targetsOf(const std::string& page) {
    std::vector<std::string> targets;
    for (std::size_t begin = page.find("]("); begin != std::string::npos; begin = page.find("](", begin + 2)) {
        const std::string target = page.substr(begin + 2, page.find_first_of("#)", begin + 2) - begin - 2);
        if (!target.empty() && !target.starts_with("http")) {
            targets.push_back(target);
        }
    }
    return targets;
}

std::vector<std::filesystem::path> allPages() {
    std::vector<std::filesystem::path> pages = {SOURCES / "README.md", SOURCES / "CONTRIBUTING.md",
                                                SOURCES / "CHANGELOG.md"};
    for (const auto& entry : std::filesystem::directory_iterator(SOURCES / "docs")) {
        if (entry.path().extension() == ".md") {
            pages.push_back(entry.path());
        }
    }
    return pages;
}

/// A line "PLACE NAME" for each lock of a text in which all are told by a place, a text and a name, and then another.
std::string locksOf(const std::string& text, const std::string& before, const std::string& between,
                    const std::string& behind) {
    std::string locks;
    for (std::size_t begin = text.find(before); begin != std::string::npos; begin = text.find(before, begin + 1)) {
        const std::size_t place = text.find_first_of("0123456789", begin);
        const std::size_t name = text.find(between, place);
        const std::size_t end = text.find(behind, name + between.size());
        locks +=
            text.substr(place, name - place) + " " + text.substr(name + between.size(), end - name - between.size());
        locks += "\n";
    }
    return locks;
}

TEST(PageOfArchitecture, HasEveryLockInItsPlace) {
    const std::string page = readPage("docs/architecture.md");
    const std::size_t begin = page.find("|---|", page.find("\n## Locks, in their order\n"));
    const std::string table = page.substr(begin, page.find("\n\n", begin) - begin);
    const std::string ranks = readPage("services/configservice/src/featuresets/adapters/config/LockRanks.h");
    const std::string locks = locksOf(ranks, "constexpr LockRank ", ", \"", "\"};");
    EXPECT_THAT(locks, testing::StartsWith("10 the feature set's lifecycle\n"));
    EXPECT_EQ(locksOf(table, "\n| ", " | ", " |"), locks);
}

TEST(Pages, HaveNoCommandsThatNoTestRuns) {
    std::vector<std::string> withCommands;
    for (const std::filesystem::path& page : allPages()) {
        if (readPage(std::filesystem::relative(page, SOURCES)).find("```console") != std::string::npos) {
            withCommands.push_back(page.filename());
        }
    }
    EXPECT_THAT(withCommands, testing::UnorderedElementsAre("cookbook.md", "files.md", "tool.md"));
}

TEST(Pages, LeadToFilesThatAreThere) {
    for (const std::filesystem::path& page : allPages()) {
        for (const std::string& target : targetsOf(readPage(std::filesystem::relative(page, SOURCES)))) {
            EXPECT_TRUE(std::filesystem::exists(page.parent_path() / target)) << page << " leads to " << target;
        }
    }
}

TEST(Contributing, ShowsCodeAsItStandsInTheTree) {
    const std::string code = docs::blockOf(readPage("CONTRIBUTING.md"), "cpp");
    ASSERT_NE(code, "");
    EXPECT_THAT(readPage("platform/api/tessel/Event.h"), HasSubstr(code));
}

TEST(ConsoleBlock, TakesDotsForAnyLines) {
    EXPECT_TRUE(docs::isAsExpected("a\nb\nc\n", "a\n...\nc\n"));
    EXPECT_TRUE(docs::isAsExpected("a\nc\n", "a\n...\nc\n"));
    EXPECT_FALSE(docs::isAsExpected("a\nb\nd\n", "a\n...\nc\n"));
    EXPECT_FALSE(docs::isAsExpected("a\nb\n", "a\n"));
    EXPECT_FALSE(docs::isAsExpected("", "a\n"));
}

TEST(ConsoleBlock, FindsCommandsWithTheirOutput) {
    const auto commands =
        docs::commandsOf("page.md", "text\n```console\n$ one\nits output\n$ two\n```\n```\n$ three\n```\n");
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_EQ(commands[0].text, "one");
    EXPECT_EQ(commands[0].line, 3);
    EXPECT_EQ(commands[0].expected, "its output\n");
    EXPECT_EQ(commands[1].text, "two");
}

TEST(Site, IsMadeWithoutAWarning) {
    if (std::system("command -v doxygen >/dev/null") != 0) {
        GTEST_SKIP() << "doxygen is not installed: scripts/install-deps docs";
    }
    const fakes::TemporaryDirectory directory;
    // Pictures of classes take most of the time, and have no warnings of their own.
    directory.write("Doxyfile", readPage("docs/Doxyfile") + "\nHAVE_DOT = NO\nOUTPUT_DIRECTORY = " + directory.path() +
                                    "\nWARN_LOGFILE = " + directory.path("warnings.txt") + "\n");
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c", "cd '" + SOURCES.string() + "' && doxygen '" + directory.path("Doxyfile") + "' 2>&1"},
        {.environment = {{"CORVID_VERSION", "tested"}}});
    EXPECT_THAT(directory.read("warnings.txt"), IsEmpty());
    EXPECT_EQ(ended.status, 0) << ended.out;
    EXPECT_TRUE(directory.exists("html/index.html"));
}

}  // namespace
