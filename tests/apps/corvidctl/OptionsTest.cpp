#include "Tool.h"
#include "callcontrol/CallControlServer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

#include "support/HeldPipe.h"
#include "support/OpenedFiles.h"
#include "support/Terminal.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(Tool, PrintsItsVersion) {
    const support::Ended ended = run({"--version"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "corvidctl 0.1.0\n");
    EXPECT_EQ(ended.error, "");
}

TEST_F(Tool, HelpNamesEveryCommandAndGlobalOption) {
    const support::Ended ended = run({"--help"});
    EXPECT_EQ(ended.status, 0);
    for (const char* const word :
         {"get",          "list",          "explain",     "stores",    "set",    "unset",       "watch",
          "fetch",        "report",        "validate",    "serve",     "demo",   "provision",   "reset-data",
          "--config-dir", "--install-dir", "--bootstrap", "--ca-file", "--fips", "--log-level", "--log-file",
          "--json",       "--reveal",      "--version",   "export",    "inspect"}) {
        EXPECT_THAT(ended.out, HasSubstr(word));
    }
}

TEST_F(Tool, HelpOfACommandShowsItsArguments) {
    const support::Ended ended = run({"get", "--help"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("Usage: corvidctl [global options] get KEY\n"));
    EXPECT_THAT(ended.out, HasSubstr("--show-origin"));
}

TEST_F(Tool, TakesGlobalOptionsBehindTheCommandToo) {
    const support::Ended ended = run({"get", "OnlyMine", "--json"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("\"value\": \"1\""));
}

TEST_F(Tool, TakesTheConfigurationDirectoryFromTheEnvironment) {
    support::ChildProcess::Options options;
    directory_.write("xdg/corvid/corvidLocalConfig.xml", localFile({{"From", "xdg"}}));
    directory_.write("home/.config/corvid/corvidLocalConfig.xml", localFile({{"From", "home"}}));
    options.environment = {{"HOME", directory_.path("home")}, {"XDG_CONFIG_HOME", directory_.path("xdg")}};
    EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "get", "From"}, options).out, "xdg\n");
    options.environment["XDG_CONFIG_HOME"] = "";
    EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "get", "From"}, options).out, "home\n");
    options.environment["XDG_CONFIG_HOME"] = "relative";
    EXPECT_EQ(support::runProgram({CORVIDCTL_PROGRAM, "get", "From"}, options).out, "home\n");
}

