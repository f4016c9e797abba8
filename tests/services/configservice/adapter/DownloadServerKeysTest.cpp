#include "DownloadFixture.h"

using testing::ElementsAre;

namespace {

/// A store beside the user's file and the server's, which holds the server's address, comes and goes.
class DownloadServerKeys : public DownloadFixture {
protected:
    DownloadServerKeys() {
        switchOn();
        EXPECT_TRUE(deliver({{"key", "one's"}}));
    }

    void addOther(std::int32_t priority) {
        const auto other = std::make_shared<fakes::ScriptedStore>("Other", priority);
        other->with(L"TFTPPrimaryServer", L"two");
        adapter()->addConfigStore(other);
    }

    static constexpr std::int32_t BEFORE_THE_USERS_FILE = 15;
    static constexpr std::int32_t BEHIND_THE_USERS_FILE = 25;
};

}  // namespace

TEST_F(DownloadServerKeys, ThatAStoreBringsStartADownload) {
    addOther(BEFORE_THE_USERS_FILE);
    EXPECT_EQ(pool->runAll(), 1U);
    ASSERT_TRUE(deliver({{"key", "two's"}}));
    EXPECT_THAT(transport->startedUrls(),
                ElementsAre("https://one:6972/corvid-config.xml", "https://two:6972/corvid-config.xml"));
    EXPECT_EQ(get(L"key"), L"two's");
}

TEST_F(DownloadServerKeys, ThatAStoreTakesAwayStartADownloadFromTheServerBefore) {
    addOther(BEFORE_THE_USERS_FILE);
    pool->runAll();
    ASSERT_TRUE(deliver({{"key", "two's"}}));
    ASSERT_TRUE(adapter()->removeConfigStore("Other"));
    EXPECT_EQ(pool->runAll(), 1U);
    ASSERT_TRUE(deliver({{"key", "one's again"}}));
    EXPECT_EQ(transport->startedUrls().back(), "https://one:6972/corvid-config.xml");
    EXPECT_EQ(get(L"key"), L"one's again");
}

TEST_F(DownloadServerKeys, ThatAStoreBringsBehindTheUsersAreNoChange) {
    addOther(BEHIND_THE_USERS_FILE);
    EXPECT_EQ(pool->waiting(), 0U);
    ASSERT_TRUE(adapter()->removeConfigStore("Other"));
    EXPECT_EQ(pool->waiting(), 0U);
}
