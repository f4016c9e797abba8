#include "Expectations.h"

#include "fakes/TftpConfigStoreTestAccess.h"
#include "quill/StringUtils.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

void PrintTo(const DownloadJournal::Attempt& attempt, std::ostream* out) {
    static const char* const ends[] = {"running", "delivered", "failed", "dropped"};
    *out << attempt.url << " " << ends[static_cast<int>(attempt.end)] << ", "
         << HttpDownloader::HttpDownloadResultEnum::describe(attempt.result);
}

namespace integration {

std::string failureLine(const std::string& address) {
    return "Download of TFTP File failed for server " + address + ".........";
}

std::string successLine(const std::string& address) {
    return "Downloading of TFTP file complete for server " + address + ".........";
}

std::string fetchingLine(const std::string& url, const std::string& seconds) {
    return "*-----* Downloading file from: " + url + " with a timeout of " + seconds + " seconds.";
}

// A wait would tell nothing: it returns after 20 seconds in any case.
bool isReleased(TftpConfigStore& store) { return TftpConfigStoreTestAccess::isReady(store); }

std::string stateOf(const TftpConfigStore& store) {
    static const char* const names[] = {"NOT_STARTED", "IN_PROGRESS", "CANCELLED", "RESTART_PENDING", "FINISHED"};
    return names[store.queryState()];
}

void expectPassedOver(Client& client, const std::string& faulty, Result result, const std::string& healthy) {
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Delivered);
    EXPECT_THAT(cycle.attempts, ElementsAre(failed(faulty, result), delivered(healthy)));
    EXPECT_EQ(client.log().count(3, failureLine(faulty)), 1U);
    EXPECT_EQ(client.log().count(4, successLine(faulty)), 0U);
    EXPECT_EQ(client.log().count(4, successLine(healthy)), 1U);
    EXPECT_EQ(client.store()->lastSuccessfulServer(), QuillCoreUtils::toWideString(healthy));
    EXPECT_EQ(client.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_THAT(client.store()->getKeys(), ElementsAre(L"origin"));
    EXPECT_EQ(client.value(L"origin"), L"healthy");
    EXPECT_EQ(client.storeOf(L"origin"), LIVE_STORE);
    EXPECT_THAT(client.cacheFile(), HasSubstr("<origin>healthy</origin>"));
    EXPECT_TRUE(isReleased(*client.store()));
}

void expectNothingFetched(Client& client, const std::string& faulty, Result result) {
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Exhausted);
    EXPECT_THAT(cycle.attempts, ElementsAre(failed(faulty, result)));
    EXPECT_EQ(client.log().count(3, failureLine(faulty)), 1U);
    EXPECT_EQ(client.log().count(3, QUEUE_EMPTY_LINE), 1U);
    EXPECT_EQ(client.store()->lastSuccessfulServer(), L"");
    EXPECT_EQ(client.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_THAT(client.store()->getKeys(), IsEmpty());
    EXPECT_EQ(client.value(L"origin"), L"");
    EXPECT_FALSE(client.hasStore("TFTPConfigStore"));
    EXPECT_EQ(client.cacheFile(), "");
    EXPECT_TRUE(isReleased(*client.store()));
}

void expectUnreadable(Client& client, const std::string& server) {
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Unreadable);
    EXPECT_THAT(cycle.attempts, ElementsAre(delivered(server)));
    EXPECT_EQ(client.log().count(4, successLine(server)), 1U);
    EXPECT_EQ(client.log().count(4, UPDATED_LINE), 1U);
    EXPECT_EQ(client.store()->lastSuccessfulServer(), QuillCoreUtils::toWideString(server));
    EXPECT_EQ(client.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_THAT(client.store()->getKeys(), IsEmpty());
    EXPECT_EQ(client.value(L"origin"), L"");
    EXPECT_TRUE(client.hasStore("TFTPConfigStore"));
    EXPECT_THAT(client.cacheFile(), HasSubstr("<CachedConfig/>"));
    EXPECT_TRUE(isReleased(*client.store()));
}

}  // namespace integration
