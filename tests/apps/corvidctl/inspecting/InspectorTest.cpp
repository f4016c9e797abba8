// What stands behind the inspector's page, on directories of the test's own, without a web server.

#include "inspecting/InspectedClient.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <future>

#include "ServedTool.h"
#include "quill/StringUtils.h"

using namespace corvidctl;
using nlohmann::json;
using testing::HasSubstr;

namespace {

constexpr const char* PLAIN_PROFILE = "ServicesDomain: example.org\n";

class Inspected : public ServedTool {
protected:
    Invocation invocation() const {
        Invocation result;
        result.host.configDirectory = directory_.path("config");
        result.host.installationDirectory = directory_.path("install");
        result.host.bootstrapFilePath = directory_.path("install/bootstrap.properties");
        result.host.caFile = directory_.path("ca.pem");
        result.host.logLevel = 2;
        return result;
    }

    /// A client that nobody has told of a server.
    std::unique_ptr<InspectedClient> alone() const {
        name(PLAIN_PROFILE);
        return std::make_unique<InspectedClient>(invocation());
    }

    /// A client whose server has delivered its file.
    std::unique_ptr<InspectedClient> served() {
        serve("12.5");
        auto client = std::make_unique<InspectedClient>(invocation());
        client->run();
        client->waitForCycles(1);
        return client;
    }

    /// The row of a key, whichever store's spelling it has.
    static json row(InspectedClient& client, const std::string& key) {
        const json answer = client.get("keys");
        for (const json& entry : answer.at("keys")) {
            if (QuillCoreUtils::toLowercase(entry.at("key").get<std::string>()) == QuillCoreUtils::toLowercase(key)) {
                return entry;
            }
        }
        return json::object();
    }

    static std::vector<std::string> problemsOf(InspectedClient& client, const std::string& kind) {
        std::vector<std::string> texts;
        const json answer = client.get("problems");
        for (const json& problem : answer.at("problems")) {
            if (problem.at("kind") == kind) {
                texts.push_back(problem.at("text"));
            }
        }
        return texts;
    }

    static json layerOf(const json& explanation, const std::string& store) {
        for (const json& layer : explanation.at("layers")) {
            if (layer.at("store") == store) {
                return layer;
            }
        }
        return nullptr;
    }
};

}  // namespace

TEST_F(Inspected, TellsAboutItself) {
    const auto client = alone();
    const json about = client->get("about");
    EXPECT_EQ(about.at("configDirectory"), directory_.path("config"));
    EXPECT_EQ(about.at("process"), getpid());
    EXPECT_EQ(about.at("reveal"), false);
}

TEST_F(Inspected, ListsEveryKeyWithItsState) {
    const auto client = alone();
    EXPECT_EQ(row(*client, "DockedWindow").at("state"), "overridden");
    EXPECT_EQ(row(*client, "Telephony_Enabled").at("state"), "shadowed");
    EXPECT_EQ(row(*client, "OnlyMine").at("state"), "user");
    EXPECT_EQ(row(*client, "LaunchOnSystemStartup").at("state"), "default");
    EXPECT_EQ(row(*client, "ServicesDomain").at("state"), "administrator");
    EXPECT_EQ(row(*client, "BDIConnectionUsername").at("value"), "VALUE_HIDDEN");
}

TEST_F(Inspected, ListsAKeyThatIsNotDefinedAnyMore) {
    const auto client = alone();
    client->post("unset", {{"key", "OnlyMine"}});
    const json gone = row(*client, "OnlyMine");
    EXPECT_EQ(gone.at("state"), "undefined");
    EXPECT_EQ(gone.at("value"), "");
}

TEST_F(Inspected, CountsWhatAStoreWinsOverOthers) {
    const auto client = alone();
    std::map<std::string, int> over;
    const json answer = client->get("stores");
    for (const json& store : answer.at("stores")) {
        over[store.at("name")] = store.at("winsOver");
    }
    EXPECT_EQ(over.at("TftpOverrideConfigStore"), 1);  // Telephony_Enabled
    EXPECT_EQ(over.at("LocalFileConfigStore"), 1);     // DockedWindow
    EXPECT_EQ(over.at("BootstrapConfigStore"), 0);
}

