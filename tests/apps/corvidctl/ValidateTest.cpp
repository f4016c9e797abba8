#include <filesystem>

#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

TEST_F(Tool, ValidateNamesTheKeysOfADocument) {
    const std::string file =
        directory_.write("a.xml", "<c>\n<g>\n<Alpha>1</Alpha>\n<Beta sensitive=\"true\">secret</Beta>\n</g>\n</c>\n");
    const json expected = {{"file", file},
                           {"valid", true},
                           {"keys", {"alpha", "beta"}},
                           {"warnings", json::array()},
                           {"errors", json::array()},
                           {"findings",
                            {{{"severity", "info"},
                              {"kind", "sensitive"},
                              {"line", 4},
                              {"column", nullptr},
                              {"key", "beta"},
                              {"text", "value is hidden, as the document asks for: Beta"}}}},
                           {"entries",
                            {{{"key", "alpha"}, {"value", "1"}, {"line", 3}, {"isSensitive", false}},
                             {{"key", "beta"}, {"value", "VALUE_HIDDEN"}, {"line", 4}, {"isSensitive", true}}}}};
    EXPECT_EQ(asJson({"validate", file}), expected);
}

TEST_F(Tool, ValidateShowsPeopleLinesValuesAndMarks) {
    const std::string file =
        directory_.write("a.xml", "<c>\n<g>\n<Alpha>1</Alpha>\n<Beta sensitive=\"true\">secret</Beta>\n</g>\n</c>\n");
    EXPECT_EQ(run({"validate", file}).out, file + ": valid, by its content a configuration document with 2 keys\n" +
                                               file +
                                               ":4: info: value is hidden, as the document asks for: Beta "
                                               "[sensitive]\n"
                                               "LINE  KEY    VALUE         REMARKS\n"
                                               "   3  alpha  1\n"
                                               "   4  beta   VALUE_HIDDEN  sensitive\n");
    EXPECT_THAT(run({"--reveal", "validate", file}).out, HasSubstr("secret"));
}

TEST_F(Tool, ValidateHidesTheKeysThatAreAlwaysSensitive) {
    const std::string file = directory_.write("a.xml", "<c><g><ConnectionPassword>secret</ConnectionPassword></g></c>");
    EXPECT_THAT(run({"validate", file}).out, Not(HasSubstr("secret")));
}

TEST_F(Tool, ValidateReadsALocalFile) {
    const support::Ended ended = run({"validate", directory_.path("config/corvidLocalConfig.xml")});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("valid, a local file with 3 keys\n"));
}

TEST_F(Tool, ValidateWarnsOfDuplicatesAndMarkUpByLine) {
    const std::string file = directory_.write("a.xml", "<c>\n<g>\n<a>1</a>\n<A>2</A>\n<b><i/></b>\n</g>\n</c>\n");
    const json validation = asJson({"validate", file});
    EXPECT_EQ(validation.at("valid"), true);
    ASSERT_EQ(validation.at("warnings").size(), 2U);
    EXPECT_THAT(validation.at("warnings").at(0).get<std::string>(), HasSubstr("line 4"));
    EXPECT_THAT(validation.at("warnings").at(1).get<std::string>(), HasSubstr("line 5"));
}

TEST_F(Tool, ValidateOfABrokenDocumentIsStatusOneWithTheLineOfTheError) {
    const std::string file = directory_.write("a.xml", "<c>\n<g>\n</c>\n");
    const json validation = asJson({"validate", file}, 1);
    EXPECT_EQ(validation.at("valid"), false);
    ASSERT_FALSE(validation.at("errors").empty());
    EXPECT_THAT(validation.at("errors").at(0).get<std::string>(), HasSubstr("line 3"));
    EXPECT_THAT(run({"validate", file}).out,
                HasSubstr(file + ": not valid\n" + file +
                          ":3:5: error: Opening and ending tag mismatch: g line 2 and c [syntax]\n"));
}

TEST_F(Tool, ValidateTellsTheFirstThousandMistakesAndHowManyMoreThereAre) {
    std::string document = "<c>";
    for (int line = 0; line < 1500; ++line) {
        document += "&x;\n";
    }
    const std::string file = directory_.write("a.xml", document + "</c>");
    const json validation = asJson({"validate", file}, 1);
    EXPECT_EQ(validation.at("errors").size(), 1001U);
    const json expected = {{"severity", "error"}, {"kind", "syntax"}, {"line", 1001},
                           {"column", nullptr},   {"key", ""},        {"text", "further problems from here on: 500"}};
    EXPECT_EQ(validation.at("findings").back(), expected);
}

