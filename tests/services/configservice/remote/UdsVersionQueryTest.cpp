#include "uds/UdsVersionQuery.h"

#include "RemoteFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

std::string versionDocument(const std::string& version) {
    return "<?xml version=\"1.0\"?><versionInformation><version>" + version + "</version></versionInformation>";
}

std::string urlOf(const std::string& address) { return "https://" + address + ":8443/hubm-uds/version"; }

/// How the server's version is found.
class UdsVersion : public RemoteFixture {
protected:
    void holdServers(const std::wstring& primary, const std::wstring& backup1, const std::wstring& backup2) const {
        featureSet->holdValue(L"HubcipServer1", primary);
        featureSet->holdValue(L"HubcipServer2", backup1);
        featureSet->holdValue(L"HubcipServer3", backup2);
    }

    /// From here on this server answers, and no other.
    void answerFrom(const std::string& address, const std::string& body) const {
        transport->setAnswer(
            [url = urlOf(address), body](const std::string& asked) { return asked == url ? body : std::string(); });
    }

    /// The first server answers without a version, the second with one.
    void expectTheNextToBeAskedAfter(const std::string& body) {
        transport->setAnswer(
            [body](const std::string& asked) { return asked == urlOf("one") ? body : versionDocument("9"); });
        EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 9);
        EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one"), urlOf("two")));
    }

    std::vector<std::string> udsLines(int level = 4) const { return lines(level, "UdsVersionQuery"); }

    const std::shared_ptr<DownloadJournal> journal = std::make_shared<DownloadJournal>();
    UdsVersionQuery query{factory, journal};
};

const std::string EMPTY_RESPONSE =
    "parseUdsVersionResponse: ERROR: The UDS version http response was empty. Cannot parse the UDS server version.";
const std::string NOT_FOUND = "getUdsVersion: The UDS version is invalid or empty: ";
const std::string COMPLETE = "getUdsVersion: The UDS version query is complete. Version retrieved is: ";

}  // namespace

TEST_F(UdsVersion, IsReadFromConfigurationWithoutARequest) {
    holdVersion(L"11.5");
    holdServers(L"primary", L"", L"");
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 11);
    EXPECT_THAT(transport->sentUrls(), IsEmpty());
    EXPECT_THAT(udsLines(), ElementsAre("getUdsVersion: The UDS server version returned from config service key "
                                        "'HomeUdsVersion' is: 11.5"));
}

TEST_F(UdsVersion, IsZeroForAStoredFullStop) {
    holdVersion(L".");
    holdServers(L"primary", L"", L"");
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 0);
    EXPECT_THAT(transport->sentUrls(), IsEmpty());
}

TEST_F(UdsVersion, IsAskedOfThePrimaryServerAndStored) {
    holdServers(L"primary", L"backup1", L"backup2");
    answerFrom("primary", versionDocument("12.0"));
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 12);
    EXPECT_THAT(transport->sentUrls(), ElementsAre("https://primary:8443/hubm-uds/version"));
    EXPECT_THAT(transport->sentTimeouts(), ElementsAre(10000));
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), Contains(Call{"setInMemoryConfig", {L"HomeUdsVersion", L"12.0"}}));
    EXPECT_THAT(
        udsLines(),
        ElementsAre("getUdsVersion: The UDS server version returned from querying primary HUBCIP server 'primary' is: "
                    "12.0",
                    "getUdsVersion: The UDS version is valid. Setting In Memory config Store key to: 12.0",
                    "setInMemoryConfigStoreValue: UDS version '12.0' is set into In-Memory Config Store",
                    "getUdsVersion: The UDS version query is complete. Version retrieved is: 12.0"));
    EXPECT_THAT(udsLines(2), IsEmpty());
}

TEST_F(UdsVersion, IsAnsweredEvenIfItCannotBeStored) {
    holdServers(L"primary", L"", L"");
    answerFrom("primary", versionDocument("12.0"));
    featureSet->answerTo("setInMemoryConfig", false);
    EXPECT_EQ(query.getUdsVersion("", "", ""), 12);
    EXPECT_THAT(udsLines(2), ElementsAre("setInMemoryConfigStoreValue: ERROR: UDS version '12.0' was NOT set into "
                                         "In-Memory Config Store"));
}

TEST_F(UdsVersion, ReadsItsKeysInOrder) {
    query.getUdsVersion("", "", "");
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"getConfig", {L"HomeUdsVersion", L"false"}},
                                                 Call{"getConfig", {L"HubcipServer1", L"false"}},
                                                 Call{"getConfig", {L"HubcipServer2", L"false"}},
                                                 Call{"getConfig", {L"HubcipServer3", L"false"}}));
}

