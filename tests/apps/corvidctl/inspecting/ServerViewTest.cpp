#include "inspecting/ServerView.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

using namespace corvidctl;
using namespace std::chrono_literals;
using nlohmann::json;

namespace {

using Attempts = DownloadJournal::Attempt;
using Cycles = DownloadJournal::Cycle;

Cycles cycleWith(DownloadJournal::CycleEnd end) {
    Cycles cycle;
    cycle.began = DownloadJournal::Clock::time_point(1s);
    cycle.ended = DownloadJournal::Clock::time_point(2500ms);
    cycle.end = end;
    return cycle;
}

Attempts attemptAt(const std::string& address, DownloadJournal::AttemptEnd end) {
    Attempts attempt;
    attempt.address = address;
    attempt.url = "https://" + address + ":6972/file.xml";
    attempt.version = 12;
    attempt.timeoutSeconds = 30;
    attempt.end = end;
    return attempt;
}

/// A name, when it is all that a view says of one.
ValueView named(const std::string& key, const std::string& value, const std::string& store) {
    ValueView view;
    view.key = key;
    view.value = value;
    view.valueStoreName = store;
    view.isDefined = true;
    return view;
}

json asJson(const ServerView& view) { return json::parse(answers::server(view).dump()); }

}  // namespace

TEST(ServerViews, TellNothingBeforeAnythingIsKnown) {
    ServerView view;
    view.file = "file.xml";
    EXPECT_EQ(answers::server(view).dump(), R"({"settled":true,"servers":[],"version":null,"versionSource":null,)"
                                            R"("file":"file.xml","cycles":[],"last":null})");
}

TEST(ServerViews, NameTheServersAndTheVersionThatIsStored) {
    ServerView view;
    view.servers = {named("TFTPPrimaryServer", "192.0.2.1", "LocalFileConfigStore")};
    view.version = named("HomeUdsVersion", "11.5", "BootstrapConfigStore");
    const json told = asJson(view);
    EXPECT_EQ(told.at("servers").dump(),
              R"([{"address":"192.0.2.1","key":"TFTPPrimaryServer","store":"LocalFileConfigStore"}])");
    EXPECT_EQ(told.at("version"), "11.5");
    EXPECT_EQ(told.at("versionSource"), "as HomeUdsVersion says, from BootstrapConfigStore");
}

TEST(ServerViews, TellTheNewestCycleFirst) {
    ServerView view;
    view.downloads.cycles = {cycleWith(DownloadJournal::CycleEnd::Exhausted),
                             cycleWith(DownloadJournal::CycleEnd::Running)};
    view.downloads.cycles[0].attempts = {attemptAt("192.0.2.1", DownloadJournal::AttemptEnd::Failed)};
    view.downloads.cycles[0].attempts[0].result = HttpDownloader::HttpDownloadResultEnum::ConnectionFailed;
    view.downloads.cycles[1].attempts = {attemptAt("192.0.2.1", DownloadJournal::AttemptEnd::Running)};
    view.downloads.cycles[1].versionQueries = {{"192.0.2.1", true, "12.5"}};
    const json cycles = asJson(view).at("cycles");
    ASSERT_EQ(cycles.size(), 2U);
    EXPECT_EQ(cycles[0].dump(),
              R"({"attempts":[{"address":"192.0.2.1","end":"running","result":null,"timeoutSeconds":30,)"
              R"("url":"https://192.0.2.1:6972/file.xml"}],"began":"1970-01-01T00:00:01.000Z","end":"running",)"
              R"("ended":null,"forced":false,"keys":0,"versionQueries":[{"address":"192.0.2.1","answered":true,)"
              R"("version":"12.5"}]})");
    EXPECT_EQ(cycles[1].at("end"), "exhausted");
    EXPECT_EQ(cycles[1].at("ended"), "1970-01-01T00:00:02.500Z");
    EXPECT_EQ(cycles[1].at("attempts")[0].at("end"), "failed");
    EXPECT_EQ(cycles[1].at("attempts")[0].at("result"), resultOf(view.downloads.cycles[0].attempts[0]));
}

TEST(ServerViews, HaveAWordForEachEnd) {
    using End = DownloadJournal::CycleEnd;
    const std::vector<std::pair<End, std::string>> ends = {
        {End::Running, "running"},     {End::Delivered, "delivered"}, {End::Unreadable, "unreadable"},
        {End::Exhausted, "exhausted"}, {End::Stalled, "stalled"},     {End::Superseded, "superseded"}};
    for (const auto& [end, word] : ends) {
        ServerView view;
        view.downloads.cycles = {cycleWith(end)};
        EXPECT_EQ(asJson(view).at("cycles")[0].at("end"), word);
    }
}

TEST(LastFetches, AreNoneWhileSomethingIsUnderWayOrBeforeAnythingWas) {
    DownloadJournal::Snapshot downloads;
    EXPECT_FALSE(lastFetch(downloads, true, {}));
    downloads.cycles = {cycleWith(DownloadJournal::CycleEnd::Delivered)};
    downloads.cycles[0].attempts = {attemptAt("192.0.2.1", DownloadJournal::AttemptEnd::Delivered)};
    EXPECT_FALSE(lastFetch(downloads, false, {}));
    ASSERT_TRUE(lastFetch(downloads, true, {}));
    EXPECT_TRUE(lastFetch(downloads, true, {})->ok);
}
