#include "cli/Definitions.h"

#include <set>

using namespace corvidctl;

TEST(Definitions, ListEachCommandThatIsNotHiddenInOneGroup) {
    std::multiset<std::string> grouped;
    for (const CommandGroup& group : commandGroups()) {
        EXPECT_FALSE(group.commands.empty()) << group.heading;
        for (const CommandDefinition* const command : group.commands) {
            grouped.insert(command->name);
        }
    }
    std::multiset<std::string> shown;
    for (const CommandDefinition& command : commandDefinitions()) {
        if (!command.isHidden) {
            shown.insert(command.name);
        }
    }
    EXPECT_EQ(grouped, shown);
}

TEST(Definitions, TellOfEachCommandMoreThanItsSummaryAndShowAnExample) {
    for (const CommandDefinition& command : commandDefinitions()) {
        if (!command.isHidden) {
            EXPECT_STRNE(command.description, "") << command.name;
            EXPECT_FALSE(command.examples.empty()) << command.name;
        }
    }
}

TEST(Definitions, WriteSentencesAsTheirReadersExpectThem) {
    for (const CommandDefinition& command : commandDefinitions()) {
        EXPECT_THAT(command.summary, testing::Not(testing::EndsWith("."))) << command.name;
        if (*command.description != '\0') {
            EXPECT_THAT(command.description, testing::EndsWith(".")) << command.name;
        }
        for (const OptionDefinition& option : command.options) {
            EXPECT_THAT(option.help, testing::Not(testing::EndsWith("."))) << option.names;
        }
        for (const ExampleDefinition& example : command.examples) {
            EXPECT_THAT(example.words, testing::HasSubstr(command.name));
            EXPECT_THAT(example.what, testing::Not(testing::EndsWith("."))) << example.words;
        }
    }
}

TEST(Definitions, NameTheChoicesOfWhateverIsAChoice) {
    for (const CommandDefinition& command : commandDefinitions()) {
        EXPECT_EQ(command.argumentKind == WordKind::Choice, !command.choices.empty()) << command.name;
        for (const OptionDefinition& option : command.options) {
            EXPECT_EQ(option.kind == WordKind::Choice, !option.choices.empty()) << option.names;
        }
    }
    for (const OptionDefinition& option : globalOptions()) {
        EXPECT_EQ(option.kind == WordKind::Choice, !option.choices.empty()) << option.names;
    }
}

TEST(Definitions, TakeTheNamesOfAnOptionApart) {
    EXPECT_THAT(namesOf({"-o,--output", "FORMAT", "", &Invocation::output}), testing::ElementsAre("-o", "--output"));
    EXPECT_THAT(namesOf({"--json", "", "", &Invocation::json}), testing::ElementsAre("--json"));
}

TEST(Definitions, KnowHowManyArgumentsAShellCanComplete) {
    EXPECT_EQ(argumentsOfKind(commandDefinition("get")), 1U);
    EXPECT_EQ(argumentsOfKind(commandDefinition("set")), 1U);
    EXPECT_EQ(argumentsOfKind(commandDefinition("list")), ANY_NUMBER);
    EXPECT_EQ(argumentsOfKind(commandDefinition("stores")), 0U);
}
