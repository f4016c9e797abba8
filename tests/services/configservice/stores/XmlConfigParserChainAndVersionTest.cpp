#include "StoreTestSupport.h"
#include "xml/XmlDocument.h"

namespace storetests {
namespace {

class ChainedConfigFile : public StoreTest {
protected:
    ChainedStoreMap readChain(const std::string& document) {
        ChainedStoreMap stores;
        EXPECT_FALSE(XmlConfigParser::readChainedConfigFile(write("chain.xml", document), stores));
        return stores;
    }
};

using Names = std::set<std::string>;

TEST_F(ChainedConfigFile, FindsDeclarationsAtAnyDepthAndAccumulatesThem) {
    const auto stores =
        readChain("<any><ConfigStore name='A' chainedTo='B'/><x><y><ConfigStore name='a' chainedTo='C'/></y></x>"
                  "<ConfigStore name='D' chainedTo='A'><ConfigStore name='E' chainedTo='D'/></ConfigStore></any>");
    EXPECT_EQ(stores, (ChainedStoreMap{{"A", Names{"B", "C"}}, {"D", Names{"A"}}, {"E", Names{"D"}}}));
}

TEST_F(ChainedConfigFile, FindsADeclarationThatIsTheRoot) {
    EXPECT_EQ(readChain("<ConfigStore name='A' chainedTo='B'/>"), (ChainedStoreMap{{"A", Names{"B"}}}));
}

TEST_F(ChainedConfigFile, ComparesNamesWithoutRegardToCase) {
    EXPECT_EQ(readChain("<r><CONFIGSTORE NAME='A' CHAINEDTO='B' other='C'/></r>"),
              (ChainedStoreMap{{"A", Names{"B"}}}));
}

TEST_F(ChainedConfigFile, TakesTheLastOfTwoAttributesOfOneName) {
    EXPECT_EQ(readChain("<r><ConfigStore name='A' Name='B' chainedTo='C' CHAINEDTO='D'/></r>"),
              (ChainedStoreMap{{"B", Names{"D"}}}));
}

TEST_F(ChainedConfigFile, IgnoresAHalfDeclaration) {
    EXPECT_TRUE(readChain("<r><ConfigStore name='A'/><ConfigStore chainedTo='B'/>"
                          "<ConfigStore name='A' chainedTo=''/><ConfigStore name='' chainedTo='B'/></r>")
                    .empty());
}

TEST_F(ChainedConfigFile, IgnoresOtherElementsWithBothAttributes) {
    EXPECT_EQ(
        readChain("<r name='A' chainedTo='B'><Store name='A' chainedTo='B'/>"
                  "<ConfigStores name='C' chainedTo='D'><ConfigStore name='E' chainedTo='F'/></ConfigStores></r>"),
        (ChainedStoreMap{{"E", Names{"F"}}}));
}

TEST_F(ChainedConfigFile, KeepsStoresToWaitForThatDifferInCase) {
    const auto stores = readChain("<r><ConfigStore name='A' chainedTo='b'/><ConfigStore name='A' chainedTo='B'/></r>");
    ASSERT_EQ(stores.size(), 1u);
    EXPECT_THAT(stores.begin()->second, testing::ElementsAre("B", "b"));
}

TEST_F(ChainedConfigFile, LogsEachDeclaration) {
    readChain("<r><ConfigStore name='A' chainedTo='B'/></r>");
    EXPECT_EQ(log_->count(4, "ConfigStore: [A] depends on ConfigStore [B]"), 1u);
}

TEST_F(ChainedConfigFile, PassesOverAMissingFileInSilence) {
    ChainedStoreMap stores;
    EXPECT_FALSE(XmlConfigParser::readChainedConfigFile(path("none.xml"), stores));
    EXPECT_TRUE(stores.empty());
    EXPECT_TRUE(log_->lines().empty());
}

TEST_F(ChainedConfigFile, ReportsAMalformedFile) {
    EXPECT_TRUE(readChain("<r>").empty());
    EXPECT_EQ(log_->count(3, "XML in file did not exist or is an invalid XML document: " + path("chain.xml")), 1u);
}

TEST_F(ChainedConfigFile, EndsItsWalkBeforeItBeginsWithoutANode) {
    ChainedStoreMap stores;
    XmlConfigParser::parseChainedConfigXml(nullptr, stores);
    EXPECT_TRUE(stores.empty());
}

TEST_F(ChainedConfigFile, IsWalkedFromAnyNodeOverItsFollowingSiblingsAndWhatIsBelowThem) {
    const std::string text =
        "<r><g><ConfigStore name='A' chainedTo='0'/><ConfigStore name='B' chainedTo='0'><x><ConfigStore name='InB' "
        "chainedTo='0'/></x></ConfigStore><ConfigStore name='C' chainedTo='0'/></g>"
        "<ConfigStore name='BehindTheParent' chainedTo='0'/></r>";
    const std::shared_ptr<xmlDoc> document = readXmlMemory(text.data(), text.length(), "chain.xml");
    xmlNode* const first = xmlDocGetRootElement(document.get())->children->children;
    const ChainedStoreMap fromTheSecond = {{"B", Names{"0"}}, {"C", Names{"0"}}, {"InB", Names{"0"}}};
    ChainedStoreMap stores;
    XmlConfigParser::parseChainedConfigXml(first->next, stores);
    EXPECT_EQ(stores, fromTheSecond);
    ChainedStoreMap fromTheFirst = fromTheSecond;
    fromTheFirst["A"] = Names{"0"};
    stores.clear();
    XmlConfigParser::parseChainedConfigXml(first, stores);
    EXPECT_EQ(stores, fromTheFirst);
}

using VersionResponse = StoreTest;

TEST_F(VersionResponse, GivesTheTrimmedTextOfTheVersionElement) {
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<info><version> 10.5.2 </version></info>"), "10.5.2");
}

TEST_F(VersionResponse, GivesTheLastOfTwoVersions) {
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><version>1</version><version>2</version></i>"), "2");
}

TEST_F(VersionResponse, GivesTheTextBesideACommentOrAnElement) {
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><version>10<!-- c -->.5</version></i>"), "10.5");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><version>10<b>9</b>.5</version></i>"), "10.5");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><version><b>9</b>10</version></i>"), "")
        << "the first child has no text";
}

TEST_F(VersionResponse, FindsNoVersionInAnotherCaseOrDepth) {
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><Version>1</Version></i>"), "");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i><x><version>1</version></x></i>"), "");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<version>1</version>"), "");
}

TEST_F(VersionResponse, GivesNothingForAnUnreadableTextInSilence) {
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(""), "");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("<i>"), "");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse("\xFF\xFE not xml"), "");
    EXPECT_TRUE(log_->lines().empty());
}

}  // namespace
}  // namespace storetests
