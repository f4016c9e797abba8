#include <set>

#include "Tool.h"
#include "cli/Definitions.h"

namespace {

/// One row: what is typed behind "corvidctl", in a shell, and the status that it ends with.
struct Row {
    const char* words;
    int status;
};

/// For the names of tests.
std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.words; }

const std::vector<Row> ROWS = {
    {"", 2},
    {"--help", 0},
    {"--version", 0},
    {"nonsense", 2},
    {"get OnlyMine", 0},
    {"get --help", 0},
    {"get Nowhere", 1},
    {"get", 2},
    {"list", 0},
    {"list nothing*", 0},
    {"list --store", 2},
    {"explain OnlyMine", 0},
    {"explain Nowhere", 1},
    {"explain", 2},
    {"explain --all-stores", 0},
    {"stores", 0},
    {"stores more", 2},
    {"delta", 0},
    {"delta --type nonsense", 2},
    {"diff InMemoryConfigStore InMemoryConfigStore", 0},
    {"diff LocalFileConfigStore BootstrapConfigStore", 1},
    {"diff LocalFileConfigStore nowhere.xml", 2},
    {"diff LocalFileConfigStore", 2},
    {"simulate --set A=b", 0},
    {"simulate --replace LocalFileConfigStore=install/bootstrap.properties", 1},
    {"simulate --without NoStore", 2},
    {"export", 0},
    {"export --format nonsense", 2},
    {"export --store NoStore", 1},
    {"history --journal changes.jsonl", 0},
    {"history --journal changes.jsonl Nowhere", 1},
    {"history", 2},
    {"set A b", 0},
    {"set --dry-run A b", 0},
    {"set --require-effective Telephony_Enabled never", 1},
    {"set A", 2},
    {"unset OnlyMine", 0},
    {"unset Nowhere", 0},
    {"unset", 2},
    {"watch --log-level 9", 2},
    {"inspect --port 65536", 2},
    {"fetch", 1},
    {"fetch more", 2},
    {"provision --reopen", 0},
    {"provision nonsense", 1},
    {"provision", 2},
    {"reset-data --yes", 0},
    {"reset-data", 2},
    {"report", 0},
    {"report more", 2},
    {"validate config/corvidLocalConfig.xml", 0},
    {"validate install/bootstrap.properties", 0},
    {"validate broken.xml", 1},
    {"validate", 2},
    {"serve nowhere.xml", 2},
    {"demo", 0},
    {"demo more", 2},
    {"help get", 0},
    {"help nonsense", 2},
    {"manual", 0},
    {"manual more", 2},
    {"completions bash", 0},
    {"completions tcsh", 2},
    {"complete keys", 0},
    {"complete nonsense", 2},
};

class Statuses : public Tool, public testing::WithParamInterface<Row> {
protected:
    /// Nobody is asked: the profile names no server.
    Statuses() {
        directory_.write("install/bootstrap.properties", "ServicesDomain: example.org\n");
        directory_.write("broken.xml", "<config>");
        directory_.write(
            "changes.jsonl",
            R"({"batch":1,"time":"2026-05-04T08:00:00.000Z","cause":"start","changes":[]})"
            "\n"
            R"({"batch":2,"time":"2026-05-04T08:00:01.000Z","cause":"set","changes":[)"
            R"({"key":"A","oldValue":"","newValue":"b","oldStore":"","newStore":"S","isSensitive":false}]})"
            "\n");
    }
};

std::string commandOf(const Row& row) {
    const std::string words = row.words;
    return words.substr(0, words.find(' '));
}

}  // namespace

TEST_P(Statuses, AreAsPromised) {
    const support::Ended ended =
        support::runProgram({"/bin/sh", "-c",
                             "cd \"$1\" && exec \"$0\" --log-file log --config-dir config --install-dir install " +
                                 std::string(GetParam().words),
                             CORVIDCTL_PROGRAM, directory_.path()});
    EXPECT_EQ(ended.status, GetParam().status) << ended.error;
    if (ended.status == 2) {
        EXPECT_THAT(ended.error, testing::StartsWith("corvidctl: "));
        EXPECT_EQ(std::count(ended.error.begin(), ended.error.end(), '\n'), 1) << ended.error;
        EXPECT_EQ(ended.out, "");
    }
}

INSTANTIATE_TEST_SUITE_P(OfCommands, Statuses, testing::ValuesIn(ROWS), [](const auto& row) {
    std::string name = std::to_string(row.index) + "_" + commandOf(row.param);
    std::replace_if(
        name.begin(), name.end(), [](unsigned char one) { return std::isalnum(one) == 0; }, '_');
    return name;
});

TEST(StatusRows, AreThereForEveryCommand) {
    // What needs a server, or waits until it is interrupted, has its good end in tests of its own.
    const std::set<std::string> waiting = {"fetch", "watch", "inspect", "serve"};
    std::set<std::string> done = waiting;
    std::set<std::string> wrong;
    for (const Row& row : ROWS) {
        const bool isHelp = std::string(row.words).find("--help") != std::string::npos;
        if (row.status == 0 && !isHelp) {
            done.insert(commandOf(row));
        }
        if (row.status == 2) {
            wrong.insert(commandOf(row));
        }
    }
    for (const corvidctl::CommandDefinition& command : corvidctl::commandDefinitions()) {
        EXPECT_EQ(done.count(command.name), 1U) << command.name << " needs a row with status 0";
        EXPECT_EQ(wrong.count(command.name), 1U) << command.name << " needs a row with status 2";
    }
}
