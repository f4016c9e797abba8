#include "cli/completions/Completions.h"

#include "Tool.h"
#include "cli/Definitions.h"
#include "support/Lines.h"
#include "support/Terminal.h"

using namespace corvidctl;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

struct Shell {
    const char* name;
    const char* program;
    std::string script;
};

std::vector<Shell> shells() {
    return {{"bash", BASH_PROGRAM, bashCompletions()},
            {"zsh", ZSH_PROGRAM, zshCompletions()},
            {"fish", FISH_PROGRAM, fishCompletions()}};
}

using support::linesOf;

/// The shells with the tool's scripts, in a folder with some files.
class Completions : public Tool {
protected:
    Completions() {
        for (const Shell& shell : shells()) {
            directory_.write(std::string("scripts/") + shell.name, shell.script);
        }
        directory_.write("here/document.xml", "");
        directory_.write("here/folder/file", "");
    }

    /// What bash offers for the last of the words.
    std::vector<std::string> inBash(const std::vector<std::string>& words) const {
        std::vector<std::string> command = {
            BASH_PROGRAM,
            "-c",
            "source \"$1\"; cd \"$2\"; shift 2; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _corvidctl; "
            "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\"",
            "bash",
            directory_.path("scripts/bash"),
            directory_.path("here"),
            CORVIDCTL_PROGRAM};
        command.insert(command.end(), words.begin(), words.end());
        support::ChildProcess::Options options;
        options.environment = {{"HOME", directory_.path()}, {"XDG_CONFIG_HOME", ""}};
        const support::Ended ended = support::runProgram(command, options);
        EXPECT_EQ(ended.error, "");
        return linesOf(ended.out);
    }

    /// What fish offers for the end of a line.
    std::vector<std::string> inFish(const std::string& line) const {
        support::ChildProcess::Options options;
        options.environment = {{"HOME", directory_.path()}, {"XDG_CONFIG_HOME", ""}, {"XDG_DATA_HOME", ""}};
        const support::Ended ended =
            support::runProgram({FISH_PROGRAM, "--no-config", "-c",
                                 "source $argv[1]; cd $argv[2]; set -x PATH $argv[3] $PATH; complete -C $argv[4]",
                                 directory_.path("scripts/fish"), directory_.path("here"),
                                 std::filesystem::path(CORVIDCTL_PROGRAM).parent_path(), "corvidctl " + line},
                                options);
        EXPECT_EQ(ended.error, "");
        std::vector<std::string> words = linesOf(ended.out);
        for (std::string& word : words) {
            word = word.substr(0, word.find('\t'));
        }
        return words;
    }

    std::string places() const {
        return "--config-dir " + directory_.path("config") + " --install-dir " + directory_.path("install") + " ";
    }
};

}  // namespace

TEST_F(Completions, AreScriptsThatTheirShellsCanRead) {
    for (const Shell& shell : shells()) {
        const support::Ended ended =
            support::runProgram({shell.program, "-n", directory_.path(std::string("scripts/") + shell.name)});
        EXPECT_EQ(ended.status, 0) << shell.name;
        EXPECT_EQ(ended.out + ended.error, "") << shell.name;
    }
}

TEST_F(Completions, KnowEveryCommandAndOption) {
    std::vector<OptionDefinition> options = globalOptions();
    options.insert(options.end(), answeringOptions().begin(), answeringOptions().end());
    for (const CommandDefinition& command : commandDefinitions()) {
        options.insert(options.end(), command.options.begin(), command.options.end());
    }
    for (const Shell& shell : shells()) {
        for (const CommandDefinition& command : commandDefinitions()) {
            EXPECT_THAT(shell.script, testing::ContainsRegex(std::string("[ ('a]") + command.name + "[ :)\n]"))
                << shell.name;
        }
        for (const OptionDefinition& option : options) {
            const std::string name = namesOf(option).back().substr(2);
            const std::string dashes = std::string(shell.name) == "fish" ? "-l " : "--";
            EXPECT_THAT(shell.script, HasSubstr(dashes + name)) << shell.name;
        }
    }
}

TEST_F(Completions, ArePrintedByTheTool) {
    for (const Shell& shell : shells()) {
        EXPECT_EQ(run({"completions", shell.name}).out, shell.script);
    }
}

TEST_F(Completions, OfBashOfferCommands) {
    EXPECT_THAT(inBash({"expl"}), ElementsAre("explain"));
    EXPECT_THAT(inBash({""}), IsSupersetOf({"get", "list", "demo"}));
    EXPECT_THAT(inBash({""}), Not(Contains("complete")));
    EXPECT_THAT(inBash({"--json", "--fips", "on", "expl"}), ElementsAre("explain"));
}

