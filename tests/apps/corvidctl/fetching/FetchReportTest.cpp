#include "fetching/FetchReport.h"

#include "output/Answers.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Attempt = DownloadJournal::Attempt;
using AttemptEnd = DownloadJournal::AttemptEnd;
using Cycle = DownloadJournal::Cycle;
using CycleEnd = DownloadJournal::CycleEnd;
using Snapshot = DownloadJournal::Snapshot;
using VersionQuery = DownloadJournal::VersionQuery;
namespace Result = HttpDownloader::HttpDownloadResultEnum;

Attempt attempt(const std::string& address, AttemptEnd end, Result::HttpDownloadResult result = Result::Success) {
    return {address, "https://" + address + ":6972/corvid-config.xml", 12, 10, end, result};
}

Cycle cycle(CycleEnd end, std::vector<VersionQuery> queries, std::vector<Attempt> attempts, std::size_t keys = 0) {
    Cycle result;
    result.versionQueries = std::move(queries);
    result.attempts = std::move(attempts);
    result.end = end;
    result.keys = keys;
    return result;
}

Snapshot snapshot(std::vector<Cycle> cycles) {
    Snapshot result;
    result.cycles.assign(cycles.begin(), cycles.end());
    result.cyclesEver = cycles.size();
    return result;
}

VersionQuery answered(const std::string& address, const std::string& version) { return {address, true, version}; }

ValueView storedVersion(const std::string& text) {
    ValueView view;
    view.key = "HomeUdsVersion";
    view.value = text;
    view.isDefined = true;
    view.valueStoreName = "LocalFileConfigStore";
    return view;
}

FetchView reportOn(std::vector<Cycle> cycles, const ValueView& before = {}) {
    return summarise(snapshot(std::move(cycles)), before, false);
}

const Cycle DELIVERED =
    cycle(CycleEnd::Delivered, {answered("10.0.0.1", "12.5")}, {attempt("10.0.0.1", AttemptEnd::Delivered)}, 14);

}  // namespace

TEST(FetchReport, TellsWhatWasDeliveredAndByWhom) {
    const FetchView view = reportOn({DELIVERED});
    EXPECT_TRUE(view.ok);
    EXPECT_EQ(view.server, "10.0.0.1");
    EXPECT_EQ(view.url, "https://10.0.0.1:6972/corvid-config.xml");
    EXPECT_EQ(view.protocol, "HTTPS");
    EXPECT_EQ(view.keys, 14U);
    EXPECT_EQ(view.reason, "");
    EXPECT_EQ(view.advice, "");
    ASSERT_EQ(view.attempts.size(), 1U);
    EXPECT_EQ(view.attempts[0].result, "delivered");
}

TEST(FetchReport, TellsTheVersionAsTheServerSpellsIt) {
    const FetchView view = reportOn({DELIVERED}, storedVersion("abc"));
    EXPECT_EQ(view.version, "12.5");
    EXPECT_EQ(view.versionSource, "as 10.0.0.1 answered");
}

TEST(FetchReport, TellsTheStoredVersionWhereNobodyWasAsked) {
    const Cycle silent = cycle(CycleEnd::Delivered, {}, {attempt("10.0.0.1", AttemptEnd::Delivered)}, 1);
    const FetchView view = reportOn({silent}, storedVersion("11.5"));
    EXPECT_EQ(view.version, "11.5");
    EXPECT_EQ(view.versionSource, "as HomeUdsVersion says, from LocalFileConfigStore");
}

TEST(FetchReport, TellsTheMajorVersionWhereNothingElseIsKnown) {
    const FetchView view = reportOn({cycle(CycleEnd::Delivered, {}, {attempt("a", AttemptEnd::Delivered)}, 1)});
    EXPECT_EQ(view.version, "12");
}

TEST(FetchReport, TellsEachFailedAttemptBeforeTheOneThatDelivered) {
    const FetchView view = reportOn({cycle(
        CycleEnd::Delivered, {},
        {attempt("10.0.0.1", AttemptEnd::Failed, Result::TimedOut), attempt("10.0.0.2", AttemptEnd::Delivered)}, 3)});
    EXPECT_EQ(view.server, "10.0.0.2");
    ASSERT_EQ(view.attempts.size(), 2U);
    EXPECT_EQ(view.attempts[0].result, "the server took too long");
}