TEST_F(UdsVersion, OfAnInvalidTextIsReplacedByThePrimarysAnswer) {
    holdVersion(L"eleven");
    holdServers(L"primary", L"", L"");
    answerFrom("primary", versionDocument("10.5.2"));
    EXPECT_EQ(query.getUdsVersion("", "", ""), 10);
    EXPECT_THAT(transport->sentUrls(), SizeIs(1));
}

TEST_F(UdsVersion, OfAnInvalidTextGivesWayToTheFailoverOnceThePrimaryHasFailed) {
    holdVersion(L"eleven");
    holdServers(L"primary", L"", L"");
    answerFrom("one", versionDocument("10"));
    EXPECT_EQ(query.getUdsVersion("one", "", ""), 10);
}

TEST_F(UdsVersion, OfAnInvalidTextWithoutAPrimaryServerAsksNobody) {
    holdVersion(L"eleven");
    holdServers(L"", L"backup1", L"backup2");
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 0);
    EXPECT_THAT(transport->sentUrls(), IsEmpty());
    EXPECT_THAT(udsLines(), ElementsAre(NOT_FOUND + "eleven", COMPLETE));
    EXPECT_EQ(query.getConfigStoreHomeUdsVersion(), "eleven");
}

TEST_F(UdsVersion, OfAnAnswerWithALetterIsRejected) {
    holdServers(L"primary", L"backup1", L"");
    answerFrom("primary", versionDocument("12a"));
    EXPECT_EQ(query.getUdsVersion("", "", ""), 0);
    EXPECT_THAT(transport->sentUrls(), SizeIs(1));
    EXPECT_THAT(udsLines(), Contains(NOT_FOUND + "12a"));
    EXPECT_EQ(udsLines().back(), COMPLETE);
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), Not(Contains(Call{"setInMemoryConfig", {L"HomeUdsVersion", L"12a"}})));
}

TEST_F(UdsVersion, IsAskedOfTheFirstBackup) {
    holdServers(L"primary", L"backup1", L"backup2");
    answerFrom("backup1", versionDocument("9"));
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 9);
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("primary"), urlOf("backup1")));
    EXPECT_THAT(udsLines(), Contains("attemptUdsVersionFailover: The UDS server version returned from querying backup "
                                     "HUBCIP server1 'backup1' is: 9"));
}

TEST_F(UdsVersion, IsAskedOfTheSecondBackup) {
    holdServers(L"", L"backup1", L"backup2");
    answerFrom("backup2", versionDocument("9"));
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 9);
    EXPECT_THAT(
        udsLines(),
        ElementsAre("attemptUdsVersionFailover: The UDS server version returned from querying backup HUBCIP server1 "
                    "'backup1' is: ",
                    "attemptUdsVersionFailover: The UDS server version returned from querying backup HUBCIP server2 "
                    "'backup2' is: 9",
                    "getUdsVersion: The UDS version is valid. Setting In Memory config Store key to: 9",
                    "setInMemoryConfigStoreValue: UDS version '9' is set into In-Memory Config Store", COMPLETE + "9"));
}

TEST_F(UdsVersion, IsAskedOfTheGivenServersInOrder) {
    answerFrom("three", versionDocument("9"));
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 9);
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one"), urlOf("two"), urlOf("three")));
    EXPECT_THAT(
        std::vector<std::string>(udsLines()),
        testing::IsSupersetOf(
            {"attemptUdsVersionFailover: The UDS server version returned from querying the tftp server 'one' is: ",
             "attemptUdsVersionFailover: The UDS server version returned from querying the tftp server 'two' is: ",
             "attemptUdsVersionFailover: The UDS server version returned from querying the tftp server 'three' is: "
             "9"}));
}

TEST_F(UdsVersion, IsAskedOfNobodyFurtherOnceFound) {
    answerFrom("one", versionDocument("9"));
    query.getUdsVersion("one", "two", "three");
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one")));
}

TEST_F(UdsVersion, IsAskedForThreeTimesAtMost) {
    holdServers(L"primary", L"backup1", L"backup2");
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 0);
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("primary"), urlOf("backup1"), urlOf("backup2")));
    EXPECT_THAT(udsLines(2), ElementsAre(EMPTY_RESPONSE, EMPTY_RESPONSE, EMPTY_RESPONSE));
    EXPECT_THAT(udsLines(), Not(Contains(testing::HasSubstr("the tftp server"))));
    EXPECT_EQ(udsLines().back(), COMPLETE);
}

