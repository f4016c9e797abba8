#include "inspecting/Problems.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

using namespace corvidctl;

namespace {

std::vector<std::string> textsOf(const ProblemFacts& facts) {
    std::vector<std::string> texts;
    for (const Problem& problem : problemsOf(facts)) {
        texts.push_back(problem.text);
    }
    return texts;
}

std::string asText(const ProblemFacts& facts) { return answers::problems(problemsOf(facts)).dump(); }

ServerView askedInVain() {
    ServerView server;
    server.servers.emplace_back();
    server.last = FetchView();
    server.last->reason = "no server delivered the file: 192.0.2.1: timed out";
    return server;
}

}  // namespace

TEST(Problems, AreNoneWhereAllIsWell) { EXPECT_EQ(asText({}), R"({"problems":[]})"); }

TEST(Problems, NameAFileThatCannotBeRead) {
    ProblemFacts facts;
    StoreOrigin origin;
    origin.shownFile = "corvidLocalConfig.xml";
    origin.problem = "line 3, column 4: it is not well-formed XML";
    origin.problemLine = 3;
    origin.setAside = "corvidLocalConfig-backup.xml";
    facts.failed = {{"LocalFileConfigStore", origin}};
    EXPECT_EQ(asText(facts), R"({"problems":[{"severity":"error","kind":"unreadable-file",)"
                             R"("text":"LocalFileConfigStore failed to load: corvidLocalConfig.xml, line 3, column 4: )"
                             R"(it is not well-formed XML; the file was moved to corvidLocalConfig-backup.xml.",)"
                             R"("key":null,"store":"LocalFileConfigStore","file":"corvidLocalConfig.xml","line":3}]})");
}

TEST(Problems, NameAUsersValueThatWaits) {
    ProblemFacts facts;
    facts.waiting = {
        {"Key", "TftpOverrideConfigStore", {"LocalFileConfigStore", "corvidLocalConfig.xml", 4}},
        {"Other", "TftpOverrideConfigStore", {"LocalFileConfigStore", "corvidLocalConfig.xml", 0}},
    };
    EXPECT_THAT(textsOf(facts),
                testing::ElementsAre("The user's value of Key in LocalFileConfigStore (corvidLocalConfig.xml, line 4) "
                                     "waits behind TftpOverrideConfigStore.",
                                     "The user's value of Other in LocalFileConfigStore (corvidLocalConfig.xml) waits "
                                     "behind TftpOverrideConfigStore."));
    const Problem problem = problemsOf(facts).front();
    EXPECT_EQ(problem.severity, Problem::Severity::Warning);
    EXPECT_EQ(problem.kind, Problem::Kind::ShadowedValue);
    EXPECT_EQ(problem.key, "Key");
    EXPECT_EQ(problem.store, "LocalFileConfigStore");
    EXPECT_EQ(problem.line, 4);
}

TEST(Problems, NameWhatAPolicyHasErasedAndWillErase) {
    ProblemFacts facts;
    const HiddenPlace gone = {"LocalFileConfigStore", "corvidLocalConfig.xml", 4};
    const HiddenPlace set = {"LocalFileConfigStore", "corvidLocalConfig.xml", 5};
    facts.forbidden = {{"TFTPPrimaryServer", {"Customize_Phone_Server", "TFTPConfigStore", {gone}}, {set}}};
    EXPECT_THAT(
        textsOf(facts),
        testing::ElementsAre("The client has erased the user's TFTPPrimaryServer from LocalFileConfigStore "
                             "(corvidLocalConfig.xml, line 4), since Customize_Phone_Server is \"false\", from "
                             "TFTPConfigStore.",
                             "The client will erase the user's TFTPPrimaryServer from LocalFileConfigStore when it "
                             "starts next, since Customize_Phone_Server is \"false\", from TFTPConfigStore."));
    EXPECT_EQ(problemsOf(facts).front().kind, Problem::Kind::ErasedByPolicy);
}

TEST(Problems, TellWhereACopyThatIsInUseCameFrom) {
    ProblemFacts facts;
    StoreReport copy;
    copy.name = "cachedTFTPConfigStore.xml";
    copy.origin.isCached = true;
    facts.stores = {copy};
    EXPECT_THAT(textsOf(facts), testing::IsEmpty());
    facts.stores[0].keys = 3;
    EXPECT_THAT(textsOf(facts), testing::ElementsAre(testing::StartsWith(
                                    "cachedTFTPConfigStore.xml is the copy that was kept when the server "
                                    "delivered last; it is in use")));
    EXPECT_EQ(problemsOf(facts).front().severity, Problem::Severity::Info);
}

TEST(Problems, TellWhyACopyIsInUse) {
    ProblemFacts facts;
    StoreReport copy;
    copy.name = "Copy";
    copy.origin.isCached = true;
    copy.keys = 3;
    facts.stores = {copy};
    const std::string told = "Copy is the copy that was kept when the server delivered last";
    EXPECT_THAT(textsOf(facts), testing::ElementsAre(told + "; it is in use, since no store names a server."));
    facts.server = askedInVain();
    EXPECT_THAT(textsOf(facts), testing::Contains(told + "; it is in use, since no server delivered the file: "
                                                         "192.0.2.1: timed out."));
    facts.server.last->ok = true;
    EXPECT_THAT(textsOf(facts), testing::ElementsAre(told + "."));
    facts.server.last.reset();
    EXPECT_THAT(textsOf(facts), testing::ElementsAre(told + "; it is in use until a server delivers."));
}

TEST(Problems, TellWhyNothingWasFetchedWhereSomebodyIsToBeAsked) {
    ProblemFacts facts;
    facts.server = askedInVain();
    EXPECT_THAT(textsOf(facts), testing::ElementsAre("Nothing was fetched: no server delivered the file: 192.0.2.1: "
                                                     "timed out."));
    EXPECT_EQ(problemsOf(facts).front().kind, Problem::Kind::NoServerAnswered);
    facts.server.servers.clear();
    EXPECT_THAT(textsOf(facts), testing::IsEmpty());
    facts.server = askedInVain();
    facts.server.last->ok = true;
    EXPECT_THAT(textsOf(facts), testing::IsEmpty());
}

TEST(Problems, TellWhatIsNotOnDisk) {
    ProblemFacts facts;
    facts.configDirectory = "config";
    facts.lostCopy = "Cache/copy.xml";
    facts.isOnDisk = false;
    EXPECT_THAT(textsOf(facts),
                testing::ElementsAre("The copy for the next start could not be written: Cache/copy.xml.",
                                     "What was stored could not be written to config."));
}

TEST(Problems, ComeTheWorstFirst) {
    ProblemFacts facts;
    StoreReport copy;
    copy.origin.isCached = true;
    copy.keys = 1;
    facts.stores = {copy};
    facts.waiting = {{"Key", "A", {"B", "", 0}}};
    facts.isOnDisk = false;
    std::vector<Problem::Severity> severities;
    for (const Problem& problem : problemsOf(facts)) {
        severities.push_back(problem.severity);
    }
    EXPECT_THAT(severities,
                testing::ElementsAre(Problem::Severity::Error, Problem::Severity::Warning, Problem::Severity::Info));
}
