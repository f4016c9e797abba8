#include "xml/DocumentInspector.h"

#include "StoreTestSupport.h"

namespace storetests {
namespace {

using Form = DocumentReport::Form;
using Kind = DocumentReport::Kind;

class Inspector : public StoreTest {
protected:
    DocumentReport inspect(const std::string& document, const std::string& name = "document.xml") const {
        return inspectDocument(write(name, document));
    }
};

std::vector<std::string> told(const std::vector<DocumentReport::Finding>& findings) {
    std::vector<std::string> lines;
    for (const auto& finding : findings) {
        lines.push_back(std::to_string(finding.line) + ": " + finding.text);
    }
    return lines;
}

std::string repeated(const std::string& text, int count) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

std::vector<std::pair<Kind, std::wstring>> kindsAndKeys(const std::vector<DocumentReport::Finding>& findings) {
    std::vector<std::pair<Kind, std::wstring>> pairs;
    for (const auto& finding : findings) {
        pairs.emplace_back(finding.kind, finding.key);
    }
    return pairs;
}

TEST_F(Inspector, ListsTheEntriesOfTheServerForm) {
    const auto report = inspect("<r>\n<G>\n<A sensitive='true'> 1 </A>\n<B>2</B>\n</G>\n</r>");
    EXPECT_TRUE(report.valid);
    EXPECT_EQ(report.form, Form::Server);
    ASSERT_EQ(report.entries.size(), 2u);
    EXPECT_EQ(report.entries[0].key, L"a");
    EXPECT_EQ(report.entries[0].value, L"1");
    EXPECT_EQ(report.entries[0].line, 3);
    EXPECT_TRUE(report.entries[0].sensitive);
    EXPECT_FALSE(report.entries[0].isMarkup);
    EXPECT_FALSE(report.entries[1].sensitive);
    EXPECT_TRUE(report.warnings.empty());
    EXPECT_TRUE(report.errors.empty());
}

TEST_F(Inspector, WarnsOfDuplicateKeys) {
    const auto report = inspect("<r><G>\n<A>1</A>\n<a sensitive='true'>2</a></G></r>");
    ASSERT_EQ(report.entries.size(), 1u);
    EXPECT_FALSE(report.entries[0].sensitive);
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("3: duplicate key is ignored, line 2 counts: a"));
}

TEST_F(Inspector, WarnsOfTextThatStandsOutsideAGroup) {
    const auto report = inspect("<r>\n<Lost>text</Lost>\n<Empty/><G><A>1</A></G></r>");
    EXPECT_THAT(told(report.warnings),
                testing::ElementsAre("2: element outside a group gives no key and its text is lost: Lost"));
    EXPECT_EQ(report.warnings[0].key, L"Lost");
    EXPECT_EQ(report.entries.size(), 1u);
}

TEST_F(Inspector, WarnsOfMarkupValues) {
    const auto report = inspect("<r><G>\n<List><Item>1</Item></List></G></r>");
    ASSERT_EQ(report.entries.size(), 1u);
    EXPECT_TRUE(report.entries[0].isMarkup);
    EXPECT_EQ(report.entries[0].value, L"<List><Item>1</Item></List>");
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("2: value is the element's own mark-up: List"));
}

TEST_F(Inspector, WarnsOfTheKeyThatXmlStoresHide) {
    const auto report = inspect("<r><G>\n<certificateVALIDATIONEnabled>0</certificateVALIDATIONEnabled></G></r>");
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("2: key is never answered from a configuration document: "
                                                            "certificateVALIDATIONEnabled"));
    EXPECT_EQ(report.entries.size(), 1u);
}

TEST_F(Inspector, RecognisesTheLocalForm) {
    const auto report = inspect("<Corvid>\n<USERCONFIG name='Key' value=' V '/>\n<userConfig value='lost'/>\n"
                                "<userConfig name='KEY' value='2'/>\n<userConfig name='b'/></Corvid>");
    EXPECT_TRUE(report.valid);
    EXPECT_EQ(report.form, Form::Local);
    ASSERT_EQ(report.entries.size(), 2u);
    EXPECT_EQ(report.entries[0].key, L"key");
    EXPECT_EQ(report.entries[0].value, L" V ");
    EXPECT_EQ(report.entries[0].line, 2);
    EXPECT_EQ(report.entries[1].key, L"b");
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("3: entry without a name is ignored",
                                                            "4: duplicate key is ignored, line 2 counts: key"));
}

