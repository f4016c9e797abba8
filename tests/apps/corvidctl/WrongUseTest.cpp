#include "Tool.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "callcontrol/CertificateAuthority.h"
#include "cli/InvocationChecks.h"
#include "support/ForkedChild.h"

namespace {

/// One row: the words, and the one line that is expected on standard error.
struct WrongUse {
    std::vector<std::string> words;
    std::string line;
};

class WrongUseTool : public Tool {
protected:
    void expectRefused(const std::vector<std::string>& words, const std::string& line) const {
        const std::map<std::string, std::string> before = files();
        const support::Ended ended = run(words);
        EXPECT_EQ(ended.status, 2) << line;
        EXPECT_EQ(ended.error, "corvidctl: " + line + "\n");
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(files(), before) << line;
    }

    /// What is wrong with a command for somebody who is not the superuser, who can read everything.
    std::string problemForOthers(const std::string& command) const {
        namespace fs = std::filesystem;
        fs::permissions(directory_.path(), fs::perms(0755));
        fs::create_directories(directory_.path("said"));
        fs::permissions(directory_.path("said"), fs::perms::all);
        const int status = support::runForked([&] {
            constexpr uid_t nobody = 65534;
            if (geteuid() == 0 && setuid(nobody) != 0) {
                return 1;
            }
            corvidctl::Invocation invocation;
            invocation.command = command;
            invocation.arguments = {"OnlyMine"};
            invocation.configDirectory = directory_.path("config");
            invocation.installDirectory = directory_.path("install");
            std::ofstream(directory_.path("said/problem")) << corvidctl::checkInvocation(invocation);
            return 0;
        });
        EXPECT_EQ(status, 0);
        const std::string problem = directory_.read("said/problem");
        fs::remove(directory_.path("said/problem"));
        return problem;
    }
};

/// A socket in the place of a file.
void makeSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof(address.sun_path));
    path.copy(address.sun_path, path.size());
    const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    close(made);
}

const std::string COMMANDS =
    "get, list, explain, stores, delta, report, validate, simulate, diff, export, set, unset, provision, reset-data, "
    "fetch, watch, inspect, history, serve, demo, help, manual, completions";

}  // namespace

TEST_F(WrongUseTool, NamesTheCommandsWhenOneIsMissingOrUnknown) {
    expectRefused({}, "COMMAND is missing, expected one of: " + COMMANDS);
    expectRefused({"frobnicate"}, "unknown command 'frobnicate', expected one of: " + COMMANDS);
    expectRefused({"frobnicate", "set", "A", "b"}, "unknown command 'frobnicate', expected one of: " + COMMANDS);
}

TEST_F(WrongUseTool, NamesTheMissingArgument) {
    expectRefused({"get"}, "get: KEY is missing, expected: corvidctl get KEY");
    expectRefused({"explain"}, "explain: KEY is missing, expected: corvidctl explain KEY");
    expectRefused({"explain", "a", "b"}, "explain: unexpected argument 'b', expected: corvidctl explain KEY");
    expectRefused({"unset"}, "unset: KEY is missing, expected: corvidctl unset KEY");
    expectRefused({"set"}, "set: KEY is missing, expected: corvidctl set KEY VALUE");
    expectRefused({"set", "A"}, "set: VALUE is missing, expected: corvidctl set KEY VALUE");
    expectRefused({"serve"}, "serve: FILE is missing, expected: corvidctl serve FILE");
    expectRefused({"provision"}, "provision: LINK is missing, expected: corvidctl provision LINK");
    expectRefused({"validate"}, "validate: FILE is missing, expected: corvidctl validate FILE...");
}

TEST_F(WrongUseTool, NamesTheArgumentThatIsTooMuch) {
    expectRefused({"get", "A", "B"}, "get: unexpected argument 'B', expected: corvidctl get KEY");
    expectRefused({"set", "A", "B", "C"}, "set: unexpected argument 'C', expected: corvidctl set KEY VALUE");
    expectRefused({"stores", "A"}, "stores: unexpected argument 'A', expected: corvidctl stores");
    expectRefused({"fetch", "A"}, "fetch: unexpected argument 'A', expected: corvidctl fetch");
    expectRefused({"provision", "A?", "B"}, "provision: unexpected argument 'B', expected: corvidctl provision LINK");
    expectRefused({"reset-data", "--yes", "A"},
                  "reset-data: unexpected argument 'A', expected: corvidctl reset-data --yes");
    expectRefused({"report", "A"}, "report: unexpected argument 'A', expected: corvidctl report");
}