TEST_F(Tool, ValidateOfSeveralFilesGivesAnArrayAndTheWorstStatus) {
    const std::string good = directory_.write("good.xml", "<c><g><a>1</a></g></c>");
    const std::string bad = directory_.write("bad.xml", "<c>");
    const json validations = asJson({"validate", good, bad}, 1);
    ASSERT_EQ(validations.size(), 2U);
    EXPECT_EQ(validations.at(0).at("valid"), true);
    EXPECT_EQ(validations.at(1).at("file"), bad);
}

TEST_F(Tool, ValidateNeverMovesAFile) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");
    const auto before = files();
    EXPECT_EQ(run({"validate", directory_.path("config/corvidLocalConfig.xml")}).status, 1);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, ValidateFindsTheSampleProfileInOrder) {
    const std::string data = CORVID_DATA_DIRECTORY;
    for (const json& validation :
         asJson({"validate", data + "/corvid-config-defaults.xml", data + "/sample/corvid-config-user.xml",
                 data + "/sample/corvidLocalConfig.xml", data + "/sample/Cache/cachedTFTPConfigStore.xml",
                 data + "/sample-server/corvid-config.xml"})) {
        EXPECT_EQ(validation.at("warnings"), json::array());
        EXPECT_EQ(validation.at("errors"), json::array());
    }
}

TEST_F(Tool, ValidateTakesAFileNameWithBracketsLetterByLetter) {
    const support::Ended ended = run({"validate", "[1]"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: validate: FILE '[1]': expected a file that can be read\n");
}

TEST_F(Tool, ValidateTellsProblemsOnItsStandardOutputAlone) {
    const std::vector<std::string> broken = {
        "",          "<c>s3cret", "<c a='&s3cret;'>", "<c>\xFF</c>", "<?xml version='1.0' encoding='nowhere'?><c/>",
        "\xFE\xFF<c"};
    for (const std::string& document : broken) {
        const support::Ended ended = run({"validate", directory_.write("a.xml", document)});
        EXPECT_EQ(ended.error, "") << document;
        EXPECT_THAT(ended.out, HasSubstr("error: ")) << document;
    }
}

TEST_F(Tool, ValidateRefusesADocumentThatTheModuleReadsNoKeyFrom) {
    writeConfig("corvidLocalConfig.xml", "<c><g><a>1</a></g></c>");
    const std::string file = directory_.path("config/corvidLocalConfig.xml");
    const json validation = asJson({"validate", file}, 1);
    EXPECT_EQ(validation.at("valid"), false);
    EXPECT_EQ(validation.at("keys"), json::array());
    EXPECT_THAT(validation.at("errors").at(0).get<std::string>(), HasSubstr("read as a local file"));
    EXPECT_THAT(run({"validate", file}).out,
                HasSubstr(file + ": not valid, 1 warning\n" + file + ":1: error: no key is read from it"));
}

TEST_F(Tool, ValidateTellsWhatIsIgnored) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n<other/><userConfig name='a' value='1'/></Corvid>");
    EXPECT_EQ(asJson({"validate", directory_.path("config/corvidLocalConfig.xml")}).at("warnings"),
              json::array({"line 2: element is ignored: other"}));
}

TEST_F(Tool, ValidateReadsADocumentUnderTheFipsRule) {
    const std::string file =
        directory_.write("a.xml", "<c><g><Telephony_P2P_Enabled>true</Telephony_P2P_Enabled></g></c>");
    EXPECT_THAT(run({"--fips", "on", "validate", file}).out, HasSubstr("telephony_p2p_enabled  false\n"));
    EXPECT_THAT(run({"--fips", "off", "validate", file}).out, HasSubstr("telephony_p2p_enabled  true\n"));
}

TEST_F(Tool, ValidateWithAMissingFileAmongGoodOnesIsWrongUseAndPrintsNothing) {
    const std::string good = directory_.write("good.xml", "<c><g><a>1</a></g></c>");
    const support::Ended ended = run({"validate", good, directory_.path("none.xml"), good});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error,
              "corvidctl: validate: FILE '" + directory_.path("none.xml") + "': expected a file that can be read\n");
}

