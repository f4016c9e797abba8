#include <algorithm>

#include "RemoteFixture.h"
#include "quill/StringUtils.h"
#include "tessel/StringEncryptionFacility.h"

using testing::ElementsAre;

namespace {

/// What becomes of the secrets in a file.
class DownloadSecrets : public RemoteFixture {
protected:
    bool isBodyWiped(std::size_t length) const {
        const std::string body = transport->bodyAfterCompletion();
        return body.size() == length && std::all_of(body.begin(), body.end(), [](char c) { return c == '\0'; });
    }

    static std::string deciphered(const std::shared_ptr<TftpConfigStore>& store, const std::wstring& key) {
        const std::string text = QuillCoreUtils::toString(valueOf(store, key));
        return tessel::StringEncryptionFacility::decodeEncryptedString(text).reveal().value_or("<none>");
    }
};

const std::string PASSWORDS =
    serverFile({{"ConnectionPassword", "hunter2-edi"}, {"BDIConnectionPassword", "hunter2-bdi"}, {"plain", "text"}});

const std::string MARKED =
    R"(<config><Client><pin sensitive="true">4711-pin</pin><name>shown</name></Client></config>)";

}  // namespace

TEST_F(DownloadSecrets, ArePasswordsKeptEnciphered) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    transport->deliver(PASSWORDS);
    EXPECT_NE(valueOf(store, L"ConnectionPassword"), L"hunter2-edi");
    EXPECT_EQ(deciphered(store, L"ConnectionPassword"), "hunter2-edi");
    EXPECT_EQ(deciphered(store, L"BDIConnectionPassword"), "hunter2-bdi");
    EXPECT_EQ(valueOf(store, L"plain"), L"text");
    EXPECT_FALSE(log->mentions("hunter2"));
}

TEST_F(DownloadSecrets, AreMarkedInTheFeatureSetAndMaskedInTheLog) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    log->clear();
    transport->deliver(MARKED);
    const auto calls = featureSet->calls();
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_EQ(std::count(calls.begin(), calls.end(), (Call{"setKeySensitive", {L"pin"}})), 1);
    EXPECT_EQ(lines(4)[1], "logConfigMap: \nname: shown\npin: VALUE_HIDDEN");
    EXPECT_FALSE(log->mentions("4711-pin"));
    EXPECT_EQ(valueOf(store, L"pin"), L"4711-pin");
}

TEST_F(DownloadSecrets, AreMaskedIfTheFeatureSetKnowsThem) {
    featureSet->answerTo("isKeySensitive", true);
    makeObserved()->attemptDownloadFromCachedAddress();
    transport->deliver(serverFile({{"known", "4711-pin"}}));
    EXPECT_FALSE(log->mentions("4711-pin"));
    EXPECT_TRUE(log->mentions("known: VALUE_HIDDEN"));
}

TEST_F(DownloadSecrets, AreMarkedBeforeTheValuesAreLogged) {
    std::size_t linesBefore = 1;
    featureSet->during("setKeySensitive",
                       [&](const auto&) { linesBefore = static_cast<std::size_t>(log->mentions("name: shown")); });
    makeObserved()->attemptDownloadFromCachedAddress();
    transport->deliver(MARKED);
    EXPECT_EQ(linesBefore, 0U);
}

TEST_F(DownloadSecrets, AreMarkedBeforeTheValuesCanBeRead) {
    const auto store = makeObserved();
    std::size_t keysBefore = 1;
    featureSet->during("setKeySensitive", [&](const auto&) { keysBefore = store->getKeys().size(); });
    store->attemptDownloadFromCachedAddress();
    transport->deliver(MARKED);
    EXPECT_EQ(keysBefore, 0U);
}

TEST_F(DownloadSecrets, AreWipedFromTheBodyOfAFile) {
    makeObserved()->attemptDownloadFromCachedAddress();
    transport->deliver(PASSWORDS);
    EXPECT_TRUE(isBodyWiped(PASSWORDS.size()));
}

TEST_F(DownloadSecrets, AreWipedFromTheBodyBeforeAnObserverIsTold) {
    const auto store = makeObserved();
    std::string body = PASSWORDS;
    std::string seen;
    observer.during = [&] { seen = body; };
    store->onDownloadComplete(body, SUCCESS, "one", store);
    EXPECT_EQ(seen, std::string(PASSWORDS.size(), '\0'));
}

TEST_F(DownloadSecrets, AreWipedFromTheBodyOfABadFile) {
    makeObserved()->attemptDownloadFromCachedAddress();
    transport->deliver("<password>hunter2");
    EXPECT_TRUE(isBodyWiped(17));
}

TEST_F(DownloadSecrets, AreWipedFromWhatAFailedTransferBrought) {
    makeObserved()->attemptDownloadFromCachedAddress();
    transport->complete(1, "half a file", TIMED_OUT);
    EXPECT_TRUE(isBodyWiped(11));
}

TEST_F(DownloadSecrets, AreWipedFromAFileThatIsDropped) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    store->processTftpInfoChanged(L"new", L"", L"", store);
    transport->complete(1, PASSWORDS, SUCCESS);
    EXPECT_TRUE(isBodyWiped(PASSWORDS.size()));
}

TEST_F(DownloadSecrets, AreWipedFromAFileThatComesAfterTheCancellation) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    TftpConfigStoreTestAccess::cancel(*store);
    transport->deliver(PASSWORDS);
    EXPECT_TRUE(isBodyWiped(PASSWORDS.size()));
}

TEST_F(DownloadSecrets, AreNotMarkedWithoutAFeatureSetAndTheFileIsTakenAllTheSame) {
    const auto bare = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
    const auto store = makeOver(bare);
    log->clear();
    std::string body = MARKED;
    store->onDownloadComplete(body, SUCCESS, "one", store);
    EXPECT_EQ(valueOf(store, L"name"), L"shown");
    EXPECT_THAT(lines(3), ElementsAre("setSensitiveKeys: There is no feature set, skipped: setSensitiveKeys"));
    EXPECT_FALSE(log->mentions("4711-pin"));
}