TEST_F(WrongUseTool, RefusesALogFileThatCannotBeOpened) {
    const std::string line = ": expected a file that can be written";
    const std::string dangling = directory_.path("dangling");
    std::filesystem::create_symlink(directory_.path("nowhere/log"), dangling);
    for (const std::string& file : {dangling, directory_.path(std::string(300, 'x')), directory_.path("new/")}) {
        expectRefused({"--log-file", file, "set", "A", "b"}, "--log-file '" + file + "'" + line);
    }
}

TEST_F(WrongUseTool, WritesNeitherALogNorAJournalIntoAFileOfTheModule) {
    const std::string line = ": this file is the module's own, expected another one";
    std::filesystem::create_symlink(localPath(), directory_.path("link"));
    for (const char* const name : {"config/corvidLocalConfig.xml", "config/corvid-config-user.xml", "link",
                                   "install/corvid-config-defaults.xml", "install/bootstrap.properties"}) {
        const std::string file = directory_.path(name);
        expectRefused({"--log-file", file, "get", "OnlyMine"}, "--log-file '" + file + "'" + line);
    }
    std::filesystem::remove(localPath());
    for (const std::string command : {"watch", "inspect"}) {
        expectRefused({command, "--journal", localPath()}, "--journal '" + localPath() + "'" + line);
        expectRefused({"--log-file", localPath(), command}, "--log-file '" + localPath() + "'" + line);
    }
}

TEST_F(WrongUseTool, WritesNeitherALogNorAJournalIntoAFileOfAConfigurationThatTheCommandDoesNotUse) {
    support::ChildProcess::Options options;
    options.environment = {{"XDG_CONFIG_HOME", directory_.path("home")}};
    const std::string users = directory_.write("home/corvid/corvidLocalConfig.xml", localFile({{"A", "b"}}));
    const std::string copy = directory_.path("home/corvid/Cache/cachedTFTPConfigStore.xml");
    std::filesystem::create_directories(directory_.path("home/corvid/Cache"));
    const auto expectRefusal = [&](const std::vector<std::string>& words, const std::string& line) {
        const auto before = files();
        const support::Ended ended = run(words, options);
        EXPECT_EQ(ended.status, 2) << line;
        EXPECT_EQ(ended.error, "corvidctl: " + line + ": this file is the module's own, expected another one\n");
        EXPECT_EQ(files(), before) << line;
    };
    for (const std::string& file : {users, copy}) {
        expectRefusal({"--log-file", file, "get", "OnlyMine"}, "--log-file '" + file + "'");
        expectRefusal({"--log-file", file, "demo"}, "--log-file '" + file + "'");
    }
    expectRefusal({"watch", "--journal", users}, "--journal '" + users + "'");
    expectRefusal({"--log-file", localPath(), "validate", "/dev/null"}, "--log-file '" + localPath() + "'");
}

TEST_F(WrongUseTool, WritesNoLogIntoAFileOfTheSampleOrOfTheInstallation) {
    for (const char* const name : {"sample/corvidLocalConfig.xml", "corvid-config-defaults.xml"}) {
        corvidctl::Invocation invocation;
        invocation.command = "demo";
        invocation.installDirectory = directory_.path("install");
        invocation.logFile = std::string(CORVID_DATA_DIRECTORY "/") + name;
        EXPECT_THAT(corvidctl::checkInvocation(invocation), testing::StartsWith("--log-file")) << name;
    }
}

TEST_F(WrongUseTool, WritesNoLogIntoAFileThatTheCommandItselfReadsOrWrites) {
    const std::string line = ": the command itself reads or writes this file, expected another one";
    const std::string a = directory_.write("a.xml", "<c><g><A>1</A></g></c>");
    const std::string link = directory_.path("link.xml");
    std::filesystem::create_symlink(a, link);
    const std::string certificate = directory_.write("c.pem", callcontrol::CertificateAuthority().certificate());
    const std::string other = directory_.write("other/corvidLocalConfig.xml", localFile({{"A", "b"}}));
    const std::string folder = directory_.path("other");
    const std::string fresh = directory_.path("new");
    const std::vector<std::pair<std::vector<std::string>, std::string>> uses = {
        {{"simulate", "--replace", "cachedTFTPConfigStore.xml=" + a}, link},
        {{"diff", "live", a}, a},
        {{"diff", "file:" + a, "live"}, a},
        {{"diff", "live", "dir:" + folder}, other},
        {{"diff", folder, "live"}, directory_.path("other/./corvid-config-user.xml")},
        {{"validate", other, a}, a},
        {{"serve", a}, a},
        {{"serve", a, "--write-ca", fresh}, fresh},
        {{"--ca-file", certificate, "get", "OnlyMine"}, certificate},
        {{"export", "--to", fresh}, directory_.path("./new")},
        {{"watch", "--journal", fresh}, fresh},
        {{"watch", "--journal", fresh}, fresh + ".1"},
        {{"history", "--journal", fresh}, fresh},
    };
    for (const auto& [words, log] : uses) {
        std::vector<std::string> all = {"--log-file", log};
        all.insert(all.end(), words.begin(), words.end());
        expectRefused(all, "--log-file '" + log + "'" + line);
    }
}