TEST_F(UdsVersion, IsAskedOfThePrimaryServerAgainBeyondAllLimits) {
    holdServers(L"primary", L"backup1", L"backup2");
    query.getUdsVersion("one", "two", "three");
    query.getUdsVersion("one", "two", "three");
    EXPECT_THAT(transport->sentUrls(),
                ElementsAre(urlOf("primary"), urlOf("backup1"), urlOf("backup2"), urlOf("primary")));
    answerFrom("primary", versionDocument("10"));
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 10);
}

TEST_F(UdsVersion, IsAskedOfNobodyTwiceOverTheObjectsLife) {
    query.getUdsVersion("one", "", "");
    query.getUdsVersion("one", "two", "");
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one"), urlOf("two")));
    query.getUdsVersion("three", "four", "");
    EXPECT_EQ(transport->sentUrls().back(), urlOf("three"));
    EXPECT_THAT(transport->sentUrls(), SizeIs(3));
}

TEST_F(UdsVersion, CountsThePrimaryServersRequestsToo) {
    holdServers(L"primary", L"", L"");
    query.getUdsVersion("", "", "");
    query.getUdsVersion("", "", "");
    query.getUdsVersion("one", "two", "");
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("primary"), urlOf("primary"), urlOf("primary")));
}

TEST_F(UdsVersion, IsNotAskedOfABackupThatIsThePrimaryAndCountsNoRequestForIt) {
    holdServers(L"primary", L"primary", L"backup2");
    query.getUdsVersion("one", "two", "");
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("primary"), urlOf("backup2"), urlOf("one")));
    EXPECT_FALSE(log->mentions("backup HUBCIP server1"));
}

TEST_F(UdsVersion, IsAskedOfAnAddressOfAnotherCase) {
    query.getUdsVersion("one", "ONE", "");
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one"), urlOf("ONE")));
    EXPECT_TRUE(query.isAddressBlacklisted("ONE"));
    EXPECT_FALSE(query.isAddressBlacklisted("One"));
}

TEST_F(UdsVersion, CountsAServerThatAnsweredAsUsed) {
    answerFrom("one", versionDocument("10"));
    query.getUdsVersion("one", "", "");
    EXPECT_TRUE(query.isAddressBlacklisted("one"));
    EXPECT_EQ(query.getUdsVersion("one", "", ""), 0);
}

TEST_F(UdsVersion, CountsRequestsThatWereInterruptedToo) {
    transport->failRequestsWith(WAS_CANCELLED);
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 0);
    EXPECT_TRUE(query.isAddressBlacklisted("one"));
    transport->setAnswer([](const std::string&) { return versionDocument("10"); });
    EXPECT_EQ(query.getUdsVersion("one", "two", "four"), 0);
    EXPECT_THAT(transport->sentUrls(), SizeIs(3));
    holdServers(L"primary", L"", L"");
    EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 10);
}

TEST_F(UdsVersion, IsAskedAnewOnceTheStoredOneIsGone) {
    holdServers(L"primary", L"", L"");
    holdVersion(L"9");
    EXPECT_EQ(query.getUdsVersion("", "", ""), 9);
    featureSet->dropValue(L"HomeUdsVersion");
    answerFrom("primary", versionDocument("10"));
    EXPECT_EQ(query.getUdsVersion("", "", ""), 10);
}

TEST_F(UdsVersion, OfADocumentWithoutOneIsEmptyWithoutALineOfItsOwn) {
    answerFrom("one", "<versionInformation><release>10</release></versionInformation>");
    EXPECT_EQ(query.getUdsVersion("one", "", ""), 0);
    EXPECT_THAT(udsLines(2), IsEmpty());
    EXPECT_THAT(udsLines(),
                ElementsAre("attemptUdsVersionFailover: The UDS server version returned from querying the tftp server "
                            "'one' is: ",
                            NOT_FOUND, COMPLETE));
}

TEST_F(UdsVersion, OfABodyThatIsNoDocumentIsEmpty) {
    EXPECT_EQ(UdsVersionQuery::parseUdsVersionResponse("version 10"), "");
    EXPECT_EQ(UdsVersionQuery::parseUdsVersionResponse(""), "");
}

TEST_F(UdsVersion, OfAnElementOfAnotherCaseIsEmpty) {
    EXPECT_EQ(UdsVersionQuery::parseUdsVersionResponse("<v><Version>10</Version></v>"), "");
    EXPECT_EQ(UdsVersionQuery::parseUdsVersionResponse("<v><version>10</version></v>"), "10");
}

TEST_F(UdsVersion, IsAskedOfTheNextServerAfterABodyThatIsNoDocument) { expectTheNextToBeAskedAfter("version 10"); }

