#include "StoreTestSupport.h"

namespace storetests {
namespace {

class XmlConfigParserReading : public StoreTest {
protected:
    ConfigMap values_;
    SensitiveKeySet sensitiveKeys_;
};

const char* const malformedText =
    "\n************\nError Invalid XML syntax detected - Unable to read xml configuration.\n************";

TEST_F(XmlConfigParserReading, FlattensTheGroupsOfARootOfAnyName) {
    EXPECT_EQ(parse("<any><Phone><A>1</A></Phone><Mail><B>2</B></Mail></any>"), (Map{{L"a", L"1"}, {L"b", L"2"}}));
}

TEST_F(XmlConfigParserReading, LowersTheCaseOfKeys) {
    EXPECT_EQ(parse(serverDocument("<TFTPPrimaryServer>h</TFTPPrimaryServer>")), (Map{{L"tftpprimaryserver", L"h"}}));
}

TEST_F(XmlConfigParserReading, TakesTheLocalNameOfAnElementWithAPrefix) {
    EXPECT_EQ(parse(serverDocument("<p:Key xmlns:p='urn:x'>v</p:Key>")), (Map{{L"key", L"v"}}));
}

TEST_F(XmlConfigParserReading, IgnoresTextCommentsAndAttributesUnderTheRoot) {
    EXPECT_EQ(parse("<r a='1'>text<!-- c --><G b='2'><K c='3'>v</K></G>more</r>"), (Map{{L"k", L"v"}}));
}

TEST_F(XmlConfigParserReading, TakesNoKeyFromAChildOfTheRootThatHoldsOnlyText) {
    EXPECT_EQ(parse("<r><Lost>text</Lost><G><K>v</K></G></r>"), (Map{{L"k", L"v"}}));
}

TEST_F(XmlConfigParserReading, KeepsTheFirstOfAKeyThatStandsInTwoGroups) {
    EXPECT_TRUE(XmlConfigParser::readFromMemory(
        "<r><G><Key>first</Key></G><H><KEY sensitive='true'>second</KEY></H></r>", values_, sensitiveKeys_));
    EXPECT_EQ(plain(values_), (Map{{L"key", L"first"}}));
    EXPECT_TRUE(sensitiveKeys_.empty()) << "the mark of an element that is passed over";
}

TEST_F(XmlConfigParserReading, AddsTheEntriesOfOneGroupToThoseThatAreThere) {
    const std::shared_ptr<xmlDoc> document(
        xmlReadDoc(BAD_CAST "<G><A>new</A><B sensitive='true'>2</B></G>", "", nullptr, 0), xmlFreeDoc);
    values_ = {{L"a", L"former"}};
    XmlConfigParser::parseXmlGroup(document, xmlDocGetRootElement(document.get()), values_, sensitiveKeys_);
    EXPECT_EQ(plain(values_), (Map{{L"a", L"former"}, {L"b", L"2"}}));
    EXPECT_EQ(sensitiveKeys_.count(L"b"), 1u);
}

TEST_F(XmlConfigParserReading, ReadsEntriesThatReferToOneAnotherByIdentifiers) {
    EXPECT_EQ(parse("<!DOCTYPE r [<!ATTLIST A id ID #IMPLIED><!ATTLIST B of IDREF #IMPLIED>]>"
                    "<r><G><A id='one'>1</A><B of='one'>2</B><B of='none'>3</B></G></r>"),
              (Map{{L"a", L"1"}, {L"b", L"2"}}));
}

TEST_F(XmlConfigParserReading, TrimsAValueOfText) {
    EXPECT_EQ(parse(serverDocument("<K> \t\r\n value with blanks \n</K>")), (Map{{L"k", L"value with blanks"}}));
}

TEST_F(XmlConfigParserReading, KeepsAnEmptyElementAsAnEmptyValue) {
    EXPECT_EQ(parse(serverDocument("<A/><B></B><C>  </C>")), (Map{{L"a", L""}, {L"b", L""}, {L"c", L""}}));
}

TEST_F(XmlConfigParserReading, KeepsAValueBesideACommentAsUntrimmedMarkup) {
    EXPECT_EQ(parse(serverDocument("<Key a=\"1\"> v <!-- why --></Key>")),
              (Map{{L"key", L"<Key a=\"1\"> v <!-- why --></Key>"}}));
}

TEST_F(XmlConfigParserReading, KeepsANestedElementAsMarkup) {
    EXPECT_EQ(parse(serverDocument("<List><Item>1</Item><Item>2</Item></List>")),
              (Map{{L"list", L"<List><Item>1</Item><Item>2</Item></List>"}}));
}

TEST_F(XmlConfigParserReading, KeepsAProcessingInstructionAsMarkup) {
    EXPECT_EQ(parse(serverDocument("<K>v<?do it?></K>")), (Map{{L"k", L"<K>v<?do it?></K>"}}));
}

TEST_F(XmlConfigParserReading, KeepsAnEntityReferenceAsMarkup) {
    EXPECT_EQ(parse("<!DOCTYPE r [<!ENTITY e 'text'>]><r><G><K>a&e;</K></G></r>"), (Map{{L"k", L"<K>a&e;</K>"}}));
}

TEST_F(XmlConfigParserReading, JoinsCdataAndTextAndTrimsTheWhole) {
    EXPECT_EQ(parse(serverDocument("<K> a <![CDATA[ <b> ]]> c </K>")), (Map{{L"k", L"a  <b>  c"}}));
}

TEST_F(XmlConfigParserReading, KeepsTextBeyondAscii) {
    EXPECT_EQ(parse(serverDocument("<K>Gr\xC3\xBC\xC3\x9F &#x1F600;</K>")),
              (Map{{L"k", L"Gr\u00fc\u00df \U0001F600"}}));
}

TEST_F(XmlConfigParserReading, MarksAKeyAsSensitiveWhateverTheCaseOfTheAttribute) {
    const std::string document =
        serverDocument("<A sensitive='true'>1</A><B SENSITIVE='TRUE'>2</B><C Sensitive='yes'>3</C><D>4</D>");
    EXPECT_TRUE(XmlConfigParser::readFromMemory(document, values_, sensitiveKeys_));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"a", L"b", L"c"));
}