TEST_F(WrongUseTool, TakesALogThatTheCommandDoesNotRead) {
    const std::string a = directory_.write("a.xml", "<c><g><A>1</A></g></c>");
    EXPECT_EQ(run({"--log-file", directory_.path("log"), "validate", a}).status, 0);
    EXPECT_EQ(run({"--log-file", "/dev/null", "validate", "/dev/null"}).status, 1);
    EXPECT_EQ(run({"--log-file", directory_.write("OnlyMine", ""), "get", "OnlyMine"}).status, 0);
}

TEST_F(WrongUseTool, TakesOneDeviceForTheInstallersFileAndTheLog) {
    EXPECT_EQ(run({"--bootstrap", "/dev/null", "--log-file", "/dev/null", "get", "OnlyMine"}).status, 0);
}

TEST_F(WrongUseTool, RefusesAPipeForTheInstallersFileWhereItIsReadMoreThanOnce) {
    const auto runOnPipe = [this](std::vector<std::string> words) {
        words.insert(words.begin(), {"--log-level", "2", "--bootstrap", "/dev/stdin"});
        std::vector<std::string> all = {"/bin/sh", "-c", "echo 'Installed: 1' | \"$@\"", "sh"};
        const std::vector<std::string> tool = command(words);
        all.insert(all.end(), tool.begin(), tool.end());
        return support::runProgram(all, {});
    };
    const std::string config = directory_.path("config");
    const auto before = files();
    const std::vector<std::vector<std::string>> uses = {{"simulate", "--set", "A=b"},
                                                        {"set", "--require-effective", "A", "b"},
                                                        {"diff", "live", "dir:" + config},
                                                        {"diff", config, "LocalFileConfigStore"},
                                                        {"diff", config, directory_.path("install")}};
    for (const std::vector<std::string>& words : uses) {
        const support::Ended ended = runOnPipe(words);
        EXPECT_EQ(ended.status, 2) << words.front();
        EXPECT_EQ(ended.error, "corvidctl: --bootstrap '/dev/stdin': expected no pipe, since " + words.front() +
                                   " reads the file more than once\n");
        EXPECT_EQ(files(), before);
    }
    EXPECT_EQ(runOnPipe({"get", "Installed"}).out, "1\n");
    EXPECT_EQ(runOnPipe({"set", "--dry-run", "--require-effective", "A", "b"}).status, 0);
    EXPECT_EQ(runOnPipe({"diff", "live", "LocalFileConfigStore"}).status, 1);
}

TEST_F(WrongUseTool, DoesNothingWhereNobodyReadsThePipeThatItsLogGoesTo) {
    const std::string pipe = directory_.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::map<std::string, std::string> before = files();
    const support::Ended ended = run({"--log-file", pipe, "set", "A", "b"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: the log file cannot be opened: " + pipe + "\n");
    EXPECT_EQ(files(), before);
}

TEST_F(WrongUseTool, RefusesADirectoryInThePlaceOfAFileOfTheModule) {
    const auto refuses = [this](const std::string& folder, const std::string& name, const std::string& option) {
        const std::string path = directory_.path(folder + "/" + name);
        std::filesystem::remove(path);
        std::filesystem::create_directory(path);
        expectRefused({"set", "A", "b"}, option + " '" + directory_.path(folder) + "': expected its " + name +
                                             " to be a file that can be read");
        std::filesystem::remove(path);
    };
    refuses("config", "corvidLocalConfig.xml", "--config-dir");
    refuses("config", "corvid-config-user.xml", "--config-dir");
    refuses("install", "corvid-config-defaults.xml", "--install-dir");
    refuses("install", "bootstrap.properties", "--install-dir");
}

TEST_F(WrongUseTool, RefusesAnUnreadableFileOfTheModule) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser can read every file";
    }
    const std::string path = directory_.path("config/corvidLocalConfig.xml");
    const std::map<std::string, std::string> before = files();
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    const support::Ended ended = run({"set", "A", "b"});
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(ended.status, 2);
    EXPECT_THAT(ended.error, testing::HasSubstr("expected its corvidLocalConfig.xml to be a file that can be read"));
    EXPECT_EQ(files(), before);
}