TEST_F(Inspector, ReadsAFileInTheFormOfItsName) {
    EXPECT_EQ(formOfFile("CORVIDlocalConfig.xml"), Form::Local);
    EXPECT_EQ(formOfFile("corvid-config-defaults.XML"), Form::Local);
    EXPECT_EQ(formOfFile("corvid-config-user.xml"), Form::Server);
    EXPECT_EQ(formOfFile("Corvid-Config.xml"), Form::Server);
    EXPECT_EQ(formOfFile("cachedTFTPConfigStore.xml"), Form::Server);
    EXPECT_EQ(formOfFile("CACHEDa.XML"), Form::Server);
    EXPECT_EQ(formOfFile("cached.xml"), std::nullopt);
    EXPECT_EQ(formOfFile("cachedTFTPConfigStore.txt"), std::nullopt);
    EXPECT_EQ(formOfFile("document.xml"), std::nullopt);
}

TEST_F(Inspector, RefusesGroupsOfEntriesInALocalFile) {
    const auto report = inspect("<r>\n<G><A>1</A></G></r>", "corvidLocalConfig.xml");
    EXPECT_FALSE(report.valid);
    EXPECT_EQ(report.form, Form::Local);
    EXPECT_FALSE(report.formIsGuessed);
    EXPECT_TRUE(report.entries.empty());
    EXPECT_THAT(told(report.errors),
                testing::ElementsAre("1: no key is read from it: a file of this name is read as a local file, of "
                                     "\"userConfig\" elements, and this one has groups of entries"));
}

TEST_F(Inspector, RefusesLocalEntriesInAConfigurationDocument) {
    const auto report = inspect("<Corvid><userConfig name='a' value='1'/></Corvid>", "corvid-config-user.xml");
    EXPECT_FALSE(report.valid);
    EXPECT_EQ(report.form, Form::Server);
    EXPECT_TRUE(report.entries.empty());
    EXPECT_THAT(told(report.errors),
                testing::ElementsAre("1: no key is read from it: a file of this name is read as a configuration "
                                     "document, of groups of entries, and this one has \"userConfig\" elements"));
}

TEST_F(Inspector, TakesAnEmptyDocumentInAnyPlace) {
    for (const char* const name : {"corvidLocalConfig.xml", "corvid-config-user.xml", "document.xml"}) {
        EXPECT_TRUE(inspect("<Corvid/>", name).valid) << name;
    }
}

TEST_F(Inspector, SaysWhenItGuessedTheForm) {
    EXPECT_TRUE(inspect("<r><userConfig name='a' value='1'/></r>").formIsGuessed);
    EXPECT_FALSE(inspectDocument(write("document.xml", "<r><G><A>1</A></G></r>"), Form::Server).formIsGuessed);
}

TEST_F(Inspector, WarnsOfWhatIsIgnoredInALocalFile) {
    const auto report = inspect("<Corvid>\n<other><deep/></other>\n<box>\n<userConfig name='a' value='1'>\n"
                                "<x/></userConfig>\n</box>lost</Corvid>");
    EXPECT_EQ(report.entries.size(), 1u);
    EXPECT_THAT(told(report.warnings),
                testing::ElementsAre("1: text is ignored in: Corvid", "2: element is ignored: other",
                                     "5: element is ignored: x"));
}

TEST_F(Inspector, WarnsOfTextBesideGroupsAndEntries) {
    const auto report = inspect("<r>lost\n<G>lost<A>1</A></G>\n<H><!-- no text -->\n<B>2</B></H></r>");
    EXPECT_EQ(report.entries.size(), 2u);
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("1: text is ignored in: r", "2: text is ignored in: G"));
}

TEST_F(Inspector, MovesTheVoicemailKeyAsTheStoreOfThatFileWould) {
    const std::string document = "<r><userConfig name='VVM_Mailstore_Server_0' value='h'/></r>";
    EXPECT_EQ(inspect(document, "corvidLocalConfig.xml").entries.at(0).key, L"VoicemailPrimaryServer");
    EXPECT_EQ(inspect(document, "corvid-config-defaults.xml").entries.at(0).key, L"vvm_mailstore_server_0");
}

