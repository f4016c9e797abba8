#include <random>

#include "StoreTestSupport.h"
#include "support/Seed.h"
#include "xml/XmlDocument.h"

// Documents whose entries are taken while they are read, held to what the whole tree of the same document gives.

namespace storetests {
namespace {

using EntryNames = std::vector<std::string>;

/// Notes the names of the entries.
class Noting : public XmlEntryReceiver {
public:
    void begin() override {
        ++readings;
        names.clear();
    }
    void take(xmlNode* entry) override { names.emplace_back(reinterpret_cast<const char*>(entry->name)); }

    int readings = 0;
    EntryNames names;
};

EntryNames entriesOf(const std::string& document) {
    Noting noting;
    EXPECT_NE(readXmlMemory(document.data(), document.size(), "name", noting), nullptr) << document;
    return noting.names;
}

struct ParserAnswer {
    bool isRead = false;
    Map values;
    std::vector<std::wstring> marks;

    bool operator==(const ParserAnswer&) const = default;

    friend std::ostream& operator<<(std::ostream& stream, const ParserAnswer& answer) {
        stream << (answer.isRead ? "read" : "not read");
        for (const auto& [key, value] : answer.values) {
            stream << "\n" << QuillCoreUtils::toString(key) << ": " << QuillCoreUtils::toString(value);
        }
        for (const std::wstring& mark : answer.marks) {
            stream << "\nmark: " << QuillCoreUtils::toString(mark);
        }
        return stream;
    }
};

ParserAnswer answerOf(bool isRead, const ConfigMap& values, const SensitiveKeySet& marks) {
    return {isRead, plain(values), {marks.begin(), marks.end()}};
}

ParserAnswer readInPieces(const std::string& document) {
    ConfigMap values;
    SensitiveKeySet marks;
    const bool isRead = XmlConfigParser::readFromMemory(document, values, marks);
    return answerOf(isRead, values, marks);
}

ParserAnswer readAsTree(const std::string& document) {
    ConfigMap values;
    SensitiveKeySet marks;
    const auto tree = readXmlMemory(document.data(), document.size(), "xmlDocument");
    const bool isRead = XmlConfigParser::parseXmlConfig(tree, values, marks);
    return answerOf(isRead, values, marks);
}

class XmlEntries : public StoreTest {};

TEST_F(XmlEntries, AreTheGrandchildrenOfTheRootInDocumentOrder) {
    EXPECT_EQ(entriesOf("<r>t<G>t<b/>t<a><not><this/></not></a></G><H/><!-- c --><I><c>t</c></I><p:d/></r>"),
              (EntryNames{"b", "a", "c"}));
}

TEST_F(XmlEntries, AreNotWhatEntitiesHold) {
    EXPECT_EQ(entriesOf("<!DOCTYPE r [<!ENTITY e '<x><y><z/></y></x>text'>]><r>&e;<G>&e;<a>&e;</a></G></r>"),
              (EntryNames{"a"}));
}

TEST_F(XmlEntries, AreNotInTheDocumentThatIsLeft) {
    Noting noting;
    const std::string text = "<r>text<G> <a>1</a>&amp;<!-- c --><b/><![CDATA[d]]><b/><![CDATA[long text]]></G></r>";
    const auto document = readXmlMemory(text.data(), text.size(), "name", noting);
    ASSERT_NE(document, nullptr);
    const xmlNode* const group = xmlDocGetRootElement(document.get())->children;
    EXPECT_STREQ(reinterpret_cast<const char*>(group->name), "G");
    EXPECT_EQ(group->children, group->last);
    EXPECT_EQ(group->last->type, XML_COMMENT_NODE);
}

TEST_F(XmlEntries, BeginAgainWithASecondReading) {
    std::string text = "<r><G><a/><b>";
    while (text.size() < 20'000'000) {
        text += "&amp;xxxxx";
    }
    text += "</b><c/></G></r>";
    Noting noting;
    int error = 0;
    EXPECT_NE(readXmlFile(write("large.xml", text), noting, error), nullptr);
    EXPECT_EQ(noting.readings, 2);
    EXPECT_EQ(noting.names, (EntryNames{"a", "b", "c"}));
}

TEST_F(XmlEntries, OfADocumentThatEndsTooEarlyGiveNothing) {
    const ParserAnswer nothing;
    EXPECT_EQ(readInPieces("<r><G><a sensitive='1'>1</a><b>2</b></G>"), nothing);
    EXPECT_EQ(readInPieces("<r><G><a sensitive='1'>1</a><b>2</c></G></r>"), nothing);
}

TEST_F(XmlEntries, HaveTheMarkupThatTheTreeGives) {
    const std::string latin = "<r xmlns:p='urn:p'><G p:x='1'><l><i a='\xE9'/>\xE9</l><p:m><p:i/>&#233;</p:m></G></r>";
    const std::string utf8 = "<r><G><l><i a='\xC3\xA9\xE2\x98\x83'/>\xC3\xA9</l></G></r>";
    const std::vector<std::string> documents = {
        "<?xml version='1.0' encoding='iso-8859-1'?>" + latin,
        "<?xml version='1.0' encoding='us-ascii'?><r><G><l><i a='&#233;'/>&#233;</l></G></r>",
        utf8,
        "<?xml version='1.0' encoding='utf-8'?>" + utf8,
        "<!DOCTYPE r [<!ENTITY e 'x'><!ATTLIST l d CDATA 'default'>]>"
        "<r><G><l>&e;</l><m><l/>&#13;&lt;</m><n xml:id='i'><o/></n><o xml:id='j'><o/></o></G></r>",
        "<!DOCTYPE html PUBLIC '-//W3C//DTD XHTML 1.0 Strict//EN' "
        "'http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd'><r><G><l><br/><p></p></l></G></r>"};
    for (const std::string& document : documents) {
        const ParserAnswer answer = readInPieces(document);
        EXPECT_TRUE(answer.isRead) << document;
        EXPECT_EQ(answer, readAsTree(document)) << document;
    }
}

TEST_F(XmlEntries, HaveTheMarkupThatTheTreeGivesInUtf16) {
    std::string document = "\xFF\xFE";
    for (const char16_t unit : std::u16string_view(u"<r><G><l><i a='\u00e9\u2603'/>\u00e9</l></G></r>")) {
        document += static_cast<char>(unit & 0xFFU);
        document += static_cast<char>(unit >> 8U);
    }
    const ParserAnswer answer = readInPieces(document);
    EXPECT_TRUE(answer.isRead);
    EXPECT_EQ(answer.values.size(), 1U);
    EXPECT_EQ(answer, readAsTree(document));
}

/// Pieces of documents, put together at random: mostly well-formed, with few names, so that keys meet.
class RandomDocument {
public:
    explicit RandomDocument(std::mt19937& random) : random_(random) {}

