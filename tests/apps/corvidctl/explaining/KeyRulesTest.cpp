#include "explaining/KeyRules.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

KeyLayer layer(const std::string& store, bool holdsKey, bool isReadOnly = true) {
    KeyLayer made;
    made.store = store;
    made.key = "Key";
    made.isReadOnly = isReadOnly;
    made.holdsKey = holdsKey;
    made.value = holdsKey ? "text" : "";
    made.state = holdsKey ? LayerState::Shadowed : LayerState::Absent;
    made.origin.shownFile = store + ".file";
    return made;
}

KeyLayer inFile(const std::string& store, int line) {
    KeyLayer made = layer(store, true);
    made.inFile = KeySource();
    made.inFile->line = line;
    return made;
}

KeyLayer memory() { return layer("InMemoryConfigStore", true, false); }

KeyLayer defaults() { return layer("corvid-config-defaults.xml", true); }

/// The first layer that holds the key wins.
Explanation explained(const std::string& key, std::vector<KeyLayer> layers) {
    Explanation made;
    made.asked = key;
    made.value.key = key;
    made.lookedUp = {"Key"};
    made.layers = std::move(layers);
    for (KeyLayer& one : made.layers) {
        if (one.holdsKey && !made.value.isDefined) {
            one.wins = true;
            one.state = LayerState::Wins;
            made.value.isDefined = true;
            made.value.value = one.value;
            made.value.valueStoreName = one.store;
            made.value.isOverridden = !one.isReadOnly;
        }
    }
    return made;
}

}  // namespace

TEST(KeyRules, SayNothingOfAnOrdinaryKey) {
    EXPECT_THAT(rulesOf(explained("Key", {inFile("A", 3), inFile("B", 4)})), IsEmpty());
    EXPECT_THAT(rulesOf(explained("Key", {})), IsEmpty());
}

TEST(KeyRules, NameTheCurrentNameOfAnOldOne) {
    Explanation key = explained("TFTPPrimaryServer", {layer("A", true)});
    key.asked = "tftpserver1";
    key.oldName = "TftpServer1";
    key.alias = "TftpServer1";
    EXPECT_THAT(rulesOf(key), ElementsAre("tftpserver1 is the old name of TFTPPrimaryServer."));
}

TEST(KeyRules, TellThatTheOldNameWasTried) {
    Explanation key = explained("TFTPPrimaryServer", {layer("A", true)});
    key.lookedUp = {"TFTPPrimaryServer", "TftpServer1"};
    key.oldName = "TftpServer1";
    key.alias = "TftpServer1";
    EXPECT_THAT(rulesOf(key),
                ElementsAre("No store holds TFTPPrimaryServer, so its old name TftpServer1 was looked up too."));
}

TEST(KeyRules, TellWhoHoldsAnOldNameThatDoesNotCount) {
    Explanation key = explained("TFTPPrimaryServer", {layer("A", true)});
    key.oldName = "TftpServer1";
    key.heldUnderOldName = {{"Mine", "mine.xml", 7}, {"InMemoryConfigStore", "", 0}};
    EXPECT_THAT(
        rulesOf(key),
        ElementsAre("Mine (mine.xml, line 7) holds the old name TftpServer1, which counts only while no store holds "
                    "TFTPPrimaryServer.",
                    "InMemoryConfigStore holds the old name TftpServer1, which counts only while no store holds "
                    "TFTPPrimaryServer."));
}

TEST(KeyRules, TellWhenFipsModeSpoke) {
    Explanation key = explained("Telephony_P2P_Enabled", {layer("A", true)});
    key.fipsRuleSpoke = true;
    EXPECT_THAT(rulesOf(key),
                ElementsAre("FIPS mode is on: peer-to-peer calling reads as \"false\" whatever the stores hold."));
}

TEST(KeyRules, TellWhatTheFilesSayInWhosePlaceFipsModeAnswers) {
    Explanation key = explained("Telephony_P2P_Enabled", {inFile("A", 3), inFile("B", 4)});
    key.fipsRuleSpoke = true;
    key.layers[0].inFile->behindFipsRule = "true";
    key.layers[1].inFile->behindFipsRule = "false";
    EXPECT_THAT(rulesOf(key), ElementsAre(testing::StartsWith("FIPS mode is on: "), "A.file, line 3, says \"true\"."));
    key.isHidden = true;
    EXPECT_THAT(rulesOf(key), ElementsAre(testing::_, testing::StartsWith("The key is sensitive")));
    key.isHidden = false;
    key.fipsRuleSpoke = false;
    EXPECT_THAT(rulesOf(key), IsEmpty());
}

TEST(KeyRules, TellWhereAFileHasAKeyInVain) {
    Explanation key = explained("Key", {});
    key.lost = {{"Mine", "mine.xml", 4}};
    EXPECT_THAT(rulesOf(key), ElementsAre("mine.xml, line 4, has it outside any group, so it is lost."));
}