TEST_F(Inspected, StoresAValueAndTellsIt) {
    const auto client = alone();
    const json answer = client->post("set", {{"key", "DockedWindow"}, {"value", "maybe"}});
    EXPECT_EQ(answer.at("value"), "maybe");
    EXPECT_EQ(answer.at("storedIn"), "LocalFileConfigStore");
    EXPECT_EQ(answer.at("isEffective"), true);
    EXPECT_EQ(answer.at("isPersisted"), true);
    EXPECT_EQ(answer.at("remarks"), json::array());
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"dockedwindow\" value=\"maybe\""));
    const json batch = client->waitFor("batch", [](const json&) { return true; });
    EXPECT_EQ(batch.at("cause"), "set");
    EXPECT_EQ(batch.at("changes")[0].at("newValue"), "maybe");
    const json history = client->get("history", {{"key", "dockedwindow"}});
    ASSERT_EQ(history.at("changes").size(), 1U);
    EXPECT_EQ(history.at("changes")[0].at("oldValue"), "false");
    EXPECT_EQ(row(*client, "DockedWindow").at("since"), batch.at("time"));
    EXPECT_EQ(client->get("keys").at("last"), batch.at("batch"));
}

TEST_F(Inspected, ErasesAValueAndTellsIt) {
    const auto client = alone();
    const json answer = client->post("unset", {{"key", "DockedWindow"}});
    EXPECT_EQ(answer.at("value"), "true");
    EXPECT_EQ(answer.at("removedFrom"), json::array({"LocalFileConfigStore"}));
    EXPECT_EQ(client->waitFor("batch", [](const json&) { return true; }).at("cause"), "reset");
}

TEST_F(Inspected, TellsThatTheChainHasChangedWhenAValueWaits) {
    const auto client = alone();
    client->run();
    const json answer = client->post("set", {{"key", "Telephony_Enabled"}, {"value", "never"}});
    EXPECT_EQ(answer.at("isEffective"), false);
    EXPECT_EQ(answer.at("remarks"), json::array({"TftpOverrideConfigStore still wins, with \"true\"."}));
    client->waitFor("chain", [](const json&) { return true; });
    EXPECT_THAT(problemsOf(*client, "shadowed-value"),
                testing::ElementsAre(HasSubstr("The user's value of telephony_enabled in LocalFileConfigStore")));
}

TEST_F(Inspected, KnowsTheLineOfAValueThatItHasStored) {
    const auto client = alone();
    EXPECT_EQ(layerOf(client->get("explain", {{"key", "Brandnew"}}), "LocalFileConfigStore").at("line"), nullptr);
    client->post("set", {{"key", "Brandnew"}, {"value", "1"}});
    const json layer = layerOf(client->get("explain", {{"key", "Brandnew"}}), "LocalFileConfigStore");
    EXPECT_EQ(layer.at("state"), "wins");
    ASSERT_TRUE(layer.at("line").is_number());
    const std::string file = configFile("corvidLocalConfig.xml");
    const auto place = static_cast<std::ptrdiff_t>(file.find("Brandnew"));
    EXPECT_EQ(layer.at("line"), 1 + std::count(file.begin(), file.begin() + place, '\n'));
}

TEST_F(Inspected, RefusesWhatItCannotAnswer) {
    const auto client = alone();
    EXPECT_EQ(client->get("nothing", {}, 404).at("error"), "There is nothing at /api/nothing.");
    EXPECT_EQ(client->get("set", {}, 405).at("error"), "/api/set is asked with POST.");
    EXPECT_EQ(client->post("keys", {}, 405).at("error"), "/api/keys is asked with GET.");
    client->get("explain", {}, 400);
    client->get("batches", {{"since", "x"}}, 400);
    const std::string before = configFile("corvidLocalConfig.xml");
    client->post("set", {{"key", "A"}, {"value", "b"}, {"dryRun", true}}, 400);
    client->post("unset", {{"value", "b"}}, 400);
    EXPECT_EQ(configFile("corvidLocalConfig.xml"), before);
}

TEST_F(Inspected, TellsAPageThatComesBackWhatItMissed) {
    const auto client = alone();
    client->post("set", {{"key", "A"}, {"value", "1"}});
    client->post("set", {{"key", "A"}, {"value", "2"}});
    const std::uint64_t last = client->get("batches").at("last");
    const auto namesSince = [&client](std::uint64_t id) {
        std::vector<std::string> names;
        for (const ServerEvent& event : client->inspector().eventsSince(id)) {
            names.push_back(event.name);
        }
        return names;
    };
    EXPECT_THAT(namesSince(0), testing::ElementsAre("server", "chain"));
    EXPECT_THAT(namesSince(last), testing::ElementsAre("server", "chain"));
    EXPECT_THAT(namesSince(last - 1), testing::ElementsAre("server", "chain", "batch"));
    EXPECT_EQ(client->inspector().eventsSince(last - 1).back().id, last);
    EXPECT_THAT(namesSince(last + 1), testing::ElementsAre("server", "chain", "reload"));
    EXPECT_EQ(client->get("batches", {{"since", std::to_string(last - 1)}}).at("batches").size(), 1U);
}