TEST_F(Inspector, TellsLineAndColumnOfAnError) {
    const auto report = inspect("<r>\n<G>\n  <A>1</B>\n</G></r>");
    EXPECT_FALSE(report.valid);
    EXPECT_TRUE(report.entries.empty());
    ASSERT_FALSE(report.errors.empty());
    EXPECT_EQ(report.errors[0].line, 3);
    EXPECT_EQ(report.errors[0].column, 11);
    EXPECT_EQ(report.errors[0].text, "Opening and ending tag mismatch: A line 3 and B");
}

TEST_F(Inspector, GivesEveryFindingItsKindAndItsKey) {
    const auto server = inspect("<r>lost<Key>lost</Key><G><A>1</A><a>2</a><B><i/></B><x:C/>"
                                "<CertificateValidationEnabled>0</CertificateValidationEnabled></G></r>");
    const std::vector<std::pair<Kind, std::wstring>> expected = {
        {Kind::Syntax, L""},        {Kind::IgnoredText, L""},  {Kind::LostEntry, L"Key"},
        {Kind::DuplicateKey, L"a"}, {Kind::MarkupValue, L"b"}, {Kind::NeverAnswered, L"certificatevalidationenabled"}};
    EXPECT_EQ(kindsAndKeys(server.warnings), expected);
    const auto local = inspect("<r><userConfig value='1'/><x/></r>", "corvidLocalConfig.xml");
    const std::vector<std::pair<Kind, std::wstring>> expectedOfLocal = {{Kind::LostEntry, L""},
                                                                        {Kind::IgnoredElement, L""}};
    EXPECT_EQ(kindsAndKeys(local.warnings), expectedOfLocal);
    EXPECT_EQ(inspect("<r><G><a/></G></r>", "corvidLocalConfig.xml").errors.at(0).kind, Kind::WrongForm);
    EXPECT_EQ(inspect("<r>").errors.at(0).kind, Kind::Syntax);
    EXPECT_EQ(inspectDocument(path("none.xml")).errors.at(0).kind, Kind::Unreadable);
}

TEST_F(Inspector, KeepsTheSpellingOfAKey) {
    EXPECT_EQ(inspect("<r><G><MixedCase/></G></r>").entries.at(0).name, L"MixedCase");
    const auto moved = inspect("<r><userConfig name='VVM_Mailstore_Server_0'/></r>", "corvidLocalConfig.xml");
    EXPECT_EQ(moved.entries.at(0).name, L"VVM_Mailstore_Server_0");
}

TEST_F(Inspector, TellsAMissingFile) {
    const auto report = inspectDocument(path("none.xml"));
    EXPECT_FALSE(report.valid);
    EXPECT_THAT(told(report.errors), testing::ElementsAre("0: file does not exist"));
}

TEST_F(Inspector, TellsAFolder) {
    const auto report = inspectDocument(world_.directory().path());
    EXPECT_FALSE(report.valid);
    EXPECT_FALSE(report.errors.empty());
}

TEST_F(Inspector, CallsAComplaintAboutAReadableDocumentAWarning) {
    const auto report = inspect("<r><G><x:A>1</x:A></G></r>");
    EXPECT_TRUE(report.valid);
    EXPECT_TRUE(report.errors.empty());
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("1: Namespace prefix x on A is not defined"));
}

TEST_F(Inspector, TellsTheErrorsOfAnUnreadableDocumentFromItsWarnings) {
    const auto report = inspect("<r xmlns='relative'><a></r>");
    EXPECT_FALSE(report.valid);
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("1: xmlns: URI relative is not absolute"));
    EXPECT_THAT(told(report.errors), testing::Contains("1: Opening and ending tag mismatch: a line 1 and r"));
}

TEST_F(Inspector, TellsTheFirstThousandProblemsOfADocumentAndHowManyMoreThereAre) {
    const auto report = inspect("<r>" + repeated("<x:A/>\n", 1500) + "<G><B>1</B></G></r>");
    EXPECT_TRUE(report.valid);
    EXPECT_EQ(report.entries.size(), 1u);
    ASSERT_EQ(report.warnings.size(), 1001u);
    EXPECT_EQ(told(report.warnings)[999], "1000: Namespace prefix x on A is not defined");
    EXPECT_EQ(told(report.warnings)[1000], "1001: further problems from here on: 500");
}

TEST_F(Inspector, TellsOfAThousandProblemsAsTheyAre) {
    const auto report = inspect("<r>" + repeated("<x:A/>\n", 1000) + "</r>");
    ASSERT_EQ(report.warnings.size(), 1000u);
    EXPECT_EQ(told(report.warnings).back(), "1000: Namespace prefix x on A is not defined");
}

