#include "validating/PropertiesInspector.h"

#include <random>

#include "fakes/TemporaryDirectory.h"
#include "quill/StringUtils.h"
#include "stores/BootstrapConfigStore.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> told(const std::string& contents) {
    std::vector<std::string> lines;
    for (const Finding& finding : inspectProperties(contents).findings) {
        lines.push_back(std::to_string(finding.line) + ": " + wordOf(finding.severity) + ": " + finding.text + " [" +
                        finding.kind + "] " + finding.key);
    }
    return lines;
}

std::vector<std::string> entriesOf(const std::string& contents) {
    std::vector<std::string> lines;
    for (const DocumentReport::Entry& entry : inspectProperties(contents).entries) {
        lines.push_back(std::to_string(entry.line) + ": " + QuillCoreUtils::toString(entry.key) + "=" +
                        QuillCoreUtils::toString(entry.value));
    }
    return lines;
}

}  // namespace

TEST(PropertiesInspector, ReadsKeysAndValuesWithTheirLines) {
    const std::string contents = "# comment: no\n\n Key : host:80 \nEmpty:\n";
    EXPECT_THAT(entriesOf(contents), ElementsAre("3: Key=host:80", "4: Empty="));
    EXPECT_THAT(told(contents), IsEmpty());
}

TEST(PropertiesInspector, TellsWhichOfTwoLinesCounts) {
    EXPECT_THAT(entriesOf("Key:1\nOther:2\nKEY:3\n"), ElementsAre("3: Key=3", "2: Other=2"));
    EXPECT_THAT(told("Key:1\nOther:2\nKEY:3\nkey:4"),
                ElementsAre("1: warning: duplicate key is ignored, line 3 counts: Key [duplicate-key] Key",
                            "3: warning: duplicate key is ignored, line 4 counts: Key [duplicate-key] Key"));
}

TEST(PropertiesInspector, WarnsOfALineWithoutAColon) {
    EXPECT_THAT(told("Key\nOther=1"),
                ElementsAre("1: warning: line has no colon, so all of it is a key with an empty value [no-separator] "
                            "Key",
                            "2: warning: line has no colon, so all of it is a key with an empty value; a colon parts "
                            "key and value, not an equals sign [no-separator] Other=1"));
    EXPECT_THAT(entriesOf("Key\nOther=1"), ElementsAre("1: Key=", "2: Other=1="));
}

TEST(PropertiesInspector, TellsOfLinesWithoutAColumn) {
    for (const char* const contents : {"<a/>", "\xEF\xBB\xBFkey:1\nKEY:2\nkey:3\nnone\n:4\n \nc\xFF:5"}) {
        const std::vector<Finding> findings = inspectProperties(contents).findings;
        EXPECT_FALSE(findings.empty());
        for (const Finding& finding : findings) {
            EXPECT_EQ(finding.column, 0) << finding.text;
        }
    }
}

TEST(PropertiesInspector, HidesASecretThatHasBecomeAPartOfItsKey) {
    EXPECT_THAT(entriesOf("connectionPassword=s3cret\nBDIConnectionUserDn s3 cret\nAddtional_Info =s3cret"),
                ElementsAre("1: connectionPassword=VALUE_HIDDEN=", "2: BDIConnectionUserDn VALUE_HIDDEN=",
                            "3: Addtional_Info VALUE_HIDDEN="));
    EXPECT_THAT(entriesOf("connectionPassword"), ElementsAre("1: connectionPassword="));
    for (const std::string& line : told("ConnectionPassword=s3cret")) {
        EXPECT_THAT(line, testing::Not(testing::HasSubstr("s3cret")));
    }
}

TEST(PropertiesInspector, WarnsOfAnEntryWithoutAName) {
    EXPECT_THAT(told("a:1\n :value"), ElementsAre("2: warning: entry without a name is never asked for [lost-entry] "));
    EXPECT_THAT(entriesOf("a:1\n :value"), ElementsAre("1: a=1"));
}

TEST(PropertiesInspector, TellsOnceOfLinesOfWhiteSpace) {
    EXPECT_THAT(told("a:1\r\n\r\n \t\r\nb:2\r\n"),
                ElementsAre("2: info: line of nothing but white space is read as a key without a name, which does no "
                            "harm [blank-line] "));
}

TEST(PropertiesInspector, WarnsOfBytesThatAreNoText) {
    EXPECT_THAT(told("a:\xFF\n"), ElementsAre("1: warning: bytes that are no UTF-8 are read as U+FFFD "
                                              "[ill-formed-text] "));
    EXPECT_THAT(told("a:\xEF\xBF\xBD\n#\xFF"), IsEmpty());
}

TEST(PropertiesInspector, WarnsOfAByteOrderMark) {
    EXPECT_THAT(told("\xEF\xBB\xBF"
                     "a:1"),
                ElementsAre("1: warning: byte order mark is read as the start of the first key, save the file without "
                            "it [byte-order-mark] "));
}

TEST(PropertiesInspector, ReadsMarkUpLineByLineAndWarns) {
    const std::string contents = "\n <?xml version='1.0'?>: \n<c a='b:c'/>";
    EXPECT_THAT(entriesOf(contents), ElementsAre("2: <?xml version='1.0'?>=", "3: <c a='b=c'/>"));
    EXPECT_THAT(told(contents), ElementsAre("1: warning: it looks like mark-up; a file of this name is read line by "
                                            "line all the same, as key:value [wrong-form] "));
}

TEST(PropertiesInspector, KnowsPropertiesByNameAndByContent) {
    EXPECT_TRUE(isNamedProperties("Bootstrap.PROPERTIES"));
    EXPECT_FALSE(isNamedProperties("properties"));
    EXPECT_TRUE(looksLikeProperties("# c\na:1"));
    EXPECT_FALSE(looksLikeProperties("# c:d\na"));
    EXPECT_FALSE(looksLikeProperties(" <c a='b:c'/>"));
    EXPECT_FALSE(looksLikeProperties(std::string("a\0:", 3)));
    EXPECT_FALSE(looksLikeProperties(""));
}

TEST(PropertiesInspector, AgreesWithTheStoreAboutAnyFile) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto upTo = [&random](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random);
    };
    const std::vector<std::string> pieces = {"a",  "B",  "b",  "A", ":", ":", " ",        "\t",
                                             "\r", "\n", "\n", "#", "=", "<", "\xC3\xA4", "\xFF"};
    const fakes::TemporaryDirectory directory;
    for (int round = 0; round < 60; ++round) {
        std::string contents = round % 2 == 0 ? "a" : "<";  // and no byte order mark
        for (std::size_t left = upTo(160); left > 0; --left) {
            contents += pieces[upTo(pieces.size() - 1)];
        }
        BootstrapConfigStore store("s", directory.write("f", contents), 1);
        std::map<std::wstring, std::wstring> expected;
        for (const std::wstring& key : store.getKeys()) {
            store.getValue(key, expected[key]);
        }
        expected.erase(L"");
        std::map<std::wstring, std::wstring> entries;
        for (const DocumentReport::Entry& entry : inspectProperties(contents).entries) {
            entries[entry.key] = entry.value;
        }
        ASSERT_EQ(entries, expected) << testing::PrintToString(contents);
    }
}
