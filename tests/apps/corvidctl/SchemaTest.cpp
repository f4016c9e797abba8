// The schema that describes the tool's answers, and what the tool prints.

#include <csignal>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "ServedTool.h"
#include "cli/Definitions.h"
#include "inspecting/InspectedClient.h"
#include "support/WebClient.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

json schema() {
    std::ifstream file(CORVID_DATA_DIRECTORY "/corvidctl.schema.json");
    return json::parse(file);
}

std::vector<json> objectsOnLines(const std::string& text) {
    std::vector<json> objects;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        objects.push_back(json::parse(line));
    }
    return objects;
}

/// Calls a function for each schema inside a schema, with its path.
template <class Function>
void forEachSchemaIn(const json& part, const std::string& path, const Function& function) {
    if (part.is_object()) {
        function(part, path);
    }
    if (part.is_structured()) {
        for (const auto& [name, inner] : part.items()) {
            forEachSchemaIn(inner, path + "/" + name, function);
        }
    }
}

/// Collects answers, to hold all of them against the schema at once.
class Schema : public ServedTool {
protected:
    void add(const std::string& what, const std::string& entry, const json& answer) {
        answers_ += json({{"what", what}, {"entry", entry}, {"answer", answer}}).dump() + "\n";
    }

    /// Both forms of what a command says.
    void addAnswersOf(const std::vector<std::string>& words) {
        const std::string what = testing::PrintToString(words);
        const std::string& entry = words.front();
        add(what, entry, printed("json", words));
        const support::Ended lines = run(optionsAnd("jsonl", words));
        const std::vector<json> objects = objectsOnLines(lines.out);
        if (isList_) {
            add(what + " on lines", entry, json(objects));
            return;
        }
        for (const json& object : objects) {
            add(what + " on a line", entry, object);
        }
    }

    /// What is wrong with the answers, a line for each mistake.
    support::Ended check() const {
        directory_.write("answers", answers_);
        return support::runProgram({"/bin/sh", "-c", "exec \"$0\" \"$1\" \"$2\" < \"$3\"", CORVID_PYTHON,
                                    CORVID_CHECK_ANSWERS, CORVID_DATA_DIRECTORY "/corvidctl.schema.json",
                                    directory_.path("answers")});
    }

private:
    std::vector<std::string> optionsAnd(const std::string& format, const std::vector<std::string>& words) const {
        std::vector<std::string> all = trusting({"--log-level", "2", "-o", format});
        all.insert(all.end(), words.begin(), words.end());
        return all;
    }

    json printed(const std::string& format, const std::vector<std::string>& words) {
        const support::Ended ended = run(optionsAnd(format, words));
        const json answer = json::parse(ended.out);
        isList_ = answer.is_array();
        return answer;
    }

    std::string answers_;
    bool isList_ = false;
};

/// Commands whose output is a text that another program reads, in a form of its own.
const std::set<std::string> WITHOUT_AN_ANSWER = {"help", "manual", "completions", "complete"};

}  // namespace

TEST_F(Schema, IsOneByTheRulesForSchemas) {
    const support::Ended checked = check();  // of no answers
    EXPECT_EQ(checked.status, 0) << checked.error;
    EXPECT_EQ(checked.error, "");
}