TEST_F(Inspected, TellsAPageToLoadAnewOnceWhatItMissedIsKeptNoMore) {
    name(PLAIN_PROFILE);
    ChangeJournal::Limits two;
    two.batches = 2;
    InspectedClient client(invocation(), two);  // 1 is the start
    for (const char* const value : {"1", "2", "3"}) {
        client.post("set", {{"key", "A"}, {"value", value}});
    }
    const auto lastOf = [&client](std::uint64_t id) { return client.inspector().eventsSince(id).back(); };
    EXPECT_EQ(lastOf(1).name, "reload");
    EXPECT_EQ(lastOf(1).json, "{}");
    EXPECT_EQ(lastOf(2).name, "batch");
    EXPECT_EQ(lastOf(2).id, 4U);
    EXPECT_EQ(client.inspector().eventsSince(2).size(), 4U);  // server, chain and both batches
    EXPECT_EQ(client.get("batches").at("droppedBatches"), 2);
}

TEST_F(Inspected, TellsWhatTheServersFileChanges) {
    const auto client = served();
    const json server = client->get("server");
    EXPECT_EQ(server.at("version"), "12.5");
    EXPECT_EQ(server.at("versionSource"), "as " + address_ + " answered");
    EXPECT_EQ(server.at("servers")[0].at("address"), address_);
    EXPECT_EQ(server.at("cycles")[0].at("end"), "delivered");
    EXPECT_EQ(server.at("last").at("ok"), true);
    EXPECT_EQ(row(*client, "LaunchOnSystemStartup").at("state"), "administrator");
    rewrite("<c><g><LaunchOnSystemStartup>never</LaunchOnSystemStartup></g></c>");
    EXPECT_EQ(client->post("fetch", json::object(), 202).at("settled"), false);
    client->waitFor("batch", [](const json& batch) { return batch.dump().find("\"never\"") != std::string::npos; });
    EXPECT_EQ(row(*client, "LaunchOnSystemStartup").at("value"), "never");
    client->waitForCycles(2);
    const json layer = layerOf(client->get("explain", {{"key", "LaunchOnSystemStartup"}}), "TFTPConfigStore");
    EXPECT_EQ(layer.at("url"), "https://" + address_ + ":6972/corvid-config.xml");
}

TEST_F(Inspected, SaysThatNobodyIsThereToBeAsked) {
    const auto client = alone();
    client->run();
    client->waitFor("server", [](const json& server) { return server.at("settled").get<bool>(); });
    EXPECT_EQ(client->post("fetch", json::object(), 409).at("error"),
              "No store names a server that could be asked; set TFTPPrimaryServer first.");
    EXPECT_EQ(client->get("server").at("cycles").size(), 0U);
}

TEST_F(Inspected, TellsTheAdministratorsChangeBehindAUsersValue) {
    const auto client = served();
    rewrite("<c><g><DockedWindow>sometimes</DockedWindow></g></c>");
    client->post("fetch", json::object(), 202);
    client->waitForCycles(2);
    EXPECT_EQ(row(*client, "DockedWindow").at("originalValue"), "sometimes");
    EXPECT_EQ(row(*client, "DockedWindow").at("value"), "false");
}

TEST_F(Inspected, NotesWhereTheKeptCopyCameFrom) {
    const auto client = served();
    EXPECT_THAT(configFile("Cache/cachedTFTPConfigStore.download.json"), HasSubstr("6972"));
    EXPECT_TRUE(client->finish());
}

TEST_F(Inspected, TellsThatNobodyAnswered) {
    ASSERT_EQ(run({"set", "HomeUdsVersion", "12.5"}).status, 0);
    InspectedClient client(invocation());
    client.run();
    client.waitForCycles(1);
    EXPECT_THAT(problemsOf(client, "no-server-answered"),
                testing::ElementsAre(HasSubstr("Nothing was fetched: no server delivered the file: " + address_)));
}

TEST_F(Inspected, TellsThatTheKeptCopyIsInUse) {
    served()->finish();
    stopServing();
    InspectedClient client(invocation());
    EXPECT_THAT(problemsOf(client, "copy-in-use"),
                testing::ElementsAre(HasSubstr("cachedTFTPConfigStore.xml is the copy of https://" + address_)));
}