TEST(KeyRules, TellWhichKeyWasMeant) {
    Explanation key = explained("DockedWindw", {});
    key.meant = "DockedWindow";
    EXPECT_THAT(rulesOf(key), ElementsAre("Did you mean DockedWindow?"));
}

TEST(KeyRules, TellThatASecretWouldNotBeInTheKeptCopy) {
    KeyLayer copy = layer("cachedTFTPConfigStore.xml", false);
    copy.origin.isCached = true;
    EXPECT_THAT(rulesOf(explained("Key", {copy})),
                ElementsAre("A value that the server marks as sensitive would not be in the kept copy."));
    EXPECT_THAT(rulesOf(explained("Key", {copy, layer("A", true)})), IsEmpty());
    KeyLayer live = layer("TFTPConfigStore", false);
    live.origin.isLive = true;
    EXPECT_THAT(rulesOf(explained("Key", {copy, live})), IsEmpty());
    copy.origin.isMissing = true;
    EXPECT_THAT(rulesOf(explained("Key", {copy})), IsEmpty());
}

TEST(KeyRules, TellWhereAKeptCopyCameFromIfThatIsKnown) {
    KeyLayer copy = layer("cachedTFTPConfigStore.xml", true);
    copy.origin.isCached = true;
    copy.priority = 240;
    copy.origin.url = "https://192.0.2.1:6972/corvid-config.xml";
    copy.origin.time = StoreOrigin::Clock::time_point(std::chrono::seconds(1795339800));
    EXPECT_THAT(
        rulesOf(explained("Key", {copy})),
        ElementsAre("cachedTFTPConfigStore.xml is the copy of https://192.0.2.1:6972/corvid-config.xml, fetched "
                    "at 2026-11-22T09:30:00Z; its priority, 240, comes from PrimaryConfigStores."));
}

TEST(KeyRules, TellThePolicyThatErasesCustomServers) {
    Explanation key = explained("TFTPPrimaryServer", {layer("A", true)});
    key.policy = ForbiddingPolicy{"Customize_Phone_Server", "Override", {}};
    EXPECT_THAT(rulesOf(key), ElementsAre("Customize_Phone_Server is \"false\", from Override: a server of the user's "
                                          "own is erased whenever the client starts."));
    key.policy->erased = {{"Mine", "mine.xml", 4}};
    EXPECT_THAT(rulesOf(key), ElementsAre(testing::_, "This start has erased it from Mine (mine.xml, line 4)."));
}

TEST(KeyRules, TellThatOnlyOneWordForbidsCustomServers) {
    const char* const sentence =
        "Only the word \"false\", without blanks, forbids servers of the user's own: this value allows them.";
    const auto ofPolicy = [](const std::string& value) {
        Explanation key = explained("customize_phone_server", {layer("A", true)});
        key.value.value = value;
        return rulesOf(key);
    };
    EXPECT_THAT(ofPolicy("no"), ElementsAre(sentence));
    EXPECT_THAT(ofPolicy("0"), ElementsAre(sentence));
    EXPECT_THAT(ofPolicy("Off"), ElementsAre(sentence));
    EXPECT_THAT(ofPolicy("false "), ElementsAre(sentence));
    EXPECT_THAT(ofPolicy("FALSE"), IsEmpty());
    EXPECT_THAT(ofPolicy("true"), IsEmpty());
    Explanation other = explained("Other", {layer("A", true)});
    other.value.value = "no";
    EXPECT_THAT(rulesOf(other), IsEmpty());
}

TEST(KeyRules, TellOfAFlagThatTheClientWorksOut) {
    for (const char* const flag : {"Telephony_Enabled", "voicemail_enabled", "Meetings_Enabled"}) {
        EXPECT_THAT(rulesOf(explained(flag, {memory(), defaults()})),
                    ElementsAre("The client worked it out from the configured servers and holds that in memory, since "
                                "no administrator's store but the defaults sets it."));
        EXPECT_THAT(rulesOf(explained(flag, {defaults()})),
                    ElementsAre("Once the server's file has arrived, a client works it out from the configured servers "
                                "and holds that in memory, since no administrator's store but the defaults sets it."));
        EXPECT_THAT(rulesOf(explained(flag, {layer("A", true), defaults()})), IsEmpty());
        EXPECT_THAT(rulesOf(explained(flag, {})), IsEmpty());
    }
    EXPECT_THAT(rulesOf(explained("Other_Enabled", {defaults()})), IsEmpty());
}

TEST(KeyRules, TellOfAVersionThatAServerAnsweredWith) {
    EXPECT_THAT(rulesOf(explained("HomeUdsVersion", {memory()})),
                ElementsAre("The version that a server answered with is held in memory for this run."));
    EXPECT_THAT(rulesOf(explained("HomeUdsVersion", {layer("A", true)})), IsEmpty());
}

