#include "exporting/ExportForm.h"

#include <nlohmann/json.hpp>
#include <random>

#include "exporting/Export.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/StringUtils.h"
#include "stores/BootstrapConfigStore.h"
#include "stores/XmlConfigStore.h"
#include "xml/XmlConfigParser.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Values = std::map<std::wstring, std::wstring, caseInsensitiveStringComparator<std::wstring>>;

/// Keys and values made of what matters to the forms. The seed is told when a test fails.
class RandomValues {
public:
    explicit RandomValues(unsigned seed) : random_(seed) {}

    std::vector<ExportedValue> next() {
        std::map<std::string, ExportedValue> byKey;  // different without regard to case
        for (std::size_t left = upTo(24); left > 0; --left) {
            const ExportedValue value = {text(KEY_PIECES, 4), text(VALUE_PIECES, 6), upTo(3) == 0};
            byKey[QuillCoreUtils::toLowercase(value.key)] = value;
        }
        std::vector<ExportedValue> values;
        for (const auto& [key, value] : byKey) {
            values.push_back(value);
        }
        return values;
    }

private:
    using Pieces = std::vector<std::string>;

    static inline const Pieces KEY_PIECES = {"a",        "B",  "Key", "_", "1", "-", ".",
                                             "\xC3\x84", "x:", "#",   " ", "<", "\n"};
    static inline const Pieces VALUE_PIECES = {"a",         "<i>",
                                               "</i>",      "&amp;",
                                               "&",         "\"",
                                               "]]>",       " ",
                                               "\n",        "\r",
                                               "\t",        ":",
                                               "#",         "\xF0\x9F\x98\x80",
                                               "\\",        "'",
                                               "\x01",      "\x7F",
                                               "=1",        "\xEF\xBF\xBF",
                                               "<!-- c -->"};

    std::size_t upTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random_); }

    std::string text(const Pieces& pieces, std::size_t longest) {
        std::string result;
        for (std::size_t left = upTo(longest); left > 0; --left) {
            result += pieces[upTo(pieces.size() - 1)];
        }
        return result;
    }

    std::mt19937 random_;
};

Values held(const std::vector<ExportedValue>& values, const ExportForm& form) {
    Values result;
    for (const ExportedValue& value : values) {
        if (form.obstacleTo(value).empty()) {
            result[QuillCoreUtils::toWideString(value.key)] = QuillCoreUtils::toWideString(value.value);
        }
    }
    return result;
}

Values readBy(ConfigStore& store) {
    Values result;
    for (const std::wstring& key : store.getKeys()) {
        EXPECT_TRUE(store.getValue(key, result[key]));
    }
    return result;
}

/// What two forms must agree on: spelling of keys aside, the values that were written are those that are read.
void expectSame(const Values& read, const Values& written, const std::string& document) {
    ASSERT_EQ(read.size(), written.size()) << document;
    for (const auto& [key, value] : written) {
        const auto found = read.find(key);
        ASSERT_NE(found, read.end()) << document;
        ASSERT_EQ(found->second, value) << document;
    }
}

class ExportForms : public testing::Test {
protected:
    ExportForms() : seed_(std::random_device()()), trace_(__FILE__, __LINE__, "seed " + std::to_string(seed_)) {
        RecordProperty("seed", std::to_string(seed_));
    }

    /// Writes random values and reads them back, until many have been written, of which a form may refuse most.
    /// @param read the values of a file.
    void goAround(const ExportForm& form, const std::function<Values(const std::string& file)>& read) {
        RandomValues random(seed_);
        std::size_t written = 0;
        for (int round = 0; (round < 60 || (written <= 50 && round < 6000)) && !HasFatalFailure(); ++round) {
            const std::vector<ExportedValue> values = random.next();
            const ExportView view = exported(values, form, true);
            written += view.keys;
            expectSame(read(directory_.write("document", view.document)), held(values, form), view.document);
        }
        EXPECT_GT(written, 50U);
    }

    const unsigned seed_;
    const testing::ScopedTrace trace_;
    const fakes::TemporaryDirectory directory_;
};

std::string obstacle(const std::string& format, const std::string& key, const std::string& value) {
    return exportForm(format)->obstacleTo({key, value});
}

}  // namespace

TEST_F(ExportForms, AServersDocumentIsReadBackToTheSameValues) {
    goAround(ServerForm(), [](const std::string& file) {
        XmlConfigStore store("s", 1, true, file, true);
        return readBy(store);
    });
}

TEST_F(ExportForms, PropertiesAreReadBackToTheSameValues) {
    goAround(PropertiesForm(), [](const std::string& file) {
        BootstrapConfigStore store("s", file, 1);
        return readBy(store);
    });
}