TEST_F(Inspected, TellsOfAFileThatWasSetAsideAsLongAsItRuns) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n  <broken");
    const auto client = alone();
    const auto told = problemsOf(*client, "unreadable-file");
    EXPECT_THAT(told, testing::ElementsAre(HasSubstr("LocalFileConfigStore failed to load: corvidLocalConfig.xml, "
                                                     "line 2")));
    EXPECT_THAT(told[0], HasSubstr("it is not well-formed XML; the file was moved to corvidLocalConfig-backup.xml."));
    EXPECT_EQ(layerOf(client->get("explain", {{"key", "A"}}), "LocalFileConfigStore").at("state"), "failed");
    client->post("set", {{"key", "A"}, {"value", "b"}});
    EXPECT_EQ(problemsOf(*client, "unreadable-file"), told);
    EXPECT_EQ(layerOf(client->get("explain", {{"key", "B"}}), "LocalFileConfigStore").at("state"), "absent");
}

TEST_F(Inspected, TellsWhatAPolicyHasErasedAndWillErase) {
    writeConfig("corvidLocalConfig.xml", localFile({{"TFTPPrimaryServer", "192.0.2.1"}, {"OnlyMine", "1"}}));
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    const auto client = alone();
    client->post("set", {{"key", "OnlyMine"}, {"value", "2"}});  // what the file had is kept in mind
    EXPECT_THAT(problemsOf(*client, "erased-by-policy"),
                testing::ElementsAre("The client has erased the user's TFTPPrimaryServer from LocalFileConfigStore "
                                     "(corvidLocalConfig.xml, line 4), since Customize_Phone_Server is \"false\", from "
                                     "TftpOverrideConfigStore."));
    client->post("set", {{"key", "CtiServer1"}, {"value", "192.0.2.2"}});
    EXPECT_THAT(problemsOf(*client, "erased-by-policy"),
                testing::Contains("The client will erase the user's CTIPrimaryServer from LocalFileConfigStore when it "
                                  "starts next, since Customize_Phone_Server is \"false\", from "
                                  "TftpOverrideConfigStore."));
}

TEST_F(Inspected, TellsThatNothingCanBeWritten) {
    const auto client = alone();
    std::filesystem::remove_all(directory_.path("config"));
    directory_.write("config", "a file in its place");
    const json answer = client->post("set", {{"key", "A"}, {"value", "b"}});
    EXPECT_EQ(answer.at("isPersisted"), false);
    EXPECT_THAT(answer.at("remarks").dump(), HasSubstr("A could not be written to"));
    EXPECT_THAT(problemsOf(*client, "not-on-disk"),
                testing::ElementsAre("What was stored could not be written to " + directory_.path("config") + "."));
    EXPECT_FALSE(client->finish());
}

TEST_F(Inspected, NeverTellsASecret) {
    const auto client = served();
    client->post("set", {{"key", "BDIConnectionPassword"}, {"value", "my-own-secret"}});
    client->post("set", {{"key", "Token"}, {"value", "another-secret\x01"}});
    client->post("unset", {{"key", "Token"}});
    std::string all;
    for (const char* const path : {"about", "keys", "stores", "batches", "server", "problems"}) {
        all += client->get(path).dump();
    }
    for (const char* const key : {"BDIConnectionPassword", "BDIConnectionUsername", "Token"}) {
        all += client->get("explain", {{"key", key}}).dump() + client->get("history", {{"key", key}}).dump();
        all += client->post("set", {{"key", key}, {"value", "my-own-secret"}}).dump();
    }
    for (const ServerEvent& event : client->events()) {
        all += event.json;
    }
    EXPECT_THAT(all, HasSubstr("VALUE_HIDDEN"));
    for (const char* const secret :
         {"my-own-secret", "another-secret", "only-the-server-knows", "nobody-else-either", "\"reader\""}) {
        EXPECT_EQ(all.find(secret), std::string::npos) << secret;
    }
}