TEST_F(WrongUseTool, RefusesKeptCopiesThatCannotBeRead) {
    namespace fs = std::filesystem;
    const std::string config = directory_.path("config");
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid/>");
    const std::string notes = directory_.write("config/Cache/notes.txt", "none of the module's");
    fs::permissions(notes, fs::perms::none);
    EXPECT_EQ(problemForOthers("get"), "");
    const auto refuses = [&](const std::string& name, const std::string& what) {
        const fs::perms before = fs::status(config + "/" + name).permissions();
        fs::permissions(config + "/" + name, fs::perms::none);
        const std::string line =
            "--config-dir '" + config + "': expected its " + name + " to be a " + what + " that can be read";
        for (const char* const command : {"get", "stores", "explain"}) {
            EXPECT_EQ(problemForOthers(command), line);
        }
        EXPECT_THAT(problemForOthers("reset-data"), testing::HasSubstr("--yes is missing"));  // which would remove it
        fs::permissions(config + "/" + name, before);
    };
    refuses("Cache/cachedTFTPConfigStore.xml", "file");
    refuses("Cache", "folder");
}

TEST_F(WrongUseTool, RefusesAnEmptyKey) {
    expectRefused({"get", ""}, "get: KEY is empty, expected the name of a key");
    expectRefused({"explain", ""}, "explain: KEY is empty, expected the name of a key");
    expectRefused({"set", "", "v"}, "set: KEY is empty, expected the name of a key");
    expectRefused({"unset", ""}, "unset: KEY is empty, expected the name of a key");
}

TEST_F(WrongUseTool, RefusesAnEmptyLink) {
    expectRefused({"provision", ""}, "provision: LINK is empty, expected a provisioning link");
    expectRefused({"provision", "--reopen", ""}, "provision: LINK is empty, expected a provisioning link");
}

TEST_F(WrongUseTool, RefusesADataResetThatIsNotConfirmed) {
    expectRefused({"reset-data"}, "reset-data: --yes is missing, expected: corvidctl reset-data --yes");
    expectRefused({"reset-data", "--json"}, "reset-data: --yes is missing, expected: corvidctl reset-data --yes");
    expectRefused({"reset-data", "yes"}, "reset-data: unexpected argument 'yes', expected: corvidctl reset-data --yes");
    expectRefused({"set", "--yes", "A", "b"}, "unknown option '--yes', expected one that --help lists");
}

TEST_F(WrongUseTool, NamesAnUnknownOption) {
    expectRefused({"list", "--frob"}, "unknown option '--frob', expected one that --help lists");
    expectRefused({"--frob", "list"}, "unknown option '--frob', expected one that --help lists");
    expectRefused(
        {"set", "neg", "-5"},
        "unknown option '-5', expected one that --help lists, or -- before an argument that begins with a dash");
    expectRefused({"stores", "-5"}, "unknown option '-5', expected one that --help lists");
    expectRefused({"set", "--original", "A", "B"}, "unknown option '--original', expected one that --help lists");
}

TEST_F(WrongUseTool, AsksWhetherACommandThatIsLikeItWasMeant) {
    expectRefused({"lsit"}, "unknown command 'lsit', did you mean 'list'?");
    expectRefused({"explian", "A"}, "unknown command 'explian', did you mean 'explain'?");
    expectRefused({"completes"}, "unknown command 'completes', expected one of: " + COMMANDS);
}

TEST_F(WrongUseTool, AsksWhetherAnOptionThatIsLikeItWasMeant) {
    expectRefused({"list", "--stroe", "x"}, "unknown option '--stroe', did you mean '--store'?");
    expectRefused({"list", "--stroe=x"}, "unknown option '--stroe=x', did you mean '--store'?");
    expectRefused({"--jsno", "list"}, "unknown option '--jsno', did you mean '--json'?");
    expectRefused({"--versoin"}, "unknown option '--versoin', did you mean '--version'?");
    expectRefused({"get", "--stroe", "x"}, "unknown option '--stroe', expected one that --help lists");
}