TEST_F(ExportForms, JsonIsReadBackToTheSameValues) {
    goAround(JsonForm(), [this](const std::string&) {
        Values values;
        const auto object = nlohmann::json::parse(directory_.read("document"));
        for (const auto& [key, value] : object.items()) {
            values[QuillCoreUtils::toWideString(key)] = QuillCoreUtils::toWideString(value.get<std::string>());
        }
        return values;
    });
}

TEST_F(ExportForms, AServersDocumentKeepsTheMarksOfSensitiveValues) {
    ConfigMap values;
    SensitiveKeySet marked;
    const std::string document = ServerForm().write({{"Open", "1", false}, {"Secret", "2", true}});
    ASSERT_TRUE(XmlConfigParser::readFromMemory(document, values, marked));
    EXPECT_EQ(marked, SensitiveKeySet{L"secret"});
}

TEST(ExportForm, LooksAsItsReadersExpect) {
    const std::vector<ExportedValue> values = {{"A", "<1 & 2>\r", false}, {"B", "", true}};
    EXPECT_EQ(ServerForm().write(values), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                          "<config version=\"1.0\">\n"
                                          "  <Exported>\n"
                                          "    <A>&lt;1 &amp; 2&gt;&#13;</A>\n"
                                          "    <B sensitive=\"true\"></B>\n"
                                          "  </Exported>\n"
                                          "</config>\n");
    EXPECT_EQ(PropertiesForm().write({{"A", "h:80"}, {"B", ""}}),
              "# One key:value a line; everything after the first colon is the value.\nA: h:80\nB:\n");
    EXPECT_EQ(JsonForm().write({{"b", "1"}, {"A", "\""}}), "{\n  \"b\": \"1\",\n  \"A\": \"\\\"\"\n}\n");
    EXPECT_EQ(JsonForm().write({}), "{}\n");
}

TEST(ExportForm, TellsWhatAServersDocumentCannotHold) {
    EXPECT_EQ(obstacle("server", "Key", "v"), "");
    EXPECT_EQ(obstacle("server", "Key", "a\nb"), "");
    EXPECT_EQ(obstacle("server", "a b", "v"), "its key is no XML name");
    EXPECT_EQ(obstacle("server", "x:a", "v"), "its key is no XML name");
    EXPECT_EQ(obstacle("server", "", "v"), "its key is no XML name");
    EXPECT_EQ(obstacle("server", "CERTIFICATEValidationEnabled", "v"), "no configuration document can set it");
    EXPECT_EQ(obstacle("server", "Key", " v"), "white space around a value is not read");
    EXPECT_EQ(obstacle("server", "Key", "a\x01"), "it has a character that XML cannot hold");
}

TEST(ExportForm, TellsWhatPropertiesCannotHold) {
    EXPECT_EQ(obstacle("properties", "Key", "h:80 # 1"), "");
    EXPECT_EQ(obstacle("properties", "a:b", "v"), "its key has a colon, which would end it");
    EXPECT_EQ(obstacle("properties", "#a", "v"),
              "its key begins with a number sign, which would make the line a comment");
    EXPECT_EQ(obstacle("properties", "a", "1\n2"), "it has a line feed, which would end the line");
    EXPECT_EQ(obstacle("properties", "a", "1 "), "white space around a key or a value is not read");
    EXPECT_EQ(obstacle("properties", " a", "1"), "white space around a key or a value is not read");
}

TEST(ExportForm, IsThereForThreeNames) {
    EXPECT_NE(exportForm("json"), nullptr);
    EXPECT_EQ(exportForm("JSON"), nullptr);
    EXPECT_EQ(exportForm(""), nullptr);
}

TEST(Exported, LeavesOutSecretsAndWhatTheFormCannotHold) {
    const std::vector<ExportedValue> values = {{"a b", "1", false}, {"Good", "2", false}, {"Secret x", "s3cret", true}};
    const ExportView view = exported(values, ServerForm(), false);
    EXPECT_EQ(view.keys, 1U);
    EXPECT_THAT(view.hidden, ElementsAre("Secret x"));
    ASSERT_EQ(view.leftOut.size(), 1U);
    EXPECT_EQ(view.leftOut.front().key, "a b");
    EXPECT_THAT(view.document, testing::Not(testing::HasSubstr("s3cret")));
    EXPECT_THAT(exported(values, JsonForm(), true).hidden, IsEmpty());
    EXPECT_EQ(exported(values, JsonForm(), true).keys, 3U);
}
