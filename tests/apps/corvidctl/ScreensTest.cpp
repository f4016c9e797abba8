#include <cstdlib>
#include <fstream>
#include <sstream>

#include "fakes/TemporaryDirectory.h"
#include "output/Text.h"
#include "support/Terminal.h"

namespace {

/// One stored screen, in the files "NAME-80.txt" and "NAME-200.txt".
struct Screen {
    const char* name;
    const char* words;   ///< what is typed behind "corvidctl "
    bool waits = false;  ///< for something that may take long enough for a line of progress, which needs escapes
};

const std::vector<Screen> SCREENS = {
    {"list", "list"},
    {"list-some", "list '*voicemail*'"},
    {"list-none", "list nothing*"},
    {"explain", "explain DockedWindow"},
    {"explain-old-name", "explain CtiServer1"},
    {"explain-undefined", "explain Nowhere"},
    {"explain-server", "explain VoicemailPrimaryServer"},
    {"explain-all-stores", "explain --all-stores"},
    {"delta", "delta"},
    {"delta-extended", "delta --type extended '*server*'"},
    {"diff", "diff LocalFileConfigStore corvid-config-defaults.xml"},
    {"diff-live", "diff --all live new-config.xml"},
    {"simulate", "simulate --replace TFTPConfigStore=new-config.xml", true},
    {"simulate-nothing", "simulate --set Telephony_Enabled=true", true},
    {"simulate-wrong-file", "simulate --replace LocalFileConfigStore=broken.xml", true},
    {"set-dry-run", "set --dry-run telemetryenabled true", true},
    {"set-require-effective", "set --require-effective telemetryenabled true", true},
    {"export", "export --store LocalFileConfigStore"},
    {"export-properties", "export --format properties"},
    {"history", "history --journal changes.jsonl"},
    {"history-batch", "history --batch --journal changes.jsonl 'Voicemail*'"},
    {"history-none", "history --journal changes.jsonl Nowhere"},
    {"stores", "stores"},
    {"get", "get DockedWindow"},
    {"get-undefined", "get Nowhere"},
    {"set", "set meetings_enabled true"},
    {"set-behind", "set telemetryenabled true"},
    {"unset", "unset DockedWindow"},
    {"validate", "validate profile/corvid-config-user.xml"},
    {"validate-broken", "validate broken.xml"},
    {"fetch-failure", "--bootstrap servers.properties fetch", true},
    {"fetch-nobody", "fetch", true},
    {"provision-refused", "provision 'corvid://nothing?Unknown=1'"},
    {"reset-data", "reset-data --yes"},
    {"help", "--help"},
    {"list-help", "list --help"},
    {"simulate-help", "simulate --help"},
    {"watch-help", "watch --help"},
    {"completions-help", "completions --help"},
    {"unknown-command", "lsit"},
};

/// For the names of tests.
std::ostream& operator<<(std::ostream& out, const Screen& screen) { return out << screen.name; }

constexpr std::chrono::hours AGE{75};  ///< of every file, so that the age is the same in every run

const std::string JOURNAL =
    R"({"batch":1,"time":"2026-05-04T08:00:00.000Z","cause":"start","changes":[)"
    R"({"key":"VoicemailPrimaryServer","oldValue":"","newValue":"voicemail-1.example.org","oldStore":"",)"
    R"("newStore":"cachedTFTPConfigStore.xml","isSensitive":false}]})"
    "\n"
    R"({"batch":2,"time":"2026-05-04T08:00:01.250Z","cause":"download","changes":[)"
    R"({"key":"VoicemailPrimaryServer","oldValue":"voicemail-1.example.org","newValue":"voicemail-3.example.org",)"
    R"("oldStore":"cachedTFTPConfigStore.xml","newStore":"TFTPConfigStore","isSensitive":false},)"
    R"({"key":"ConnectionPassword","oldValue":"","newValue":"VALUE_HIDDEN","oldStore":"","newStore":"TFTPConfigStore",)"
    R"("isSensitive":true}]})"
    "\n";

constexpr unsigned short NARROW = 80;
constexpr unsigned short WIDE = 200;

/// The tool on a copy of the sample profile, in a terminal.
class Desk {
public:
    Desk() {
        std::filesystem::copy(CORVID_DATA_DIRECTORY "/sample", directory_.path("profile"),
                              std::filesystem::copy_options::recursive);
        for (const std::string name : {"corvid-config-defaults.xml", "bootstrap.properties"}) {
            std::filesystem::create_directories(directory_.path("install"));
            std::filesystem::copy(CORVID_DATA_DIRECTORY "/" + name, directory_.path("install/" + name));
        }
        directory_.write("servers.properties", "TftpServer1: 127.77.77.77\nTftpServer2: 127.77.77.78\n");
        directory_.write("new-config.xml",
                         "<config>\n  <Client>\n    <VoicemailPrimaryServer>voicemail-3.example.org"
                         "</VoicemailPrimaryServer>\n    <ShowContactPictures>true</ShowContactPictures>\n"
                         "    <NewsFeed>https://news.example.org/</NewsFeed>\n  </Client>\n</config>\n");
        directory_.write("changes.jsonl", JOURNAL);
        directory_.write("broken.xml", "<config>\n  <DockedWindow>true</DockedWindow>\n  <Other>\n</config>\n");
        for (const auto& file : std::filesystem::recursive_directory_iterator(directory_.path())) {
            std::filesystem::last_write_time(file.path(), std::filesystem::file_time_type::clock::now() - AGE);
        }
    }