TEST_F(Schema, DescribesWhatCommandsPrint) {
    const std::string document = directory_.path("config/corvidLocalConfig.xml");
    directory_.write("broken.xml", "<Corvid><userConfig");
    serve("12.5");
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"get", "DockedWindow"},
             {"get", "Nowhere"},
             {"list"},
             {"list", "--all"},
             {"list", "nothing-like-it"},
             {"explain", "TftpServer1"},
             {"explain", "Nowhere"},
             {"explain", "--all-stores"},
             {"stores"},
             {"delta"},
             {"delta", "--type", "extended"},
             {"diff", "LocalFileConfigStore", "corvid-config-defaults.xml"},
             {"simulate", "--set", "DockedWindow=never"},
             {"export"},
             {"export", "--format", "properties", "--to", directory_.path("out.properties")},
             {"set", "--dry-run", "A", "b"},
             {"set", "A", "b"},
             {"unset", "--dry-run", "A"},
             {"unset", "A"},
             {"unset", "Nowhere"},
             {"fetch", "--dry-run"},
             {"fetch"},
             {"provision", "x?ServicesDomain=a"},
             {"provision", "x?ServicesDomain=again"},
             {"provision", "--reopen"},
             {"validate", document},
             {"validate", document, directory_.path("broken.xml")},
             {"report"},
             {"reset-data", "--yes"},
         }) {
        addAnswersOf(words);
    }
    stopServing();
    addAnswersOf({"fetch"});
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesTheDemonstration) {
    addAnswersOf({"demo"});
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesWhatAWatchPrints) {
    serve("12.5");
    support::ChildProcess watch(command(trusting({"-o", "jsonl", "watch"})));
    EXPECT_TRUE(watch.waitForOutput("\"token\""));
    watch.signal(SIGTERM);
    for (const json& change : objectsOnLines(watch.wait().out)) {
        add("watch", "watch", change);
    }
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesBatchesAndHistories) {
    serve("12.5");
    const std::string journal = directory_.path("changes.jsonl");
    support::ChildProcess watch(command(trusting({"-o", "jsonl", "watch", "--batch", "--journal", journal})));
    EXPECT_TRUE(watch.waitForOutput("\"token\""));
    watch.signal(SIGTERM);
    const std::vector<json> batches = objectsOnLines(watch.wait().out);
    EXPECT_FALSE(batches.empty());
    for (const json& batch : batches) {
        add("watch --batch", "watch", batch);
    }
    addAnswersOf({"history", "--journal", journal});
    addAnswersOf({"history", "--batch", "--journal", journal});
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesWhereTheInspectorIs) {
    support::ChildProcess inspector(command({"--json", "inspect"}));
    EXPECT_TRUE(inspector.waitForOutput("}\n"));
    inspector.signal(SIGTERM);
    add("inspect", "inspect", json::parse(inspector.wait().out));
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesWhatTheInspectorsPageIsTold) {
    serve("12.5");
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    writeConfig("corvidLocalConfig.xml", localFile({{"TFTPPrimaryServer", "192.0.2.1"}}));
    corvidctl::Invocation invocation;
    invocation.host.configDirectory = directory_.path("config");
    invocation.host.installationDirectory = directory_.path("install");
    invocation.host.bootstrapFilePath = directory_.path("install/bootstrap.properties");
    invocation.host.caFile = directory_.path("ca.pem");
    invocation.host.logLevel = 2;
    InspectedClient client(invocation);
    add("server before", "ApiServer", client.get("server"));
    client.run();
    client.waitForCycles(1);
    add("set", "ApiWrite", client.post("set", {{"key", "A"}, {"value", "b"}}));
    add("unset", "ApiWrite", client.post("unset", {{"key", "A"}}));
    add("fetch", "ApiFetch", client.post("fetch", json::object(), 202));
    add("about", "ApiAbout", client.get("about"));
    add("keys", "ApiKeys", client.get("keys"));
    add("explain", "Explanation", client.get("explain", {{"key", "DockedWindow"}}));
    add("history", "ApiHistory", client.get("history", {{"key", "A"}}));
    add("stores", "ApiStores", client.get("stores"));
    add("batches", "ApiBatches", client.get("batches"));
    add("problems", "ApiProblems", client.get("problems"));
    add("nothing", "ApiFailure", client.get("nothing", {}, 404));
    for (const corvidctl::ServerEvent& event : client.events()) {
        if (event.name != "chain") {
            add("event", event.name == "batch" ? "Batch" : "ApiServer", json::parse(event.json));
        }
    }
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, DescribesWhatAServerPrints) {
    directory_.write("served.xml", SAMPLE);
    support::ChildProcess server(
        command({"-o", "jsonl", "serve", directory_.path("served.xml"), "--address", address_}));
    while (!support::WebClient().get("http://" + address_ + ":6970/served.xml").arrived) {
        std::this_thread::yield();  // it does not listen yet
    }
    EXPECT_TRUE(server.waitForOutput("}\n"));
    server.signal(SIGTERM);
    const std::vector<json> requests = objectsOnLines(server.wait().out);
    EXPECT_EQ(requests.size(), 1U);
    for (const json& request : requests) {
        add("serve", "serve", request);
    }
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 0) << checked.out << checked.error;
}

TEST_F(Schema, IsHeldAgainstAnswersStrictly) {
    const json good = {{"removed", json::array()}, {"kept", {"a"}}};
    add("good", "reset-data", good);
    EXPECT_EQ(check().status, 0) << check().out << check().error;
    add("undescribed", "reset-data", {{"removed", json::array()}, {"kept", {"a"}}, {"spared", 1}});
    add("missing", "reset-data", {{"kept", {"a"}}});
    add("wrong", "reset-data", {{"removed", json::array()}, {"kept", {1}}});
    json change = {{"key", "a"},           {"value", ""},          {"originalValue", ""},
                   {"isOverridden", true}, {"isDefined", true},    {"valueStoreName", ""},
                   {"isSensitive", false}, {"changed", {"value"}}, {"originalValueStoreName", ""}};
    add("good change", "watch", change);
    change["more"] = 1;
    add("undescribed in a change", "watch", change);
    const support::Ended checked = check();
    EXPECT_EQ(checked.status, 1);
    for (const char* const mistake :
         {"undescribed: : Additional properties are not allowed ('spared' was unexpected)\n",
          "missing: : 'removed' is a required property\n", "wrong: kept/0: 1 is not of type 'string'\n",
          "undescribed in a change: : "}) {
        EXPECT_THAT(checked.out, HasSubstr(mistake));
    }
    EXPECT_EQ(checked.out.find("good"), std::string::npos) << checked.out;
}

TEST(SchemaFile, HasAnEntryForEachCommand) {
    const json definitions = schema().at("$defs");
    for (const corvidctl::CommandDefinition& command : corvidctl::commandDefinitions()) {
        if (WITHOUT_AN_ANSWER.count(command.name) == 0) {
            ASSERT_TRUE(definitions.contains(command.name)) << command.name;
            EXPECT_TRUE(definitions.at(command.name).contains("description")) << command.name;
        }
    }
}

TEST(SchemaFile, DescribesEveryPropertyInASentence) {
    forEachSchemaIn(schema(), "#", [](const json& part, const std::string& path) {
        if (!part.contains("properties") || !part.at("properties").is_object()) {
            return;
        }
        for (const auto& [name, property] : part.at("properties").items()) {
            ASSERT_TRUE(property.contains("description")) << path << "/properties/" << name;
            EXPECT_EQ(property.at("description").get<std::string>().back(), '.') << path << "/properties/" << name;
        }
    });
}

TEST(SchemaFile, LetsLaterVersionsPrintMore) {
    forEachSchemaIn(schema(), "#", [](const json& part, const std::string& path) {
        EXPECT_FALSE(part.contains("additionalProperties")) << path;
        EXPECT_FALSE(part.contains("unevaluatedProperties")) << path;
    });
}