TEST_F(Inspected, TellsNothingOfWhatAKeyWasBeforeItBecameASecret) {
    const auto client = served();
    client->post("set", {{"key", "OnlyMine"}, {"value", "once-harmless"}});
    client->post("unset", {{"key", "OnlyMine"}});
    const std::uint64_t last = client->get("batches").at("last");
    rewrite("<c><g><OnlyMine sensitive=\"true\">of-the-server</OnlyMine></g></c>");
    client->post("fetch", json::object(), 202);
    client->waitForCycles(2);
    std::string all = client->get("batches").dump() + client->get("history", {{"key", "OnlyMine"}}).dump();
    for (const ServerEvent& event : client->inspector().eventsSince(1)) {
        all += event.json;
    }
    EXPECT_GT(client->get("batches").at("last"), last);
    EXPECT_THAT(all, HasSubstr("VALUE_HIDDEN"));
    EXPECT_THAT(all, testing::Not(HasSubstr("once-harmless")));
    EXPECT_THAT(all, testing::Not(HasSubstr("of-the-server")));
}

TEST_F(Inspected, CallsAKeySensitiveThatIsNotDefined) {
    const auto client = alone();
    client->post("set", {{"key", "BDIConnectionPassword"}, {"value", "my-own-secret"}});
    client->post("unset", {{"key", "BDIConnectionPassword"}});
    const json gone = row(*client, "BDIConnectionPassword");
    EXPECT_EQ(gone.at("isDefined"), false);
    EXPECT_EQ(gone.at("isSensitive"), true);
    EXPECT_EQ(gone.at("value"), "");
}

TEST_F(Inspected, TellsTheHistoryOfAKeyThatIsAskedForByItsOldName) {
    const auto client = alone();
    client->post("set", {{"key", "TFTPPrimaryServer"}, {"value", "192.0.2.7"}});
    const json history = client->get("history", {{"key", "tftpserver1"}});
    ASSERT_EQ(history.at("changes").size(), 1U);
    EXPECT_EQ(history.at("changes")[0].at("key"), "TFTPPrimaryServer");
    EXPECT_EQ(history.at("changes")[0].at("newValue"), "192.0.2.7");
}

TEST_F(Inspected, SaysThatAValueUnderTheCurrentNameComesFirst) {
    const auto client = alone();
    client->post("set", {{"key", "TFTPPrimaryServer"}, {"value", "192.0.2.7"}});
    const json answer = client->post("set", {{"key", "TftpServer1"}, {"value", "192.0.2.8"}});
    EXPECT_THAT(answer.at("remarks"),
                testing::ElementsAre("It still reads as \"192.0.2.7\".",
                                     "What the store holds under TFTPPrimaryServer comes first."));
}

TEST_F(Inspected, TellsNoChangeWhereAStoreTakesOverFromItsCopy) {
    served()->finish();
    const auto client = served();
    EXPECT_THAT(client->get("batches").dump(), HasSubstr("\"oldStore\":\"cachedTFTPConfigStore.xml\""));
    EXPECT_EQ(client->get("history", {{"key", "LaunchOnSystemStartup"}}).at("changes"), json::array());
}

TEST_F(Inspected, RevealsSecretsWhereItIsTold) {
    name(PLAIN_PROFILE);
    Invocation revealing = invocation();
    revealing.reveal = true;
    InspectedClient client(revealing);
    EXPECT_EQ(row(client, "BDIConnectionUsername").at("value"), "reader");
    EXPECT_EQ(client.get("about").at("reveal"), true);
}

TEST_F(Inspected, AnswersSeveralPagesAtOnce) {
    const auto client = alone();
    std::vector<std::future<void>> pages;
    for (int page = 0; page < 4; ++page) {
        pages.push_back(std::async(std::launch::async, [&client, page] {
            const std::string key = "Page" + std::to_string(page);
            EXPECT_EQ(client->post("set", {{"key", key}, {"value", "1"}}).at("isPersisted"), true);
            client->get("keys");
            client->get("problems");
            EXPECT_EQ(client->get("explain", {{"key", key}}).at("value"), "1");
            EXPECT_EQ(client->post("unset", {{"key", key}}).at("isDefined"), false);
        }));
    }
    for (std::future<void>& page : pages) {
        page.get();
    }
    // Each write is a batch of its own.
    const json batches = client->get("batches", {{"since", "1"}});
    EXPECT_EQ(batches.at("batches").size(), 8U);
}

TEST_F(Inspected, EndsWhileAServerKeepsSilent) {
    SilentServer silent(address_, 8443);
    InspectedClient client(invocation());
    client.run();
    silent.waitForSomebody();
    EXPECT_EQ(client.get("server").at("settled"), false);
    EXPECT_EQ(client.get("server").at("last"), nullptr);
    EXPECT_EQ(client.post("fetch", json::object(), 202).at("settled"), false);
    EXPECT_TRUE(client.finish());
    EXPECT_FALSE(silent.isSomebodyThere());
}