TEST(FetchReport, GivesEachServersReasonWhenNoneDelivered) {
    const FetchView view = reportOn({cycle(CycleEnd::Exhausted, {},
                                           {attempt("10.0.0.1", AttemptEnd::Failed, Result::ConnectionFailed),
                                            attempt("10.0.0.2", AttemptEnd::Failed, Result::StatusRefused)})});
    EXPECT_FALSE(view.ok);
    EXPECT_EQ(view.keys, 0U);
    EXPECT_EQ(view.server, "10.0.0.2");
    EXPECT_EQ(view.reason, "no server delivered the file: 10.0.0.1: no connection to the server; 10.0.0.2: the server "
                           "has no such file, or refused it");
    EXPECT_THAT(view.advice, HasSubstr("configurationfile"));
}

TEST(FetchReport, AdvisesByTheKindOfFailure) {
    const auto adviceOn = [](Result::HttpDownloadResult result) {
        return reportOn({cycle(CycleEnd::Exhausted, {}, {attempt("a", AttemptEnd::Failed, result)})}).advice;
    };
    EXPECT_THAT(adviceOn(Result::CertificateRejected), HasSubstr("--ca-file FILE"));
    EXPECT_THAT(adviceOn(Result::TlsFailed), HasSubstr("--ca-file FILE"));
    EXPECT_EQ(adviceOn(Result::BodyEmpty), "Look at the server's file under this name: there is nothing in it.");
    EXPECT_THAT(adviceOn(Result::ConnectionFailed), HasSubstr("corvidctl explain TFTPPrimaryServer"));
}

TEST(FetchReport, NamesTheKeysWhenNoServerIsConfigured) {
    const std::string reason = "no server is configured: TFTPPrimaryServer, TFTPBackupServer1 and TFTPBackupServer2 "
                               "are all empty";
    for (const FetchView& view : {reportOn({}), reportOn({cycle(CycleEnd::Exhausted, {}, {})})}) {
        EXPECT_FALSE(view.ok);
        EXPECT_EQ(view.reason, reason);
        EXPECT_THAT(view.advice, HasSubstr("corvidctl set TFTPPrimaryServer"));
        EXPECT_EQ(view.server + view.url + view.version, "");
    }
}

TEST(FetchReport, SaysWhenTheDeliveredFileTookTheServersAway) {
    const FetchView view = reportOn({DELIVERED, cycle(CycleEnd::Exhausted, {}, {})});
    EXPECT_FALSE(view.ok);
    EXPECT_EQ(view.reason, "the file that was delivered took the last server's address away, and so its own values");
    EXPECT_EQ(view.server, "10.0.0.1");
}

TEST(FetchReport, TellsWhoWasAskedInVainForTheVersion) {
    const FetchView view =
        reportOn({cycle(CycleEnd::Stalled, {answered("10.0.0.1", ""), answered("10.0.0.2", "")}, {})});
    EXPECT_FALSE(view.ok);
    EXPECT_EQ(view.reason, "the server's version is not known: no usable answer from 10.0.0.1, no usable answer from "
                           "10.0.0.2");
    EXPECT_THAT(view.advice, HasSubstr("port 8443"));
    EXPECT_THAT(view.advice, HasSubstr("--ca-file FILE"));
    EXPECT_THAT(view.advice, EndsWith("corvidctl set HomeUdsVersion 12.5"));
}

TEST(FetchReport, TellsAnAnswerThatIsNoVersion) {
    EXPECT_EQ(reportOn({cycle(CycleEnd::Stalled, {answered("10.0.0.1", "twelve\x1b")}, {})}).reason,
              "the server's version is not known: 10.0.0.1 answered \"twelve\\x1b\"");
    EXPECT_EQ(reportOn({cycle(CycleEnd::Stalled, {answered("10.0.0.1", "0.9")}, {})}).reason,
              "the server's version is not known: 10.0.0.1 answered \"0.9\"");
}