TEST_F(Completions, OfBashOfferOptions) {
    EXPECT_THAT(inBash({"--fi"}), ElementsAre("--fips"));
    EXPECT_THAT(inBash({"list", "--"}), IsSupersetOf({"--all", "--store", "--json", "--help"}));
    EXPECT_THAT(inBash({"get", "--"}), Not(Contains("--all")));
    EXPECT_THAT(inBash({"get", "--", "--"}), IsEmpty());
}

TEST_F(Completions, OfBashOfferTheChoicesOfAnOption) {
    EXPECT_THAT(inBash({"--fips", "o"}), ElementsAre("on", "off"));
    EXPECT_THAT(inBash({"--fips", "=", "o"}), ElementsAre("on", "off"));
    EXPECT_THAT(inBash({"--fips", "="}), ElementsAre("auto", "on", "off"));
    EXPECT_THAT(inBash({"list", "-o", ""}), ElementsAre("table", "json", "jsonl", "tsv"));
    EXPECT_THAT(inBash({"completions", "z"}), ElementsAre("zsh"));
}

TEST_F(Completions, OfBashOfferTheKeysOfTheDirectoriesThatAreNamed) {
    const std::vector<std::string> named = {"--config-dir", directory_.path("config"), "--install-dir", "=",
                                            directory_.path("install")};
    const auto offered = [&](std::vector<std::string> words) {
        words.insert(words.begin(), named.begin(), named.end());
        return inBash(words);
    };
    EXPECT_THAT(offered({"get", "ONLY"}), ElementsAre("onlymine"));
    EXPECT_THAT(offered({"get", "OnlyMine", ""}), IsEmpty());
    EXPECT_THAT(offered({"set", "OnlyMine", ""}), IsEmpty());
    EXPECT_THAT(inBash({"get", "only"}), IsEmpty());
    EXPECT_THAT(offered({"list", "OnlyMine", "dock"}), ElementsAre("DockedWindow"));
    EXPECT_THAT(offered({"list", "--store", "Local"}), ElementsAre("LocalFileConfigStore"));
}

TEST_F(Completions, OfBashOfferFilesAndDirectories) {
    EXPECT_THAT(inBash({"validate", ""}), UnorderedElementsAre("document.xml", "folder"));
    EXPECT_THAT(inBash({"--config-dir", ""}), ElementsAre("folder"));
    EXPECT_THAT(inBash({"stores", ""}), IsEmpty());
}

TEST_F(Completions, OfBashOfferTheSidesOfAComparison) {
    const auto offered = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"--config-dir", directory_.path("config"), "diff"});
        return inBash(words);
    };
    EXPECT_THAT(offered({""}), IsSupersetOf({"document.xml", "folder", "live", "LocalFileConfigStore"}));
    EXPECT_THAT(offered({"live", "LOC"}), ElementsAre("LocalFileConfigStore"));
    EXPECT_THAT(offered({"live", "doc"}), ElementsAre("document.xml"));
    EXPECT_THAT(offered({"live", "live", ""}), IsEmpty());
}

TEST_F(Completions, OfBashOfferWhatReplacesAStore) {
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a></CachedConfig></Corvid>");
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    const auto offered = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"--config-dir", directory_.path("config"), "simulate"});
        return inBash(words);
    };
    EXPECT_THAT(offered({"--replace", ""}),
                ElementsAre("TftpOverrideConfigStore=", "LocalFileConfigStore=", "TFTPConfigStore=",
                            "UrlProvisioningConfigStore=", "BootstrapConfigStore=", "corvid-config-defaults.xml=",
                            "cachedTFTPConfigStore.xml="));
    EXPECT_THAT(offered({"--replace", "=", "boot"}), ElementsAre("BootstrapConfigStore="));
    EXPECT_THAT(offered({"--replace", "TFTPConfigStore", "="}), UnorderedElementsAre("document.xml", "folder"));
    EXPECT_THAT(offered({"--replace", "TFTPConfigStore", "=", "doc"}), ElementsAre("document.xml"));
    EXPECT_THAT(offered({"--replace", "=", "TFTPConfigStore", "=", "doc"}), ElementsAre("document.xml"));
    EXPECT_THAT(offered({"--replace", "TFTPConfigStore", "=", "document.xml", "--uns"}), ElementsAre("--unset"));
}

TEST_F(Completions, OfBashTakeAWordWithAnEqualsSignForOne) {
    const auto offered = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"--config-dir", directory_.path("config")});
        return inBash(words);
    };
    EXPECT_THAT(offered({"simulate", "--set", "only"}), ElementsAre("onlymine"));
    EXPECT_THAT(offered({"simulate", "--set", "a", "=", "only"}), IsEmpty());
    EXPECT_THAT(offered({"diff", "a", "=", "b", "LOC"}), ElementsAre("LocalFileConfigStore"));
}

