#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <memory>

#include "ConsoleBlock.h"
#include "Home.h"
#include "Pages.h"
#include "callcontrol/CallControlServer.h"
#include "support/ChildProcess.h"
#include "support/Lines.h"

using docs::Command;
using docs::Home;

namespace {

const std::string ADDRESS_IN_THE_PAGE = "127.0.0.42";

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

bool beginsWithATime(const std::string& line) {
    int parts[3] = {};
    int length = 0;
    return std::sscanf(line.c_str(), "%2d:%2d:%2d  %n", &parts[0], &parts[1], &parts[2], &length) == 3 && length == 10;
}

/// The time of day that a line of the server's begins with becomes midnight.
std::string atMidnight(const std::string& text) {
    std::string lines;
    for (const std::string& line : support::linesOf(text)) {
        lines.append(beginsWithATime(line) ? "00:00:00" + line.substr(8) : line).append("\n");
    }
    return lines;
}

/// The page's server and client, at an address of the test's own.
class PageOfTool : public testing::Test {
protected:
    /// The page's address in place of the test's, or the other way round.
    std::string inThePage(const std::string& text) const { return replaced(text, address_, ADDRESS_IN_THE_PAGE); }
    std::string inTheTest(const std::string& text) const { return replaced(text, ADDRESS_IN_THE_PAGE, address_); }

    void serve(const Command& command) {
        served_ = command;
        server_ =
            std::make_unique<support::ChildProcess>(home_.shellFor("exec " + inTheTest(command.text)), home_.options());
        ASSERT_TRUE(server_->waitForOutput("/hubm-uds/version\n"));
    }

    void run(const Command& command) const { expect(command, home_.outputOf(inTheTest(command.text))); }

    void endServing() {
        ASSERT_NE(server_, nullptr);
        server_->signal(SIGINT);
        expect(served_, server_->wait().out);
    }

private:
    void expect(const Command& command, const std::string& output) const {
        EXPECT_EQ(atMidnight(inThePage(output)), atMidnight(command.expected)) << command.page << ":" << command.line;
    }

    const Home home_{Home::Profile::None};
    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    std::unique_ptr<support::ChildProcess> server_;
    Command served_;
};

TEST_F(PageOfTool, PrintsWhatItSays) {
    const std::vector<Command> commands = docs::commandsOf("tool.md", docs::readPage("docs/tool.md"));
    ASSERT_FALSE(commands.empty());
    for (const Command& command : commands) {
        command.text.starts_with("corvidctl serve ") ? serve(command) : run(command);
    }
    endServing();
}

TEST(PageOfToolAtMidnight, LeavesEverythingElse) {
    EXPECT_EQ(atMidnight("12:34:56  a\n12:34:5  b\n at 12:34:56  c\n23:59:59 d\n"),
              "00:00:00  a\n12:34:5  b\n at 12:34:56  c\n23:59:59 d\n");
}

}  // namespace