TEST_F(Inspector, TellsWhatMakesADocumentUnreadableAfterAnyNumberOfProblems) {
    const auto report = inspect("<r>" + repeated("<x:A/>\n", 1500) + "<a></r>");
    EXPECT_FALSE(report.valid);
    ASSERT_EQ(report.errors.size(), 1002u);
    EXPECT_EQ(told(report.errors)[1000], "1501: Opening and ending tag mismatch: a line 1501 and r");
    EXPECT_THAT(told(report.errors)[1001], testing::StartsWith("1001: further problems from here on: "));
}

TEST_F(Inspector, TellsOfALimitAfterAnyNumberOfProblems) {
    std::string attributes;
    for (int number = 0; number < 1001; ++number) {
        attributes += " a" + std::to_string(number) + "=''";
    }
    const auto report = inspect("<r>" + repeated("<x:A/>\n", 1500) + "<a" + attributes + "/></r>");
    EXPECT_FALSE(report.valid);
    EXPECT_THAT(told(report.errors), testing::Contains("1501: an element has more than 1000 attributes"));
}

TEST_F(Inspector, WarnsOfTheFirstThousandPlacesOfEachKindAndTellsHowManyMoreThereAre) {
    const auto report = inspect("<r><G>" + repeated("<A>1</A>\n", 1503) + "</G>" + repeated("<Lost>x</Lost>", 1000) +
                                "text<H><b><c/></b></H></r>");
    ASSERT_EQ(report.warnings.size(), 1000u + 1 + 1000 + 1 + 1);
    std::vector<DocumentReport::Finding> ofKeys;
    std::copy_if(report.warnings.begin(), report.warnings.end(), std::back_inserter(ofKeys),
                 [](const auto& warning) { return warning.kind == Kind::DuplicateKey; });
    ASSERT_EQ(ofKeys.size(), 1001u);
    EXPECT_EQ(told(ofKeys)[999], "1001: duplicate key is ignored, line 1 counts: a");
    EXPECT_EQ(told(ofKeys)[1000], "1002: further such places from here on: 502");
    EXPECT_EQ(ofKeys[1000].key, L"");
}

TEST_F(Inspector, NeverMovesOrChangesAFile) {
    for (const char* const document : {"<r><userConfig name='a' value='1'/>", "<r><userConfig name='a'/></r>"}) {
        inspect(document, "corvidLocalConfig.xml");
        EXPECT_EQ(read("corvidLocalConfig.xml"), document);
        EXPECT_FALSE(world_.directory().exists("corvidLocalConfig-backup.xml"));
    }
}

TEST_F(Inspector, AgreesWithTheParserAboutTheServerForm) {
    const std::string document =
        serverDocument("<A>1</A><B><c/></B><a>2</a><ConnectionPassword>x</ConnectionPassword>");
    Map entries;
    for (const auto& entry : inspect(document).entries) {
        entries[entry.key] = entry.value;
    }
    EXPECT_EQ(entries, parse(document));
}

TEST_F(Inspector, ReadsALargeLocalFileAsTheStoreDoes) {
    const auto report = inspect("<r><userConfig name='a' value='" + std::string(10 * 1024 * 1024, 'x') + "'/></r>");
    EXPECT_TRUE(report.valid);
    EXPECT_TRUE(report.errors.empty());
    EXPECT_TRUE(report.warnings.empty());
    ASSERT_EQ(report.entries.size(), 1u);
    EXPECT_EQ(report.entries[0].value.size(), 10u * 1024 * 1024);
}

TEST_F(Inspector, TakesADeviceForAnEmptyFileWithoutReadingIt) {
    const auto report = inspectDocument("/dev/zero");
    EXPECT_FALSE(report.valid);
    EXPECT_EQ(told(report.errors), std::vector<std::string>{"1: Document is empty"});
}

TEST_F(Inspector, WarnsOfTextInCDataAndOfEntitiesBesideElements) {
    const auto report = inspect("<!DOCTYPE r [<!ENTITY e 'x'>]>\n<r>\n<G><![CDATA[lost]]><A>1</A></G>\n"
                                "<H>&e;<B>2</B></H>\n</r>");
    EXPECT_EQ(told(report.warnings),
              (std::vector<std::string>{"3: text is ignored in: G", "4: text is ignored in: H"}));
}

}  // namespace
}  // namespace storetests
