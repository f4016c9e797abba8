#include "xml/DocumentInspector.h"
#include "StoreTestSupport.h"

namespace storetests {
namespace {

using Form = DocumentReport::Form;

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
    EXPECT_THAT(told(report.warnings), testing::ElementsAre("3: duplicate key is ignored: a"));
}

TEST_F(Inspector, WarnsOfTextThatStandsOutsideAGroup) {
    const auto report = inspect("<r>\n<Lost>text</Lost>\n<Empty/><G><A>1</A></G></r>");
    EXPECT_THAT(told(report.warnings),
                testing::ElementsAre("2: element outside a group gives no key and its text is lost: Lost"));
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
    EXPECT_THAT(told(report.warnings),
                testing::ElementsAre("3: entry without a name is ignored", "4: duplicate key is ignored: key"));
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

}  // namespace
}  // namespace storetests