TEST(KeyRules, TellOfTheListThatTheClientKeeps) {
    EXPECT_THAT(rulesOf(explained("PrimaryConfigStores", {layer("A", true, false)})),
                ElementsAre("The client keeps this list itself: the stores of which it keeps a copy, with the priority "
                            "of each."));
    EXPECT_THAT(rulesOf(explained("PrimaryConfigStores", {})), IsEmpty());
}

TEST(KeyRules, TellOfTheLatchOfLinks) {
    KeyLayer mine = layer("Mine", true, false);
    mine.value = "False";
    EXPECT_THAT(rulesOf(explained("AllowUrlProvisioning", {mine})),
                ElementsAre("The client stores this when it has taken a provisioning link; corvidctl provision "
                            "--reopen allows another."));
    mine.isReadOnly = true;
    EXPECT_THAT(rulesOf(explained("AllowUrlProvisioning", {mine})), IsEmpty());
    mine.isReadOnly = false;
    mine.value = "true";
    EXPECT_THAT(rulesOf(explained("AllowUrlProvisioning", {mine})), IsEmpty());
}

TEST(KeyRules, TellOfAKeptCopyAndItsPriority) {
    KeyLayer copy = layer("cachedTFTPConfigStore.xml", true);
    copy.priority = 240;
    copy.origin.isCached = true;
    EXPECT_THAT(rulesOf(explained("Key", {copy})),
                ElementsAre("cachedTFTPConfigStore.xml is the copy that was kept when the server delivered last; its "
                            "priority, 240, comes from PrimaryConfigStores."));
    copy.holdsKey = false;
    EXPECT_THAT(rulesOf(explained("Key", {copy, layer("A", true)})), IsEmpty());
}

TEST(KeyRules, TellOfAKeptCopyThatIsNotRead) {
    Explanation key = explained("Key", {});
    key.unreadCopies = {{"cachedX.xml", "Cache/cachedX.xml", 12}};
    EXPECT_THAT(rulesOf(key), ElementsAre("Cache/cachedX.xml, line 12, holds it too, and is not read: "
                                          "PrimaryConfigStores does not list its store."));
}

TEST(KeyRules, TellThatSecretsAreNotKept) {
    KeyLayer copy = layer("cachedTFTPConfigStore.xml", false);
    copy.origin.isCached = true;
    Explanation key = explained("Key", {copy});
    EXPECT_THAT(rulesOf(key), ElementsAre(testing::StartsWith("A value that the server marks as sensitive would")));
    key.value.isSensitive = true;
    EXPECT_THAT(rulesOf(key), ElementsAre("Sensitive values are left out of the kept copy: what the server's file says "
                                          "is not known before the next fetch."));
    KeyLayer live = layer("TFTPConfigStore", false);
    live.origin.isLive = true;
    key.layers.push_back(live);
    EXPECT_THAT(rulesOf(key), IsEmpty());
}

TEST(KeyRules, TellThatTheServersPasswordsAreEnciphered) {
    KeyLayer live = layer("TFTPConfigStore", true);
    live.origin.isLive = true;
    EXPECT_THAT(rulesOf(explained("connectionpassword", {live})),
                ElementsAre("The password of the server's file is kept enciphered, and reads as the enciphered text."));
    EXPECT_THAT(rulesOf(explained("connectionusername", {live})), IsEmpty());
    EXPECT_THAT(rulesOf(explained("connectionpassword", {layer("A", true)})), IsEmpty());
}

TEST(KeyRules, TellThatValuesAreHidden) {
    Explanation key = explained("Key", {layer("A", true)});
    key.isHidden = true;
    EXPECT_THAT(rulesOf(key), ElementsAre("The key is sensitive, so its values are hidden; --reveal shows them."));
}

TEST(KeyRules, TellThatAnEmptyValueCounts) {
    KeyLayer empty = layer("A", true);
    empty.value.clear();
    EXPECT_THAT(rulesOf(explained("Key", {empty, layer("B", true)})),
                ElementsAre("An empty value is a value: the stores behind it do not answer."));
    EXPECT_THAT(rulesOf(explained("Key", {empty, layer("B", false)})), IsEmpty());
}

TEST(KeyRules, TellThatAnEmptyAdministratorsValueIsPassedOver) {
    KeyLayer first = layer("A", true);
    Explanation key = explained("Key", {first, layer("B", true)});
    key.value.originalValueStoreName = "B";
    EXPECT_THAT(rulesOf(key), ElementsAre("In the search for the administrator's value an empty one does not count, so "
                                          "that of A was passed over."));
    key.value.originalValueStoreName = "A";
    EXPECT_THAT(rulesOf(key), IsEmpty());
}