    std::string make() {
        std::string text = "<!DOCTYPE r [<!ENTITY e 't<x><y><z/></y></x>'>]><r>";
        for (int group = pick(4); group >= 0; --group) {
            text += piece(1);
        }
        text += "</r>";
        if (pick(10) == 0) {
            text.resize(text.size() - static_cast<std::size_t>(pick(10)));
        }
        return text;
    }

private:
    int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

    std::string piece(int depth) {
        static const std::vector<std::string> leaves = {"t",       " \n ",         "<!-- c -->", "<![CDATA[<c>]]>",
                                                        "<?p i?>", "&amp;",        "&#233;",     "&e;",
                                                        "x \t",    "\xE2\x98\x83", "<k/>",       "<b>secret</b>"};
        if (depth > 4 || pick(3) == 0) {
            return leaves[static_cast<std::size_t>(pick(static_cast<int>(leaves.size())))];
        }
        static const std::vector<std::string> names = {"a", "A", "b", "K", "ConnectionPassword", "p", "\xC3\xA9"};
        const std::string name = names[static_cast<std::size_t>(pick(static_cast<int>(names.size())))];
        std::string text = "<" + name + (pick(4) == 0 ? " Sensitive='true' x='&#233;'>" : ">");
        for (int part = pick(5); part > 0; --part) {
            text += piece(depth + 1);
        }
        return text + "</" + name + ">";
    }

    std::mt19937& random_;
};

TEST_F(XmlEntries, GiveWhatTheTreeGivesForRandomDocuments) {
    std::mt19937 random(support::seedOfThisRun());
    std::size_t keys = 0;
    for (int turn = 0; turn < 1000; ++turn) {
        const std::string document = RandomDocument(random).make();
        const ParserAnswer answer = readInPieces(document);
        ASSERT_EQ(answer, readAsTree(document)) << document;
        keys += answer.values.size();
    }
    EXPECT_GT(keys, 1000U) << "hardly a document was read";
}

}  // namespace
}  // namespace storetests