TEST_F(XmlConfigParserReading, LooksAtTheFirstSensitiveAttributeOnly) {
    const std::string document = serverDocument("<A sensitive='false' Sensitive='true'>1</A>");
    EXPECT_TRUE(XmlConfigParser::readFromMemory(document, values_, sensitiveKeys_));
    EXPECT_TRUE(sensitiveKeys_.empty());
}

TEST_F(XmlConfigParserReading, MarksAKeyThroughAnEntityOfTheDocumentToo) {
    const std::string document =
        "<!DOCTYPE r [<!ENTITY yes 'true'><!ENTITY no 'false'>]><r><G><A sensitive='&yes;'>1</A>"
        "<B sensitive='true&no;'>2</B><C sensitive='&no;'>3</C></G></r>";
    EXPECT_TRUE(XmlConfigParser::readFromMemory(document, values_, sensitiveKeys_));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"a", L"b"));
}

TEST_F(XmlConfigParserReading, TakesNoOtherAttributeForTheMark) {
    const std::string document = serverDocument("<A other='true'>1</A><B other='false' sensitive='true'>2</B>");
    EXPECT_TRUE(XmlConfigParser::readFromMemory(document, values_, sensitiveKeys_));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"b"));
}

TEST_F(XmlConfigParserReading, TreatsAnEmptySensitiveAttributeAsNoMark) {
    EXPECT_TRUE(XmlConfigParser::readFromMemory(serverDocument("<A sensitive=''>1</A>"), values_, sensitiveKeys_));
    EXPECT_TRUE(sensitiveKeys_.empty());
}

TEST_F(XmlConfigParserReading, LeavesAKeyInTheSetWhenTheDocumentSaysFalse) {
    sensitiveKeys_.insert(L"a");
    EXPECT_TRUE(XmlConfigParser::readFromMemory(serverDocument("<A sensitive='false'>1</A>"), values_, sensitiveKeys_));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"a"));
}

TEST_F(XmlConfigParserReading, ReadsPeerToPeerCallingAsOffUnderFips) {
    const std::string document = serverDocument("<Telephony_P2P_Enabled>true</Telephony_P2P_Enabled>");
    EXPECT_EQ(parse(document), (Map{{L"telephony_p2p_enabled", L"true"}}));
    world_.setFips(true);
    EXPECT_EQ(parse(document), (Map{{L"telephony_p2p_enabled", L"false"}}));
}