TEST_F(WrongUseTool, NamesTheWordsThatAnArgumentMayBe) {
    expectRefused({"completions", "tcsh"}, "completions: SHELL 'tcsh': expected bash, zsh or fish");
    expectRefused({"completions"}, "completions: SHELL is missing, expected: corvidctl completions SHELL");
    expectRefused({"complete", "files"}, "complete: WHAT 'files': expected keys, stores, sides or replacements");
}

TEST_F(WrongUseTool, RefusesALogLevelOutsideTwoToFive) {
    for (const std::string level : {"1", "6", "0", "-3", "33", "three", "3x"}) {
        expectRefused({"--log-level=" + level, "set", "A", "b"},
                      "--log-level '" + level + "': expected a number from 2 to 5");
    }
}

TEST_F(WrongUseTool, RefusesAnOptionWhoseValueIsMissing) {
    expectRefused({"--log-level", "", "set", "A", "b"}, "--log-level '': expected a number from 2 to 5");
    expectRefused({"--log-level=", "set", "A", "b"}, "--log-level is empty, expected a value");
    expectRefused({"--config-dir=", "list", "stores"}, "--config-dir is empty, expected a value");
}

TEST_F(WrongUseTool, SaysWhichValueOfAnOptionIsMissing) {
    expectRefused({"set", "A", "b", "--log-level"}, "--log-level: N is missing, expected: --log-level N");
    expectRefused({"list", "--store"}, "--store: NAME is missing, expected: --store NAME");
    expectRefused({"list", "--store", "--", "a"}, "--store: NAME is missing, expected: --store NAME");
}

TEST_F(WrongUseTool, RefusesAnOptionThatIsGivenTwice) {
    expectRefused({"--fips", "on", "--fips=off", "list"}, "--fips is given twice, expected it once");
}

TEST_F(WrongUseTool, RefusesAValueForASwitch) {
    expectRefused({"--json=maybe", "list"}, "'--json=maybe': expected --json without a value");
}

TEST_F(WrongUseTool, RefusesAnUnknownFipsMode) {
    expectRefused({"--fips", "maybe", "set", "A", "b"}, "--fips 'maybe': expected auto, on or off");
}

TEST_F(WrongUseTool, RefusesANamedFileThatIsMissing) {
    const std::string missing = directory_.path("nowhere");
    expectRefused({"--bootstrap", missing, "set", "A", "b"},
                  "--bootstrap '" + missing + "': expected a file that can be read");
    expectRefused({"--ca-file", missing, "set", "A", "b"},
                  "--ca-file '" + missing + "': expected a file that can be read");
    expectRefused({"--ca-file", missing, "fetch"}, "--ca-file '" + missing + "': expected a file that can be read");
    expectRefused({"--log-file", missing + "/log", "set", "A", "b"},
                  "--log-file '" + missing + "/log': expected a file that can be written");
    expectRefused({"validate", missing}, "validate: FILE '" + missing + "': expected a file that can be read");
}

TEST_F(WrongUseTool, RefusesAnAuthorityWithoutACertificate) {
    const std::string begun = "-----BEGIN CERTIFICATE-----\n";
    for (const std::string& file : {directory_.write("users", "root:x:0:0\n"), directory_.write("torn", begun),
                                    directory_.write("none", ""), std::string("/dev/null")}) {
        expectRefused({"--ca-file", file, "fetch"},
                      "--ca-file '" + file + "': expected a file with a certificate in it (PEM)");
    }
}

TEST_F(WrongUseTool, RefusesADirectoryWhereAFileIsExpected) {
    const std::string folder = directory_.path("config");
    expectRefused({"--bootstrap", folder, "list"}, "--bootstrap '" + folder + "': expected a file that can be read");
    expectRefused({"--log-file", folder, "list"}, "--log-file '" + folder + "': expected a file that can be written");
    expectRefused({"validate", folder}, "validate: FILE '" + folder + "': expected a file that can be read");
}