TEST_F(Tool, FindsTheDataFilesThatItCameWith) {
    const support::Ended ended = support::runProgram(
        {CORVIDCTL_PROGRAM, "--config-dir", directory_.path("nowhere"), "get", "ServicesDomain", "--show-origin"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_EQ(ended.out, "BootstrapConfigStore\texample.org\n");
}

TEST_F(Tool, ShowsOnATerminalThatItIsAtWork) {
    const std::string bootstrap = directory_.path("pipe");
    support::HeldPipe held(bootstrap);
    held.write("\n");
    support::Terminal::Options options;
    options.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    support::Terminal terminal(command({"--bootstrap", bootstrap, "--log-level", "3", "get", "OnlyMine"}), options);
    held.waitForReader();
    EXPECT_TRUE(terminal.waitFor("\rreading the configuration … 1 s\x1b[K\r")) << terminal.text();
    held.end();
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_THAT(terminal.text(), testing::EndsWith("\r\x1b[K1\n"));
}

TEST_F(Tool, TreatsAMissingConfigurationDirectoryAsAnEmptyOne) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("nowhere"),
                                                      "--install-dir", directory_.path("install"), "list"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(ended.out, HasSubstr("ServicesDomain"));
    EXPECT_FALSE(directory_.exists("nowhere"));
}

TEST_F(Tool, ReadsANamedBootstrapFileInstead) {
    const std::string file = directory_.write("other.properties", "ServicesDomain: other.example.org\n");
    EXPECT_EQ(run({"--bootstrap", file, "get", "ServicesDomain"}).out, "other.example.org\n");
}

TEST_F(Tool, LeavesTheWarningToTheModuleWhereTheDefaultBootstrapFileIsMissing) {
    std::filesystem::remove(directory_.path("install/bootstrap.properties"));
    const support::Ended ended = run({"get", "OnlyMine"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "1\n");
    EXPECT_THAT(ended.error, HasSubstr("File does not exist " + directory_.path("install/bootstrap.properties")));
}

TEST_F(Tool, HidesWarningsBelowTheLogLevel) {
    std::filesystem::remove(directory_.path("install/bootstrap.properties"));
    EXPECT_EQ(run({"--log-level", "2", "get", "OnlyMine"}).error, "");
}

TEST_F(Tool, LogsToAFileInstead) {
    std::filesystem::remove(directory_.path("install/bootstrap.properties"));
    const support::Ended ended = run({"--log-file", directory_.path("log"), "get", "OnlyMine"});
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(directory_.read("log"), HasSubstr("File does not exist "));
}

TEST_F(Tool, OpensNoPipeOrDeviceThatTheLogMayGoToBeforeThereIsALog) {
    const std::string document = directory_.write("a.xml", "<c/>");
    const std::string pipe = directory_.path("pipe");
    const support::HeldPipe held(pipe);
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    const std::filesystem::path device = ptsname(terminal);
    std::filesystem::create_symlink(device, directory_.path("link"));
    support::OpenedFiles files(directory_.path());
    support::OpenedFiles devices(device.parent_path());
    for (const std::string& file : {pipe, directory_.path("link"), device.string()}) {
        const support::Ended ended = run({"--log-file", file, "validate", document});
        EXPECT_EQ(ended.status, 0) << ended.error;
    }
    const std::map<std::string, int> opened = files.take();
    EXPECT_EQ(opened.count("a.xml"), 1U);
    EXPECT_EQ(opened.count("pipe"), 0U);
    EXPECT_EQ(devices.take().count(device.filename()), 0U);
    close(open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    EXPECT_EQ(devices.take().count(device.filename()), 1U) << "so an open would have been seen";
    close(terminal);
}

TEST_F(Tool, SwitchesTheFipsRuleOn) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Telephony_P2P_Enabled", "true"}}));
    EXPECT_EQ(run({"--fips", "off", "get", "Telephony_P2P_Enabled"}).out, "true\n");
    EXPECT_EQ(run({"--fips", "on", "get", "Telephony_P2P_Enabled"}).out, "false\n");
}

TEST_F(Tool, ColoursATerminalOnly) {
    support::ChildProcess::Options terminal;
    terminal.terminal = true;
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", ""}};
    EXPECT_THAT(run({"list"}, terminal).out, HasSubstr("\x1b["));
    EXPECT_THAT(run({"list"}).out, Not(HasSubstr("\x1b[")));
}

TEST_F(Tool, ColoursNothingUnderNoColor) {
    support::ChildProcess::Options terminal;
    terminal.terminal = true;
    terminal.environment = {{"TERM", "xterm"}, {"NO_COLOR", "1"}};
    EXPECT_THAT(run({"list"}, terminal).out, Not(HasSubstr("\x1b[")));
    EXPECT_THAT(run({"explain", "DockedWindow"}, terminal).out, Not(HasSubstr("\x1b[")));
}

TEST_F(Tool, ColoursNothingOnADumbTerminal) {
    for (const std::string kind : {"dumb", ""}) {
        support::ChildProcess::Options terminal;
        terminal.terminal = true;
        terminal.environment = {{"TERM", kind}, {"NO_COLOR", ""}};
        EXPECT_THAT(run({"list"}, terminal).out, Not(HasSubstr("\x1b["))) << kind;
    }
}

TEST_F(Tool, ColoursTheLogWhereBothStreamsAreTerminalsOnly) {
    std::filesystem::remove(directory_.path("install/bootstrap.properties"));
    const auto logOn = [this](bool terminal, bool errorTerminal, const std::string& kind, const std::string& plain) {
        support::ChildProcess::Options options;
        options.terminal = terminal;
        options.errorTerminal = errorTerminal;
        options.environment = {{"TERM", kind}, {"NO_COLOR", plain}};
        std::string log = run({"get", "OnlyMine"}, options).error;
        EXPECT_THAT(log, HasSubstr("File does not exist"));
        const std::string clearing = "\x1b[K";  // what else may stand on a terminal's line, and no colour
        for (std::size_t at = log.find(clearing); at != std::string::npos; at = log.find(clearing)) {
            log.erase(at, clearing.size());
        }
        return log;
    };
    EXPECT_THAT(logOn(true, true, "xterm", ""), HasSubstr("\x1b["));
    EXPECT_THAT(logOn(false, true, "xterm", ""), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(logOn(true, false, "xterm", ""), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(logOn(true, true, "dumb", ""), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(logOn(true, true, "", ""), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(logOn(true, true, "xterm", "1"), Not(HasSubstr("\x1b[")));
}

TEST_F(Tool, AsksForDashesBeforeAValueThatLooksLikeAnOption) {
    EXPECT_EQ(run({"set", "Offset", "--", "-5"}).status, 0);
    EXPECT_EQ(run({"get", "Offset"}).out, "-5\n");
    EXPECT_EQ(run({"set", "--", "Offset", "--json"}).status, 0);
    EXPECT_EQ(run({"get", "--", "Offset"}).out, "--json\n");
}

TEST_F(Tool, TakesTheNameOfACommandAsAKey) {
    EXPECT_EQ(run({"set", "list", "stores"}).status, 0);
    EXPECT_EQ(run({"get", "list"}).out, "stores\n");
}

TEST_F(Tool, TellsThatItsOutputCouldNotBeWritten) {
    std::map<std::string, std::string> entries;
    for (int i = 0; i < 2000; ++i) {
        entries["Key" + std::to_string(i)] = "value";
    }
    writeConfig("corvidLocalConfig.xml", localFile(entries));
    for (const std::string words : {"get DockedWindow", "list", "--json list", "--help", "--version", "get --help"}) {
        const support::Ended ended = support::runProgram(
            {"/bin/sh", "-c", "exec \"$0\" --config-dir \"$1\" --install-dir \"$2\" " + words + " >/dev/full",
             CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install")});
        EXPECT_EQ(ended.status, 1) << words;
        EXPECT_EQ(ended.error, "corvidctl: the output could not be written: No space left on device\n") << words;
    }
}

TEST_F(Tool, DoesNotStayWhereItsFirstLinesCouldNotBeWritten) {
    directory_.write("install/bootstrap.properties", "ServicesDomain: example.org\n");
    const std::string file = directory_.write("served.xml", "<c/>");
    const std::string address = callcontrol::CallControlServer::freeLoopbackAddress();
    for (const std::string& words : {std::string("inspect"), "serve " + file + " --address " + address}) {
        const support::Ended ended = support::runProgram(
            {"/bin/sh", "-c",
             "exec \"$0\" --log-level 2 --config-dir \"$1\" --install-dir \"$2\" " + words + " >/dev/full",
             CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install")});
        EXPECT_EQ(ended.status, 1) << words;
        EXPECT_EQ(ended.error, "corvidctl: the output could not be written: No space left on device\n") << words;
    }
}

TEST_F(Tool, SurvivesAReaderThatGoesAway) {
    support::ChildProcess list(command({"list"}));
    list.stopReading();
    EXPECT_EQ(list.wait().status, 0);
}

TEST_F(Tool, TakesASwitchTwice) { EXPECT_EQ(run({"--json", "list", "--json", "--all", "--all"}).status, 0); }

TEST_F(Tool, LeavesNothingOfABrokenDocumentOnStandardErrorWhereTheLogGoesToAFile) {
    for (const char* const name : {"corvidLocalConfig.xml", "corvid-config-user.xml"}) {
        writeConfig(name, "<Corvid>\n<a>\x1b[31ms3cret</b>");
        const support::Ended ended = run({"--log-file", directory_.path("log"), "get", "ServicesDomain"});
        EXPECT_EQ(ended.error, "");
        EXPECT_THAT(directory_.read("log"), HasSubstr(std::string(name) + ":2: "));
    }
}

TEST_F(Tool, ShowsNothingThatStandsInABrokenDocument) {
    writeConfig("corvid-config-user.xml", "<c><g><Password>s3cret&s3cret;</Password><s3cret></g></c>\x1b[31m");
    const support::Ended ended = run({"get", "ServicesDomain"});
    EXPECT_THAT(ended.error, HasSubstr("corvid-config-user.xml:1: "));
    EXPECT_THAT(ended.error, Not(HasSubstr("s3cret")));
    EXPECT_THAT(ended.error, Not(HasSubstr("\x1b[31m")));
    EXPECT_EQ(run({"--log-level", "2", "list", "nothing*"}).error, "");
}

TEST_F(Tool, TakesTheDirectoriesThatALinkAndTwoDotsLeadTo) {
    directory_.write("elsewhere/corvidLocalConfig.xml", localFile({{"From", "elsewhere"}}));
    directory_.write("elsewhere/corvid-config-defaults.xml", localFile({{"Default", "elsewhere"}}));
    directory_.write("elsewhere/inner/file", "");
    directory_.write("corvidLocalConfig.xml", localFile({{"From", "here"}}));
    std::filesystem::create_directory_symlink(directory_.path("elsewhere/inner"), directory_.path("link"));
    const std::string path = directory_.path("link/..");
    const std::vector<std::string> words = {CORVIDCTL_PROGRAM, "--config-dir", path, "--install-dir", path, "get"};
    const auto get = [&words](const std::string& key) {
        std::vector<std::string> all = words;
        all.push_back(key);
        return support::runProgram(all).out;
    };
    EXPECT_EQ(get("From"), "elsewhere\n");
    EXPECT_EQ(get("Default"), "elsewhere\n");
}

TEST_F(Tool, HelpAsACommandSaysWhatTheOptionSays) {
    EXPECT_EQ(run({"help"}).out, run({"--help"}).out);
    EXPECT_EQ(run({"help", "set"}).out, run({"set", "--help"}).out);
    EXPECT_EQ(run({"help", "help"}).out, run({"help", "--help"}).out);
    EXPECT_EQ(run({"help", "set"}).status, 0);
}

TEST_F(Tool, HelpOfAnUnknownCommandIsWrongUse) {
    const support::Ended ended = run({"help", "sett"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: unknown command 'sett', did you mean 'set'?\n");
    EXPECT_EQ(run({"help", "set", "get"}).error,
              "corvidctl: help: unexpected argument 'get', expected: corvidctl help [COMMAND]\n");
}