TEST_F(XmlConfigParserReading, ReportsAMalformedText) {
    values_[L"old"] = L"value";
    sensitiveKeys_.insert(L"old");
    EXPECT_FALSE(XmlConfigParser::readFromMemory("<r><G>", values_, sensitiveKeys_));
    EXPECT_TRUE(values_.empty());
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"old"));
    EXPECT_EQ(log_->count(2, malformedText), 1u);
    EXPECT_EQ(linesOf(log_, "XmlConfigParser").size(), 1u);
}

TEST_F(XmlConfigParserReading, PassesOverAnEmptyTextInSilence) {
    values_[L"old"] = L"value";
    EXPECT_FALSE(XmlConfigParser::readFromMemory("", values_, sensitiveKeys_));
    EXPECT_TRUE(values_.empty());
    EXPECT_TRUE(log_->lines().empty());
}

TEST_F(XmlConfigParserReading, CallsADocumentWithoutKeysASuccess) {
    values_[L"old"] = L"value";
    EXPECT_TRUE(XmlConfigParser::readFromMemory("<r/>", values_, sensitiveKeys_));
    EXPECT_TRUE(values_.empty());
}

TEST_F(XmlConfigParserReading, ReportsThatItIsGivenNoDocument) {
    EXPECT_FALSE(XmlConfigParser::parseXmlConfig(nullptr, values_, sensitiveKeys_));
    EXPECT_EQ(log_->count(2, malformedText), 1u);
}

TEST_F(XmlConfigParserReading, ReportsADocumentWithoutARoot) {
    const std::shared_ptr<xmlDoc> document(xmlNewDoc(BAD_CAST "1.0"), xmlFreeDoc);
    EXPECT_FALSE(XmlConfigParser::parseXmlConfig(document, values_, sensitiveKeys_));
    EXPECT_EQ(log_->count(3, "XML document root element not available."), 1u);
}

TEST_F(XmlConfigParserReading, AddsToTheMapWhenItIsGivenADocument) {
    values_[L"a"] = L"kept";
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<r><G><A>1</A><B>2</B></G></r>", "", nullptr, 0),
                                           xmlFreeDoc);
    EXPECT_TRUE(XmlConfigParser::parseXmlConfig(document, values_, sensitiveKeys_));
    EXPECT_EQ(plain(values_), (Map{{L"a", L"kept"}, {L"b", L"2"}}));
}

TEST_F(XmlConfigParserReading, ReadsAFile) {
    const std::string file = write("c.xml", serverDocument("<A sensitive='1'>1</A>"));
    values_[L"old"] = L"value";
    sensitiveKeys_.insert(L"old");
    EXPECT_TRUE(XmlConfigParser::readFromFile(file, values_, sensitiveKeys_));
    EXPECT_EQ(plain(values_), (Map{{L"a", L"1"}}));
    EXPECT_THAT(sensitiveKeys_, testing::ElementsAre(L"a", L"old"));
}

TEST_F(XmlConfigParserReading, PassesOverAMissingFileInSilence) {
    values_[L"old"] = L"value";
    EXPECT_FALSE(XmlConfigParser::readFromFile(path("none.xml"), values_, sensitiveKeys_));
    EXPECT_TRUE(values_.empty());
    EXPECT_TRUE(log_->lines().empty());
}

TEST_F(XmlConfigParserReading, ReportsAMalformedFile) {
    values_[L"old"] = L"value";
    const std::string file = write("c.xml", "<r>");
    EXPECT_FALSE(XmlConfigParser::readFromFile(file, values_, sensitiveKeys_));
    EXPECT_TRUE(values_.empty());
    EXPECT_THAT(linesOf(log_, "XmlConfigParser"),
                testing::ElementsAre(Line{3, "XmlConfigParser", "readFromFile",
                                          "XML in file did not exist or is an invalid XML document: " + file}));
}

TEST_F(XmlConfigParserReading, FindsNoTextInAnElementWhoseFirstChildHasNone) {
    const std::shared_ptr<xmlDoc> document(xmlReadDoc(BAD_CAST "<K><x/>text</K>", "", nullptr, 0), xmlFreeDoc);
    EXPECT_EQ(XmlConfigParser::extractStringFromXmlNode(xmlDocGetRootElement(document.get())), "");
}

}  // namespace
}  // namespace storetests