TEST(KeyRules, TellWhyARenamedKeyDoesNotCountAsOverridden) {
    Explanation key = explained("DockedWindow", {layer("Mine", true, false)});
    key.oldName = "DockedWindowVisible";
    EXPECT_THAT(rulesOf(key), IsEmpty());
    key.value.isOverridden = false;
    EXPECT_THAT(rulesOf(key), ElementsAre("It does not count as overridden: of a renamed key whose current name no "
                                          "administrator's store holds, the old name decides."));
}

TEST(KeyRules, TellOfAFileThatFailedToLoadOnce) {
    KeyLayer broken = layer("Mine", false);
    broken.state = LayerState::Failed;
    broken.origin.problem = "line 3, column 5: broken";
    broken.origin.problemLine = 3;
    KeyLayer again = broken;
    again.key = "OldKey";
    EXPECT_THAT(rulesOf(explained("Key", {broken, again})),
                ElementsAre("Mine failed to load: Mine.file, line 3, column 5: broken."));
    broken.origin.problem = "it cannot be read";
    broken.origin.problemLine = 0;
    broken.origin.setAside = "Mine-backup.xml";
    EXPECT_THAT(rulesOf(explained("Key", {broken})),
                ElementsAre("Mine failed to load: Mine.file: it cannot be read; the file was moved to "
                            "Mine-backup.xml."));
}

TEST(KeyRules, TellOfAnEarlierFileThatWasSetAside) {
    KeyLayer mine = layer("Mine", false);
    mine.origin.isMissing = true;
    mine.origin.setAside = "Mine-backup.xml";
    EXPECT_THAT(rulesOf(explained("Key", {mine})),
                ElementsAre("An earlier Mine.file could not be read; it was moved to Mine-backup.xml."));
}

TEST(KeyRules, TellOfAKeyThatNoDocumentGives) {
    KeyLayer document = layer("Override", false);
    document.state = LayerState::Ignored;
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("What Override says of it is ignored: this key is never taken from a configuration "
                            "document."));
    document.inFile = KeySource();
    document.inFile->line = 3;
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("What Override says of it (Override.file, line 3) is ignored: this key is never taken from "
                            "a configuration document."));
}

TEST(KeyRules, TellOfAnOldNameThatAFileIsReadUnder) {
    KeyLayer mine = inFile("Mine", 2);
    mine.inFile->underOldName = true;
    Explanation key = explained("VoicemailPrimaryServer", {mine});
    key.oldName = "VVM_Mailstore_Server_0";
    EXPECT_THAT(rulesOf(key), ElementsAre("Mine.file, line 2, has it under the old name VVM_Mailstore_Server_0, which "
                                          "this store takes for Key."));
}

TEST(KeyRules, TellOfAValueThatIsMarkup) {
    KeyLayer document = inFile("A", 2);
    document.inFile->isMarkup = true;
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("A.file, line 2, has elements or comments inside, so the value is the entry's own "
                            "mark-up."));
}

TEST(KeyRules, TellWhichOfSeveralEntriesCounts) {
    KeyLayer document = inFile("A", 2);
    document.inFile->ignoredLines = {5};
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("A.file has it in line 5 too; the first one counts, line 2."));
    document.inFile->ignoredLines = {5, 7, 9};
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("A.file has it in lines 5, 7 and 9 too; the first one counts, line 2."));
    document.inFile->line = 12;
    EXPECT_THAT(rulesOf(explained("Key", {document})),
                ElementsAre("A.file has it in lines 5, 7 and 9 too; the last one counts, line 12."));
}

TEST(KeyRules, TellOfASensitiveMarkWithoutEffect) {
    KeyLayer document = inFile("A", 2);
    document.inFile->isMarkedSensitive = true;
    Explanation key = explained("Key", {document});
    EXPECT_THAT(rulesOf(key),
                ElementsAre("A.file, line 2, marks it as sensitive, which counts in the server's file only."));
    key.value.isSensitive = true;
    EXPECT_THAT(rulesOf(key), IsEmpty());
}

TEST(KeyRules, TellOfTheTrapsOfTheBootstrapFileUnlessTheValueIsHidden) {
    KeyLayer word = inFile("A", 2);
    word.inFile->lacksSeparator = true;
    KeyLayer hash = inFile("B", 3);
    hash.inFile->holdsHash = true;
    Explanation key = explained("Key", {word, hash});
    EXPECT_THAT(rulesOf(key),
                ElementsAre("A.file, line 2, has no colon, so the value is empty.",
                            "B.file, line 3: a \"#\" begins a comment only at the start of a line, so it is part of "
                            "the value."));
    key.isHidden = true;
    EXPECT_THAT(rulesOf(key), ElementsAre("The key is sensitive, so its values are hidden; --reveal shows them."));
}