TEST_F(Tool, ValidatePrintsFindingsAsCompilersDo) {
    const std::string file = directory_.write(
        "a.xml", "<c>\n<Lost>1</Lost>\n<g>\n<a>1</a>\n<A>2</A>\n<Telephony_Enabld>1</Telephony_Enabld>\n</g>\n</c>\n");
    EXPECT_THAT(run({"validate", file}).out,
                testing::StartsWith(
                    file + ": valid, by its content a configuration document with 2 keys, 3 warnings\n" + file +
                    ":2: warning: element outside a group gives no key and its text is lost: Lost [lost-entry]\n" +
                    file + ":5: warning: duplicate key is ignored, line 4 counts: a [duplicate-key]\n" + file +
                    ":6: warning: key is not known: Telephony_Enabld, did you mean Telephony_Enabled? [unknown-key]\n"
                    "LINE"));
}

TEST_F(Tool, ValidateStrictlyLetsAWarningDecide) {
    const std::string warned = directory_.write("a.xml", "<c><g><a>1</a><a>2</a></g></c>");
    const std::string informed = directory_.write("b.xml", "<c><g><CtiServer1>1</CtiServer1></g></c>");
    EXPECT_EQ(run({"validate", warned, informed}).status, 0);
    EXPECT_EQ(run({"validate", "--strict", informed}).status, 0);
    EXPECT_EQ(run({"validate", "--strict", informed, warned}).status, 1);
    EXPECT_EQ(asJson({"validate", "--strict", warned}, 1).at("valid"), true);
}

TEST_F(Tool, ValidateReadsPropertiesByNameAndByContent) {
    const std::string named = directory_.write("a.properties", "Telephony_Enabled=1\n");
    EXPECT_THAT(run({"validate", named}).out,
                testing::StartsWith(named + ": valid, a properties file with 1 key, 2 warnings\n" + named +
                                    ":1: warning: line has no colon"));
    const std::string guessed = directory_.write("installer", "ServicesDomain: example.org\n");
    EXPECT_EQ(run({"validate", guessed}).out, guessed + ": valid, by its content a properties file with 1 key\n"
                                                        "LINE  KEY             VALUE\n"
                                                        "   1  ServicesDomain  example.org\n");
    const std::string document = directory_.write("b.properties", "<c><g><a>1</a></g></c>");
    EXPECT_THAT(run({"validate", document}).out,
                testing::StartsWith(document + ": valid, a properties file with 1 key, 2 warnings\n" + document +
                                    ":1: warning: it looks like mark-up; a file of this name is read line by line"));
    EXPECT_EQ(run({"validate", "--strict", document}).status, 1);
}

TEST_F(Tool, ValidateHidesWhatMayBeASecretInALineOfMarkUp) {
    const std::string file = directory_.write("a.properties", "<ConnectionPassword>s3cret:s3cret\n");
    const std::string out = run({"validate", file}).out;
    EXPECT_THAT(out, HasSubstr("<ConnectionPassword>VALUE_HIDDEN  VALUE_HIDDEN  sensitive"));
    EXPECT_THAT(out, testing::Not(HasSubstr("s3cret")));
    EXPECT_THAT(out, testing::Not(HasSubstr("mark-ignored")));
}

TEST_F(Tool, ValidateHidesASecretInAKeyOfALocalFile) {
    const std::string entry = "<userConfig name=\"ConnectionPassword=s3\" value=\"s3cret\"/>";
    const std::string file = directory_.write("a.xml", "<Corvid>" + entry + entry + "</Corvid>");
    for (const std::string format : {"table", "json", "jsonl", "tsv"}) {
        const std::string out = run({"-o", format, "validate", file}).out;
        EXPECT_THAT(out, HasSubstr("counts: connectionpassword=VALUE_HIDDEN"));
        EXPECT_THAT(out, Not(HasSubstr("s3")));
    }
    const json validation = asJson({"validate", file});
    EXPECT_EQ(validation.at("keys"), json::array({"connectionpassword=VALUE_HIDDEN"}));
    EXPECT_EQ(validation.at("entries").at(0).at("key"), "connectionpassword=VALUE_HIDDEN");
    EXPECT_EQ(validation.at("findings").at(0).at("key"), "connectionpassword=VALUE_HIDDEN");
    EXPECT_THAT(run({"--reveal", "validate", file}).out, HasSubstr("connectionpassword=s3  s3cret"));
}

TEST_F(Tool, ValidateWarnsOfValuesThatDoNotSayWhatTheySeemTo) {
    const std::string file = directory_.write("a.properties", "AllowUrlProvisioning:no\n");
    EXPECT_THAT(run({"validate", file}).out,
                HasSubstr("only \"false\" refuses provisioning links, this value allows them: AllowUrlProvisioning"));
}