TEST_F(Completions, OfFishOfferTheSidesOfAComparison) {
    EXPECT_THAT(inFish(places() + "diff "), IsSupersetOf({"document.xml", "folder/", "live", "LocalFileConfigStore"}));
    EXPECT_THAT(inFish(places() + "diff live doc"), ElementsAre("document.xml"));
}

TEST_F(Completions, OfFishOfferWhatReplacesAStore) {
    EXPECT_THAT(inFish(places() + "simulate --replace TFTPC"), Contains("TFTPConfigStore="));
    EXPECT_THAT(inFish(places() + "simulate --replace TFTPConfigStore=doc"),
                ElementsAre("TFTPConfigStore=document.xml"));
    EXPECT_THAT(inFish(places() + "simulate --replace=TFTPConfigStore=doc"), Contains(HasSubstr("document.xml")));
}

TEST_F(Completions, OfFishOfferCommandsAndOptions) {
    EXPECT_THAT(inFish("expl"), ElementsAre("explain"));
    EXPECT_THAT(inFish("--json expl"), ElementsAre("explain"));
    EXPECT_THAT(inFish("list --st"), ElementsAre("--store"));
    EXPECT_THAT(inFish("get --st"), IsEmpty());
}

TEST_F(Completions, OfFishOfferChoices) {
    EXPECT_THAT(inFish("--fips o"), ElementsAre("off", "on"));
    EXPECT_THAT(inFish("completions "), ElementsAre("bash", "fish", "zsh"));
}

TEST_F(Completions, OfFishOfferTheKeysOfTheDirectoriesThatAreNamed) {
    EXPECT_THAT(inFish(places() + "get only"), ElementsAre("onlymine"));
    EXPECT_THAT(inFish(places() + "set OnlyMine "), IsEmpty());
    EXPECT_THAT(inFish(places() + "list --store Local"), ElementsAre("LocalFileConfigStore"));
}

TEST_F(Completions, OfFishOfferFilesAndDirectories) {
    EXPECT_THAT(inFish("validate "), ElementsAre("document.xml", "folder/"));
    EXPECT_THAT(inFish("--config-dir "), ElementsAre("folder/"));
}

/// Keys are pressed in a terminal, and what zsh makes of them is run.
TEST_F(Completions, OfZshCompleteWhatIsTyped) {
    support::Terminal::Options options;
    options.columns = 500;
    options.directory = directory_.path("here");
    options.environment = {{"TERM", "dumb"}, {"PS1", "ready> "}, {"HOME", directory_.path()}, {"XDG_CONFIG_HOME", ""}};
    support::Terminal zsh({ZSH_PROGRAM, "-f", "-i"}, options);
    const auto run = [&zsh](const std::string& keys, const std::string& answer) {
        zsh.waitFor("ready> ");
        zsh.type(keys + "\r");
        EXPECT_TRUE(zsh.waitFor(answer)) << zsh.text();
    };
    const std::string tool = std::string(CORVIDCTL_PROGRAM) + " ";
    run("autoload -Uz compinit; compinit -D -u; source ../scripts/zsh; print compl''eted", "completed");
    run(tool + "comple\tz\t | head -n 1", "#compdef corvidctl");
    run(tool + "--vers\t", "corvidctl 0.1.0");
    run(tool + places() + "get --show\tonly\t", "LocalFileConfigStore\t1");
    run(tool + places() + "list --store InMem\t", "No key matches.");
    run(tool + "validate doc\t", "document.xml: not valid");
    run(tool + places() + "diff liv\tLocalFileConf\t | head -n 1", "- only in live (A)");
    run(tool + places() + "diff doc\tlive", "'document.xml' is no document");
    run(tool + places() + "simulate --replace TFTPConf\tdoc\t", "'TFTPConfigStore=document.xml': not valid");
    zsh.waitFor("ready> ");
    zsh.type("exit\r");
    zsh.wait();
}

TEST_F(Completions, OfferNoKeyThatAShellWouldTakeForMoreThanAWord) {
    writeConfig("corvidLocalConfig.xml",
                localFile({{"Plain", "1"}, {"$(reboot)", "1"}, {"two words", "1"}, {"-x", "1"}}));
    EXPECT_THAT(linesOf(run({"complete", "keys"}).out), Contains("plain"));
    for (const std::string key : {"$(reboot)", "two words", "-x"}) {
        EXPECT_THAT(linesOf(run({"complete", "keys"}).out), Not(Contains(key)));
    }
}

TEST_F(Completions, AreThereForMachinesToo) {
    EXPECT_EQ(asJson({"completions", "bash"}).at("completions"), bashCompletions());
    EXPECT_THAT(asJson({"complete", "stores"}), Contains(nlohmann::json({{"word", "LocalFileConfigStore"}})));
}