TEST_F(UdsVersion, IsAskedOfTheNextServerAfterAnElementOfAnotherCase) {
    expectTheNextToBeAskedAfter("<v><Version>10</Version></v>");
}

TEST_F(UdsVersion, IsAskedOfTheNextServerAfterAnEmptyElement) { expectTheNextToBeAskedAfter(versionDocument("")); }

TEST_F(UdsVersion, IsZeroAndStoredForAnAnswerOfAFullStop) {
    answerFrom("one", versionDocument("."));
    EXPECT_EQ(query.getUdsVersion("one", "two", ""), 0);
    EXPECT_THAT(transport->sentUrls(), ElementsAre(urlOf("one")));
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), Contains(Call{"setInMemoryConfig", {L"HomeUdsVersion", L"."}}));
    EXPECT_EQ(udsLines().back(), COMPLETE + ".");
}

TEST_F(UdsVersion, IsTakenFromTheBodyWhateverTheStatus) {
    for (const int status : {404, 500}) {
        transport->setStatus(status);
        answerFrom("one", versionDocument("12.5"));
        EXPECT_EQ(UdsVersionQuery(factory, journal).getUdsVersion("one", "", ""), 12) << status;
    }
}

TEST_F(UdsVersion, IsValidIfItHasDigitsAndFullStopsOnly) {
    for (const char* valid : {"11.5", "11", ".", "", "..", "1.2.3"}) {
        EXPECT_TRUE(UdsVersionQuery::isValidUdsVersion(valid)) << valid;
    }
    for (const char* invalid : {"11a", "v11", " 11", "-1", "11,5"}) {
        EXPECT_FALSE(UdsVersionQuery::isValidUdsVersion(invalid)) << invalid;
    }
}

TEST_F(UdsVersion, IsTheNumberBeforeTheFirstOtherCharacter) {
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt("11.5"), 11);
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt("10.5.2"), 10);
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt(""), 0);
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt(".5"), 0);
}

TEST_F(UdsVersion, IsClampedTo32Bits) {
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt("2147483648"), 2147483647);
    EXPECT_EQ(UdsVersionQuery::udsVersionStringToInt(std::string(100, '9')), 2147483647);
}

TEST_F(UdsVersion, OfAServerIsWhatItAnswersNow) {
    answerFrom("one", versionDocument("10"));
    EXPECT_EQ(query.retrieveUdsVersion("one"), "10");
    EXPECT_EQ(query.retrieveUdsVersion("one"), "10");
    EXPECT_EQ(query.retrieveUdsVersion("two"), "");
}

TEST_F(UdsVersion, WithoutAFeatureSetIsUnknownUnlessAGivenServerAnswers) {
    UdsVersionQuery bare(std::make_shared<UnifiedFactory>(nullptr, nullptr), journal);
    answerFrom("one", versionDocument("10"));
    EXPECT_EQ(bare.getUdsVersion("one", "", ""), 10);
    EXPECT_THAT(udsLines(3),
                ElementsAre("getConfigStoreValue: There is no feature set to read from: HomeUdsVersion",
                            "getConfigStoreValue: There is no feature set to read from: HubcipServer1",
                            "getConfigStoreValue: There is no feature set to read from: HubcipServer2",
                            "getConfigStoreValue: There is no feature set to read from: HubcipServer3",
                            "setInMemoryConfigStoreValue: There is no feature set to keep the UDS version in."));
}

TEST_F(UdsVersion, IsReadAsHeldByTheDeviceListServers) {
    holdServers(L"primary", L"backup1", L"");
    EXPECT_EQ(query.getHUBCIPServerValue(), "primary");
    featureSet->dropValue(L"HubcipServer1");
    EXPECT_EQ(query.getHUBCIPServerValue(), "");
}

TEST_F(UdsVersion, RequestsAreKeptInTheJournal) {
    journal->beginCycle(false);
    answerFrom("two", versionDocument("10"));
    query.getUdsVersion("one", "two", "");
    const auto queries = journal->snapshot().cycles.back().versionQueries;
    ASSERT_THAT(queries, SizeIs(2));
    EXPECT_EQ(queries[0].address, "one");
    EXPECT_TRUE(queries[0].answered);
    EXPECT_EQ(queries[0].version, "");
    EXPECT_EQ(queries[1].version, "10");
}

TEST_F(UdsVersion, RequestsAreOpenInTheJournalWhileTheyRun) {
    journal->beginCycle(false);
    bool answered = true;
    transport->setAnswer([&](const std::string&) {
        answered = journal->snapshot().cycles.back().versionQueries.back().answered;
        return versionDocument("10");
    });
    query.getUdsVersion("one", "", "");
    EXPECT_FALSE(answered);
}
