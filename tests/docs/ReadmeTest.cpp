#include <gtest/gtest.h>

#include <set>

#include "Home.h"
#include "Pages.h"
#include "support/Lines.h"

using docs::Home;
using support::linesOf;

namespace {

bool isPartOfAnAddress(char letter) { return (letter >= '0' && letter <= '9') || letter == '.'; }

/// A line without what differs from run to run: the server's address, and the columns that its length moves.
std::string comparable(const std::string& line) {
    std::string text;
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line.compare(at, 4, "127.") == 0) {
            text += "ADDRESS";
            while (at + 1 < line.size() && isPartOfAnAddress(line[at + 1])) {
                ++at;
            }
        } else if (line[at] != ' ' || (!text.empty() && text.back() != ' ')) {
            text += line[at];
        }
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// ./run has titles of its own between the commands of the tool.
TEST(Readme, ShowsWhatTheToolPrints) {
    const Home home(Home::Profile::Sample);
    const std::string tool = "corvidctl --log-level 2 ";
    std::set<std::string> printed;
    for (const char* const words :
         {"demo", "explain VoicemailPrimaryServer",
          "simulate --replace TFTPConfigStore=share/corvid/sample-server/corvid-config.xml"}) {
        for (const std::string& line : linesOf(home.outputOf(tool + words))) {
            printed.insert(comparable(line));
        }
    }
    const std::string block = docs::blockOf(docs::readPage("README.md"), "");
    ASSERT_NE(block, "");
    for (const std::string& line : linesOf(block)) {
        if (line != "..." && !line.starts_with("$ ") && !line.starts_with("7. ") && !line.starts_with("8. ")) {
            EXPECT_TRUE(printed.count(comparable(line)) == 1) << line;
        }
    }
}

}  // namespace
