#include <set>

#include "ServedTool.h"
#include "support/HeldPipe.h"
#include "support/Terminal.h"

namespace {

constexpr int KILLED = 128 + SIGINT;

/// One row: what is typed behind "corvidctl", in a shell, and the status that it ends with when Ctrl-C is pressed while
/// the module starts.
struct Row {
    const char* words;
    int status;
};

/// For the names of tests.
std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.words; }

const std::vector<Row> ROWS = {
    {"get OnlyMine", KILLED},
    {"list", KILLED},
    {"explain OnlyMine", KILLED},
    {"stores", KILLED},
    {"delta", 1},
    {"export", KILLED},
    {"set A b", KILLED},
    {"unset OnlyMine", KILLED},
    {"watch", 0},
    {"inspect", 0},
    {"fetch", 1},
    {"provision --reopen", KILLED},
    {"reset-data --yes", KILLED},
    {"report", KILLED},
    {"demo", 1},
};

/// The tool in a terminal with a user who presses Ctrl-C.
class CtrlC : public ServedTool {
protected:
    CtrlC() { directory_.write("tmp/keep", ""); }

    std::unique_ptr<support::Terminal> start(const std::string& words) const {
        support::Terminal::Options options;
        options.directory = directory_.path();
        options.environment = {{"TERM", "dumb"}, {"TMPDIR", directory_.path("tmp")}};
        return std::make_unique<support::Terminal>(
            std::vector<std::string>{"/bin/sh", "-c",
                                     "exec \"$0\" --log-file log --config-dir config --install-dir install " + words,
                                     CORVIDCTL_PROGRAM},
            options);
    }

    /// The terminal shows it after the signal has been sent.
    static void press(support::Terminal& terminal) {
        terminal.type(support::Terminal::CTRL_C);
        EXPECT_TRUE(terminal.waitFor("^C")) << terminal.text();
    }

    /// All but the log.
    std::map<std::string, std::string> filesThatMatter() const {
        std::map<std::string, std::string> contents = files();
        contents.erase("log");
        return contents;
    }
};

class CtrlCAtTheStart : public CtrlC, public testing::WithParamInterface<Row> {};

}  // namespace

TEST_P(CtrlCAtTheStart, EndsTheCommandAndChangesNothing) {
    support::HeldPipe held(directory_.path("bootstrap"));
    held.write("\n");
    const std::map<std::string, std::string> before = filesThatMatter();
    const auto terminal = start("--bootstrap bootstrap " + std::string(GetParam().words));
    held.waitForReader();
    press(*terminal);
    held.end();
    EXPECT_EQ(terminal->wait(), GetParam().status) << terminal->text();
    EXPECT_EQ(filesThatMatter(), before);
}

INSTANTIATE_TEST_SUITE_P(OfCommands, CtrlCAtTheStart, testing::ValuesIn(ROWS), [](const auto& row) {
    std::string name = std::to_string(row.index) + "_" + row.param.words;
    name = name.substr(0, name.find(' '));
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST_F(CtrlC, WaitsForNoModuleThatIsStillStarting) {
    support::HeldPipe held(directory_.path("bootstrap"));
    const std::vector<Row> rows = {{"delta", 1}, {"diff live live", 1},  {"set --dry-run A b", 1},
                                   {"fetch", 1}, {"fetch --dry-run", 1}, {"demo", 1},
                                   {"watch", 0}, {"inspect", 0}};
    const std::map<std::string, std::string> before = filesThatMatter();
    for (const Row& row : rows) {
        held.write("\n");
        const auto terminal = start(std::string("--bootstrap bootstrap ") + row.words);
        held.waitForReader();
        press(*terminal);
        EXPECT_EQ(terminal->wait(), row.status) << terminal->text();
        EXPECT_EQ(filesThatMatter(), before) << row.words;
    }
}

TEST_F(CtrlC, EndsWhateverWaitsForAServer) {
    const std::vector<Row> rows = {{"fetch", 1}, {"watch", 0}, {"inspect", 0}};
    for (const Row& row : rows) {
        const std::map<std::string, std::string> before = filesThatMatter();
        SilentServer server(address_, 8443);
        const auto terminal = start(row.words);
        server.waitForSomebody();
        press(*terminal);
        EXPECT_EQ(terminal->wait(), row.status) << terminal->text();
        EXPECT_EQ(filesThatMatter(), before) << row.words;
    }
}

TEST_F(CtrlC, EndsAServer) {
    directory_.write("served.xml", SAMPLE);
    const std::map<std::string, std::string> before = filesThatMatter();
    const auto terminal = start("serve served.xml --address " + address_);
    EXPECT_TRUE(terminal->waitFor("/hubm-uds/version\n")) << terminal->text();
    press(*terminal);
    EXPECT_EQ(terminal->wait(), 0);
    EXPECT_EQ(filesThatMatter(), before);
}

TEST_F(CtrlC, EndsAWatchOfAServerThatHasAnswered) {
    serve("12.5");
    std::map<std::string, std::string> before = filesThatMatter();
    const auto terminal = start("--ca-file ca.pem watch CtiServer1");
    EXPECT_TRUE(terminal->waitFor("phones.example.org")) << terminal->text();
    press(*terminal);
    EXPECT_EQ(terminal->wait(), 0) << terminal->text();
    std::set<std::string> fresh;
    for (const auto& [name, contents] : filesThatMatter()) {
        if (before.count(name) == 0) {
            fresh.insert(name);
        }
    }
    EXPECT_THAT(fresh, testing::IsSubsetOf({"config/Cache", "config/Cache/cachedTFTPConfigStore.xml",
                                            "config/Cache/cachedTFTPConfigStore.download.json"}));
}