    /// @param kind of the terminal.
    std::string show(const std::string& words, unsigned short columns, const std::string& kind) const {
        support::Terminal::Options options{columns, directory_.path(), {{"TERM", kind}, {"NO_COLOR", ""}}};
        support::Terminal terminal({"/bin/sh", "-c",
                                    "exec \"$0\" --log-file log --config-dir profile --install-dir install " + words,
                                    CORVIDCTL_PROGRAM},
                                   options);
        const int status = terminal.wait();
        return terminal.text() + (status == 0 ? "" : "[exit status " + std::to_string(status) + "]\n");
    }

private:
    const fakes::TemporaryDirectory directory_;
};

std::string contentsOf(const std::string& path) {
    std::ostringstream contents;
    contents << std::ifstream(path).rdbuf();
    return contents.str();
}

/// Messages are one line each, whatever their length, and on standard error they may belong to a log.
bool isMessage(const std::string& line) {
    const std::vector<std::string> beginnings = {"$ ", "corvidctl: ", "A link may set: "};
    const std::vector<std::string> grades = {": error: ", ": warning: ", ": info: "};
    const bool isFinding = std::any_of(grades.begin(), grades.end(), [&line](const std::string& grade) {
        const std::size_t place = line.find(grade);
        return place != std::string::npos && place < line.find(' ');  // behind FILE:LINE:COLUMN
    });
    return isFinding || std::any_of(beginnings.begin(), beginnings.end(),
                                    [&line](const std::string& beginning) { return line.rfind(beginning, 0) == 0; });
}

/// Of all but messages.
std::size_t widestLineOf(const std::string& text) {
    std::size_t widest = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        widest = isMessage(line) ? widest : std::max(widest, corvidctl::displayWidth(line));
    }
    return widest;
}

std::string withoutEscapes(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\x1b') {
            plain += text[i];
            continue;
        }
        i = std::min(text.find_first_not_of("[0123456789;", i + 1), text.size());  // the letter that ends it
    }
    return plain;
}

std::string nameOf(const Screen& screen) {
    std::string name = screen.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

std::string fileOf(const Screen& screen, unsigned short columns) {
    std::ostringstream path;
    path << CORVIDCTL_SCREENS << '/' << screen.name << '-' << columns << ".txt";
    return path.str();
}

class Screens : public testing::TestWithParam<std::tuple<Screen, unsigned short>> {};
class ColouredScreens : public testing::TestWithParam<Screen> {};

}  // namespace

TEST_P(Screens, AreAsStored) {
    const auto& [screen, columns] = GetParam();
    const std::string shown =
        std::string("$ corvidctl ") + screen.words + "\n" + Desk().show(screen.words, columns, "dumb");
    const std::string path = fileOf(screen, columns);
    if (std::getenv("CORVID_WRITE_SCREENS") != nullptr) {
        std::ofstream(path) << shown;
        FAIL() << "wrote " << path << ": look at it, and run again without CORVID_WRITE_SCREENS";
    }
    EXPECT_EQ(shown, contentsOf(path));
}

INSTANTIATE_TEST_SUITE_P(OfTheTool, Screens,
                         testing::Combine(testing::ValuesIn(SCREENS), testing::Values(NARROW, WIDE)),
                         [](const auto& row) {
                             return nameOf(std::get<0>(row.param)) + "_" + std::to_string(std::get<1>(row.param));
                         });

TEST_P(ColouredScreens, SayTheSameWithoutTheirColours) {
    if (GetParam().waits) {
        return;
    }
    const std::string plain = Desk().show(GetParam().words, NARROW, "dumb");
    EXPECT_EQ(withoutEscapes(Desk().show(GetParam().words, NARROW, "xterm")), plain);
}

INSTANTIATE_TEST_SUITE_P(OfTheTool, ColouredScreens, testing::ValuesIn(SCREENS),
                         [](const auto& row) { return nameOf(row.param); });

TEST(StoredScreens, AreAllOfACommandThatIsShown) {
    std::set<std::string> expected = {"README.md"};
    for (const Screen& screen : SCREENS) {
        for (const unsigned short columns : {NARROW, WIDE}) {
            expected.insert(std::filesystem::path(fileOf(screen, columns)).filename());
        }
    }
    std::set<std::string> stored;
    for (const auto& entry : std::filesystem::directory_iterator(CORVIDCTL_SCREENS)) {
        stored.insert(entry.path().filename());
    }
    EXPECT_EQ(stored, expected);
}

TEST(StoredScreens, FitTheirTerminals) {
    for (const Screen& screen : SCREENS) {
        const std::string narrow = contentsOf(fileOf(screen, NARROW));
        EXPECT_LE(widestLineOf(narrow), NARROW) << screen.name;
    }
}
