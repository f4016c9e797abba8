#include "explaining/ExplanationAnswers.h"

#include <nlohmann/json.hpp>

using namespace corvidctl;
using nlohmann::json;

namespace {

Explanation explained() {
    Explanation key;
    key.asked = "Asked";
    key.value.key = "Key";
    key.alias = "Asked";
    key.rules = {"A rule."};
    key.lookedUp = {"Key", "Asked"};
    KeyLayer layer;
    layer.store = "Store";
    layer.priority = 20;
    layer.key = "Key";
    layer.holdsKey = true;
    layer.value = "text";
    layer.wins = true;
    layer.state = LayerState::Wins;
    layer.origin.file = "/a/file.xml";
    layer.origin.time = StoreOrigin::Clock::time_point(std::chrono::seconds(1795339800));
    layer.origin.isCached = true;
    layer.inFile = KeySource();
    layer.inFile->line = 3;
    key.layers = {layer, KeyLayer()};
    return key;
}

constexpr const char* HEADINGS =
    "store\tpriority\tisReadOnly\tisLocal\tkey\tvalue\twins\tstate\tfile\tline\turl\ttime\tisCached\tproblem\n";
constexpr const char* FIRST_LINE =
    "Store\t20\tfalse\tfalse\tKey\ttext\ttrue\twins\t/a/file.xml\t3\t\t2026-11-22T09:30:00Z\ttrue\t\n";
constexpr const char* SECOND_LINE = "\t0\tfalse\tfalse\t\t\tfalse\tabsent\t\t\t\t\tfalse\t\n";

}  // namespace

TEST(ExplanationAnswers, TellWhereEachLayerComesFrom) {
    const json explanation = json::parse(answers::explanation(explained(), Format::Json));
    EXPECT_EQ(explanation.at("key"), "Asked");
    EXPECT_EQ(explanation.at("alias"), "Asked");
    EXPECT_EQ(explanation.at("rules"), json::array({"A rule."}));
    EXPECT_EQ(explanation.at("layers").at(0), json::parse(R"({
        "store": "Store", "priority": 20, "isReadOnly": false, "isLocal": false, "key": "Key", "value": "text",
        "wins": true, "state": "wins", "file": "/a/file.xml", "line": 3, "url": null,
        "time": "2026-11-22T09:30:00Z", "isCached": true, "problem": null})"));
}

TEST(ExplanationAnswers, HaveNullForWhatALayerLacks) {
    const json explanation = json::parse(answers::explanation(explained(), Format::Json));
    const json& layer = explanation.at("layers").at(1);
    for (const char* const name : {"value", "file", "line", "url", "time", "problem"}) {
        EXPECT_EQ(layer.at(name), nullptr) << name;
    }
    Explanation key = explained();
    key.alias.clear();
    EXPECT_EQ(json::parse(answers::explanation(key, Format::Json)).at("alias"), nullptr);
}

TEST(ExplanationAnswers, AreALineForEachLayerBetweenTabs) {
    EXPECT_EQ(answers::explanation(explained(), Format::Tsv), std::string(HEADINGS) + FIRST_LINE + SECOND_LINE);
    EXPECT_EQ(answers::explanations({explained(), explained()}, Format::Tsv),
              std::string(HEADINGS) + FIRST_LINE + SECOND_LINE + FIRST_LINE + SECOND_LINE);
    EXPECT_EQ(answers::explanations({}, Format::Tsv), HEADINGS);
}

TEST(ExplanationAnswers, OfSeveralKeysAreAnArrayOrALineForEach) {
    EXPECT_EQ(json::parse(answers::explanations({explained(), explained()}, Format::Json)).size(), 2U);
    EXPECT_EQ(answers::explanations({explained()}, Format::JsonLines),
              answers::explanation(explained(), Format::JsonLines));
    EXPECT_EQ(answers::explanations({}, Format::Json), "[]\n");
    EXPECT_EQ(answers::explanations({}, Format::JsonLines), "");
}

TEST(StoreAnswers, TellHowEachStoreFares) {
    StoreReport store;
    store.name = "Store";
    store.priority = 40;
    store.isReadOnly = true;
    store.keys = 9;
    store.wins = 4;
    store.state = StoreState::Failed;
    store.origin.url = "https://server/file";
    store.origin.problem = "line 1: broken";
    EXPECT_EQ(json::parse(answers::stores({store}, Format::Json)), json::parse(R"([{
        "name": "Store", "priority": 40, "isReadOnly": true, "isLocal": false, "keys": 9, "state": "failed",
        "wins": 4, "file": null, "url": "https://server/file", "time": null, "isCached": false,
        "problem": "line 1: broken"}])"));
    EXPECT_EQ(answers::stores({}, Format::Tsv),
              "name\tpriority\tisReadOnly\tisLocal\tkeys\tstate\twins\tfile\turl\ttime\tisCached\tproblem\n");
    EXPECT_EQ(answers::stores({}, Format::Json), "[]\n");
}