TEST(FetchReport, TellsAStoredVersionThatIsNone) {
    const FetchView view = reportOn({cycle(CycleEnd::Stalled, {}, {})}, storedVersion("secret-like"));
    EXPECT_EQ(view.reason, "the server's version is not known: HomeUdsVersion, from LocalFileConfigStore, is no "
                           "version, and no server was asked");
    EXPECT_EQ(view.advice,
              "Erase it, and a server is asked: corvidctl unset HomeUdsVersion. Or correct it, for example: "
              "corvidctl set HomeUdsVersion 12.5");
    ValueView installers = storedVersion("abc");
    installers.valueStoreName = "BootstrapConfigStore";
    EXPECT_EQ(reportOn({cycle(CycleEnd::Stalled, {}, {})}, installers).advice,
              "Correct it where it stands; corvidctl explain HomeUdsVersion tells where that is.");
}

TEST(FetchReport, TellsWhenNobodyWasAskedForTheVersion) {
    EXPECT_EQ(reportOn({cycle(CycleEnd::Stalled, {}, {})}).reason,
              "the server's version is not known: no server was asked");
}

TEST(FetchReport, TellsAFileThatIsNoConfigurationDocument) {
    const FetchView view = reportOn({cycle(CycleEnd::Unreadable, {}, {attempt("10.0.0.1", AttemptEnd::Delivered)})});
    EXPECT_FALSE(view.ok);
    EXPECT_EQ(view.keys, 0U);
    EXPECT_EQ(view.reason, "10.0.0.1 delivered a file that is no configuration document; the values of the server's "
                           "file are gone until it delivers one");
    EXPECT_THAT(view.advice, HasSubstr("corvidctl validate FILE"));
}

TEST(FetchReport, TellsTheLastAttemptOfSeveralCycles) {
    const Cycle second = cycle(CycleEnd::Delivered, {}, {attempt("10.0.0.9", AttemptEnd::Delivered)}, 2);
    const FetchView view = reportOn({DELIVERED, second});
    EXPECT_EQ(view.server, "10.0.0.9");
    EXPECT_EQ(view.keys, 2U);
    EXPECT_EQ(view.version, "12.5");
    EXPECT_EQ(view.attempts.size(), 2U);
}

TEST(FetchReport, IsNoSuccessWhenInterrupted) {
    const FetchView view = summarise(snapshot({DELIVERED}), {}, true);
    EXPECT_FALSE(view.ok);
    EXPECT_EQ(view.reason, "interrupted");
    EXPECT_EQ(view.keys, 0U);
}

TEST(FetchReport, LooksAtTheCyclesAfterOthers) {
    EXPECT_THAT(since(snapshot({DELIVERED}), 1).cycles, IsEmpty());
    EXPECT_EQ(since(snapshot({DELIVERED, cycle(CycleEnd::Stalled, {}, {})}), 1).cycles.front().end, CycleEnd::Stalled);
    EXPECT_EQ(since(snapshot({DELIVERED}), 0).cycles.size(), 1U);
}

TEST(FetchReport, HasSixFieldsForScripts) {
    EXPECT_EQ(answers::fetch(reportOn({DELIVERED}), Format::Json),
              "{\n"
              "  \"server\": \"10.0.0.1\",\n"
              "  \"url\": \"https://10.0.0.1:6972/corvid-config.xml\",\n"
              "  \"version\": \"12.5\",\n"
              "  \"keys\": 14,\n"
              "  \"ok\": true,\n"
              "  \"reason\": \"\"\n"
              "}\n");
}

TEST(FetchActivity, TellsWhatIsWaitedFor) {
    EXPECT_EQ(activity(snapshot({})), "looking for a server …");
    EXPECT_EQ(activity(snapshot({cycle(CycleEnd::Running, {{"10.0.0.1", false, ""}}, {})})),
              "asking 10.0.0.1 for its version …");
    EXPECT_EQ(activity(snapshot({cycle(CycleEnd::Running, {answered("10.0.0.1", "12")},
                                       {attempt("10.0.0.1", AttemptEnd::Running)})})),
              "downloading https://10.0.0.1:6972/corvid-config.xml …");
    EXPECT_EQ(activity(snapshot({DELIVERED})), "taking over the new values …");
}

TEST(FetchActivity, NamesTheServerThatIsAskedWhileTheNextAttemptWaits) {
    const Cycle waiting = cycle(CycleEnd::Running, {answered("10.0.0.1", ""), {"10.0.0.2", false, ""}},
                                {attempt("10.0.0.1", AttemptEnd::Failed, Result::TimedOut)});
    EXPECT_EQ(activity(snapshot({waiting})), "asking 10.0.0.2 for its version …");
}