TEST_F(WrongUseTool, RefusesASocketWhereAFileIsExpected) {
    const std::string file = directory_.path("socket");
    makeSocket(file);
    const std::string expected = "expected a file that can be read";
    expectRefused({"--bootstrap", file, "list"}, "--bootstrap '" + file + "': " + expected);
    expectRefused({"--ca-file", file, "fetch"}, "--ca-file '" + file + "': " + expected);
    expectRefused({"validate", file}, "validate: FILE '" + file + "': " + expected);
    expectRefused({"diff", "live", file}, "diff: '" + file + "': " + expected);
    std::filesystem::remove(directory_.path("config/corvid-config-user.xml"));
    makeSocket(directory_.path("config/corvid-config-user.xml"));
    expectRefused({"get", "OnlyMine"}, "--config-dir '" + directory_.path("config") +
                                           "': expected its corvid-config-user.xml to be a file that can be read");
}

TEST_F(WrongUseTool, RefusesAnExportInAnUnknownFormatOrPlace) {
    expectRefused({"export", "--format", "yaml"}, "--format 'yaml': expected server, json or properties");
    const std::string nowhere = directory_.path("nowhere/a.xml");
    expectRefused({"export", "--to", nowhere},
                  "--to '" + nowhere + "': expected a file in a folder that can be written");
    const std::string folder = directory_.path("config");
    expectRefused({"export", "--to", ""}, "--to is empty, expected a path");
    expectRefused({"export", "--force", "--to", "/dev/null"},
                  "--to '/dev/null': expected a regular file, or one that does not exist yet");
    expectRefused({"export", "--force", "--to", folder},
                  "--to '" + folder + "': expected a file in a folder that can be written");
}

TEST_F(WrongUseTool, RefusesAnExportOverAFile) {
    const std::string file = directory_.write("a.xml", "mine");
    expectRefused({"export", "--to", file},
                  "--to '" + file + "': expected a file that is not there yet, or --force to replace it");
    for (const char* const name : {"config/corvidLocalConfig.xml", "config/corvid-config.xml",
                                   "install/corvid-config-defaults.xml", "install/bootstrap.properties"}) {
        const std::string own = directory_.path(name);
        expectRefused({"export", "--to", own},
                      "--to '" + own + "': this file is the module's own, expected another one, or --force");
    }
}

TEST_F(WrongUseTool, RefusesAnInstallationDirectoryThatIsMissing) {
    const std::string missing = directory_.path("nowhere");
    const support::Ended ended = support::runProgram(
        {CORVIDCTL_PROGRAM, "--config-dir", directory_.path("config"), "--install-dir", missing, "set", "A", "b"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --install-dir '" + missing + "': expected a directory that can be read\n");
}

TEST_F(WrongUseTool, RefusesAFileWhereTheConfigurationDirectoryIsExpected) {
    const std::string file = directory_.path("config/corvidLocalConfig.xml");
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", file, "list"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --config-dir '" + file +
                               "': expected a directory that can be read, or one that does not exist yet\n");
}

TEST_F(WrongUseTool, RefusesAnEmptyPathMostLikelyAnUnsetVariable) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", "", "set", "A", "b"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --config-dir is empty, expected a path\n");
}

TEST_F(WrongUseTool, RefusesAnEmptyStoreName) {
    expectRefused({"list", "--store", ""}, "--store is empty, expected the name of a store");
}

TEST_F(WrongUseTool, NeedsAHomeWhenNoDirectoryIsNamed) {
    support::ChildProcess::Options options;
    options.environment = {{"HOME", ""}, {"XDG_CONFIG_HOME", ""}};
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "list"}, options);
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --config-dir is missing, expected a directory, since neither XDG_CONFIG_HOME "
                           "nor HOME names one\n");
}

TEST_F(WrongUseTool, NeedsNoHomeForACommandThatUsesNoConfiguration) {
    support::ChildProcess::Options nowhere;
    nowhere.environment = {{"HOME", ""}, {"XDG_CONFIG_HOME", ""}};
    support::ChildProcess::Options strange;
    strange.environment = {{"XDG_CONFIG_HOME", directory_.path("strange")}};
    directory_.write("strange/corvid", "a file");
    const std::string document = directory_.write("a.xml", "<c/>");
    const std::string served = directory_.path("no");
    for (const auto& options : {nowhere, strange}) {
        EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "validate", document}, options).status, 0);
        EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "demo"}, options).status, 0);
        EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "serve", served}, options).error,
                  "corvidctl: serve: FILE '" + served + "': expected a file that can be read\n");
        EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "list"}, options).status, 2);
    }
}

TEST_F(WrongUseTool, ShowsNoControlCharacterOfAnArgument) {
    expectRefused({"fro\x1b[31mb"}, "unknown command 'fro\\x1b[31mb', expected one of: " + COMMANDS);
}