TEST_F(Tool, ValidateTellsWhatBecomesOfABrokenLocalFile) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>");
    const json findings = asJson({"validate", directory_.path("config/corvidLocalConfig.xml")}, 1).at("findings");
    EXPECT_EQ(findings.at(0).at("kind"), "moved-aside");
    EXPECT_EQ(findings.at(0).at("text"), "a client that starts on this file renames it to "
                                         "corvidLocalConfig-backup.xml and has none of its values");
    EXPECT_EQ(findings.at(0).at("line"), 0);
    EXPECT_EQ(findings.at(0).at("column"), nullptr);
    const std::string other = directory_.write("other.xml", "<Corvid>");
    const json ofOther = asJson({"validate", other}, 1);
    for (const json& finding : ofOther.at("findings")) {
        EXPECT_EQ(finding.at("kind"), "syntax");
    }
}

TEST_F(Tool, ValidateReadsAPipeAsADocument) {
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c", "echo '<c><g><a>1</a></g></c>' | " CORVIDCTL_PROGRAM " validate /dev/stdin"}, {});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("a configuration document with 1 key\n"));
}

TEST_F(Tool, ValidateReadsAPipeOfPropertiesByItsContentOrItsName) {
    const std::string program = "printf 'ServicesDomain: example.org\\n' | " CORVIDCTL_PROGRAM " validate ";
    const support::Ended ended = support::runProgram({"/bin/sh", "-c", program + "/dev/stdin"}, {});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("by its content a properties file with 1 key\n"));
    EXPECT_THAT(ended.out, HasSubstr("ServicesDomain"));
    const std::string named = directory_.path("bootstrap.properties");
    std::filesystem::create_symlink("/dev/stdin", named);
    EXPECT_THAT(support::runProgram({"/bin/sh", "-c", program + named}, {}).out,
                HasSubstr(named + ": valid, a properties file with 1 key\n"));
}

TEST_F(Tool, ValidateTellsWhereAPipedDocumentIsBroken) {
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c", "printf '<c>\\n<a></c>' | " CORVIDCTL_PROGRAM " validate /dev/stdin"}, {});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("/dev/stdin:2"));
}

TEST_F(Tool, ValidateRefusesWhatItCannotReadToTheEnd) {
    std::filesystem::create_symlink("/proc/self/mem", directory_.path("a.xml"));  // nothing is at its beginning
    for (const std::string& file : {std::string("/proc/self/mem"), directory_.path("a.xml")}) {
        const support::Ended ended = run({"validate", file});
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.error, "corvidctl: validate: FILE '" + file + "': expected a file that can be read\n");
    }
    EXPECT_EQ(run({"validate", "/dev/zero"}).error,
              "corvidctl: validate: FILE '/dev/zero': expected a pipe or a device that ends within 64 MiB\n");
}

TEST_F(Tool, ValidateAnswersWithATabSeparatedLineForEachFinding) {
    const std::string file = directory_.write("a.properties", "A\n");
    const std::string good = directory_.write("b.xml", "<c><g><a>1</a></g></c>");
    EXPECT_EQ(run({"-o", "tsv", "validate", file, good}).out,
              "file\tseverity\tkind\tline\tcolumn\tkey\ttext\n" + file +
                  "\twarning\tno-separator\t1\t\tA\tline has no colon, so all of it is a key with an empty value\n");
}

TEST_F(Tool, ValidateQuotesNoValueInTheWordsOfTheParser) {
    const std::string entity = directory_.write("a.xml", "<c><g><a>pass&phrase;</a></g></c>");
    const support::Ended named = run({"validate", entity});
    EXPECT_THAT(named.out, HasSubstr("error: an entity is used that is not defined [syntax]\n"));
    EXPECT_THAT(named.out, Not(HasSubstr("phrase")));
    const std::string bytes = directory_.write("b.xml", "<c><g><a>\xFFkey</a></g></c>");
    EXPECT_THAT(run({"validate", bytes}).out, Not(HasSubstr("Bytes")));
}

TEST_F(Tool, ValidateFindsNothingToWarnOfInTheFilesThatComeWithIt) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(CORVID_DATA_DIRECTORY)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".xml" || extension == ".properties") {
            const support::Ended ended = run({"validate", "--strict", entry.path().string()});
            EXPECT_EQ(ended.status, 0) << ended.out;
        }
    }
}
