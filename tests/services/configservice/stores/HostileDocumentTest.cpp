#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <libxml/parser.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <mutex>

#include "StoreTestSupport.h"
#include "quill/XmlUtils.h"
#include "stores/LocalFileConfigStore.h"
#include "stores/XmlConfigStore.h"
#include "support/ForkedChild.h"
#include "support/HeldPipe.h"
#include "xml/XmlDocument.h"

namespace storetests {
namespace {

/// Records what libxml2 asks its entity loader for, in place of the real loader.
class ScopedEntityLoader {
public:
    ScopedEntityLoader() {
        QuillCoreUtils::XmlUtils::initialiseLibrary();
        requests().clear();
        real() = xmlGetExternalEntityLoader();
        xmlSetExternalEntityLoader(load);
    }
    ~ScopedEntityLoader() { xmlSetExternalEntityLoader(real()); }

    ScopedEntityLoader(const ScopedEntityLoader&) = delete;
    ScopedEntityLoader& operator=(const ScopedEntityLoader&) = delete;

    static std::vector<std::string>& requests() {
        static std::vector<std::string> instance;
        return instance;
    }

private:
    static xmlExternalEntityLoader& real() {
        static xmlExternalEntityLoader instance = nullptr;
        return instance;
    }

    static xmlParserInput* load(const char* url, const char* id, xmlParserCtxt* parser) {
        requests().push_back(url != nullptr ? url : "");
        return real()(url, id, parser);
    }
};

class HostileDocuments : public StoreTest {
protected:
    Map readServerForm(const std::string& document) {
        XmlConfigStore store("X", 10, false, write("server.xml", document), true);
        return contentsOf(store);
    }

    Map readLocalForm(const std::string& document) {
        write("local.xml", document);
        LocalFileConfigStore store("L", 20, world_.directory().path(), "local.xml", false, false);
        return contentsOf(store);
    }

    ChainedStoreMap readChain(const std::string& document) {
        ChainedStoreMap stores;
        XmlConfigParser::readChainedConfigFile(write("chain.xml", document), stores);
        return stores;
    }

    /// Nothing if the text is refused.
    static Map readFromMemory(const std::string& document) {
        ConfigMap values;
        SensitiveKeySet sensitiveKeys;
        XmlConfigParser::readFromMemory(document, values, sensitiveKeys);
        return plain(values);
    }

    /// All forms of one attack; the secret must be found nowhere.
    void expectNoSecret(const std::string& documentType, const std::string& reference) {
        for (const auto& [key, value] : readServerForm(documentType + "<r><G><K>" + reference + "</K></G></r>")) {
            EXPECT_EQ(value.find(L"TOP-SECRET"), std::wstring::npos);
        }
        for (const auto& [key, value] :
             readLocalForm(documentType + "<r><userConfig name='a' value='1'/>" + reference + "</r>")) {
            EXPECT_EQ(value.find(L"TOP-SECRET"), std::wstring::npos);
        }
        for (const auto& [key, value] : readFromMemory(documentType + "<r><G><K>" + reference + "</K></G></r>")) {
            EXPECT_EQ(value.find(L"TOP-SECRET"), std::wstring::npos);
        }
        EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(documentType + "<r><version>1" + reference +
                                                                  "</version></r>")
                      .find("TOP-SECRET"),
                  std::string::npos);
        EXPECT_FALSE(log_->mentions("TOP-SECRET"));
    }
};

std::string nested(std::size_t depth, const std::string& innermost) {
    std::string document;
    for (std::size_t level = 0; level < depth; ++level) {
        document += "<x>";
    }
    document += innermost;
    for (std::size_t level = 0; level < depth; ++level) {
        document += "</x>";
    }
    return document;
}

/// Entities, each so many times the one before.
std::string laughs(int levels = 10, int factor = 10, const std::string& first = "lollollollol") {
    std::string documentType = "<!DOCTYPE r [<!ENTITY l0 '" + first + "'>";
    for (int level = 1; level < levels; ++level) {
        documentType += "<!ENTITY l" + std::to_string(level) + " '";
        for (int copy = 0; copy < factor; ++copy) {
            documentType += "&l" + std::to_string(level - 1) + ";";
        }
        documentType += "'>";
    }
    return documentType + "]>";
}

TEST_F(HostileDocuments, NeverLoadAnExternalEntity) {
    const std::string secret = write("secret.txt", "TOP-SECRET");
    const ScopedEntityLoader loader;
    expectNoSecret("<!DOCTYPE r [<!ENTITY e SYSTEM 'file://" + secret + "'>]>", "&e;");
    EXPECT_THAT(ScopedEntityLoader::requests(), testing::IsEmpty());
}

TEST_F(HostileDocuments, NeverLoadAnExternalDocumentType) {
    const std::string secret = write("secret.dtd", "<!ENTITY e 'TOP-SECRET'>");
    const ScopedEntityLoader loader;
    expectNoSecret("<!DOCTYPE r SYSTEM 'file://" + secret + "'>", "&e;");
    expectNoSecret("<!DOCTYPE r [<!ENTITY % p SYSTEM 'file://" + secret + "'> %p;]>", "&e;");
    EXPECT_THAT(ScopedEntityLoader::requests(), testing::IsEmpty());
}

TEST_F(HostileDocuments, NeverTouchTheNetwork) {
    const ScopedEntityLoader loader;
    expectNoSecret("<!DOCTYPE r SYSTEM 'http://127.0.0.1:9/x.dtd' [<!ENTITY e SYSTEM 'http://127.0.0.1:9/e'>]>", "&e;");
    EXPECT_THAT(ScopedEntityLoader::requests(), testing::IsEmpty());
}

TEST_F(HostileDocuments, KeepAnExternalReferenceInAValueAsMarkup) {
    EXPECT_EQ(readServerForm("<!DOCTYPE r [<!ENTITY e SYSTEM 'file:///etc/hostname'>]><r><G><K>&e;</K></G></r>"),
              (Map{{L"k", L"<K>&e;</K>"}}));
}

TEST_F(HostileDocuments, RefuseABillionLaughsInText) {
    EXPECT_EQ(readServerForm(laughs() + "<r><G><K>&l9;</K></G></r>"), Map{});
    EXPECT_EQ(readLocalForm(laughs() + "<r>&l9;<userConfig name='a' value='1'/></r>"), Map{});
}

/// They come to a thousand million references to an entity that is not declared.
std::string laughsAboutNothing() { return laughs(4, 1000, "&nothing;"); }

TEST_F(HostileDocuments, RefuseReferencesToNothingThatEntitiesRepeat) {
    for (const std::string body : {"<r a='&l3;'/>", "<r><x a='&l3;'/><x a='&l3;'/></r>", "<r>&l3;</r>"}) {
        const std::string document = laughsAboutNothing() + body;
        std::vector<XmlProblem> problems;
        EXPECT_EQ(readXmlFile(write("laughs.xml", document), problems), nullptr);
        // Each reference is told of twice or three times, and a text of that size has room for so many.
        EXPECT_LT(problems.size(), 3 * (1000 + document.size() / 3)) << body;
    }
}

TEST_F(HostileDocuments, TellThatEntitiesRepeatReferencesToNothing) {
    // The contents of an entity have a parser of their own, around which the document's goes on.
    const std::string elements = "<!ENTITY elements \"<x a='&l3;'/>\">]>";
    const std::string laughs = laughsAboutNothing();
    const std::string document = laughs.substr(0, laughs.size() - 2) + elements;
    for (const std::string body :
         {"<r a='&l3;'/>", "<r a='&l3;&nothing;'/>", "<r a='&l3;' b='&l3;'/>", "<r><x a='&l3;'/>&elements;</r>",
          "<r>&elements;<x a='&l3;'/></r>", "<r>&elements;&nothing;</r>", "<r>&elements;&elements;</r>"}) {
        std::vector<XmlProblem> problems;
        EXPECT_EQ(readXmlFile(write("laughs.xml", document + body), problems), nullptr) << body;
        EXPECT_EQ(std::count_if(problems.begin(), problems.end(),
                                [](const XmlProblem& problem) {
                                    return problem.text == "entities repeat references to one that is not declared";
                                }),
                  1)
            << body;
    }
}

TEST_F(HostileDocuments, KeepReferencesToNothingForWhichTheyHaveRoom) {
    std::string value;
    for (int copy = 0; copy < 5000; ++copy) {
        value += "&nbsp;";
    }
    // A document type elsewhere may declare what is not declared here.
    EXPECT_NE(readServerForm("<!DOCTYPE r SYSTEM 'x.dtd'><r><G><K>" + value + "</K></G></r>"), Map{});
}

TEST_F(HostileDocuments, InMemoryLoadNothingAtAll) {
    const std::string secret = write("secret.txt", "TOP-SECRET");
    const std::string type =
        "<!DOCTYPE r SYSTEM 'http://127.0.0.1:9/x.dtd' [<!ENTITY e SYSTEM 'file://" + secret + "'>]>";
    const ScopedEntityLoader loader;
    EXPECT_EQ(readFromMemory(type + "<r><G><K>1&e;</K></G></r>"), (Map{{L"k", L"<K>1&e;</K>"}}));
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(type + "<r><version>1&e;2</version></r>"), "12");
    EXPECT_THAT(ScopedEntityLoader::requests(), testing::IsEmpty());
}

TEST_F(HostileDocuments, RefuseABillionLaughsInMemory) {
    EXPECT_EQ(readFromMemory(laughs() + "<r><G><K>&l9;</K></G></r>"), Map{});
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(laughs() + "<r><version>1&l9;</version></r>"), "");
    EXPECT_EQ(XmlConfigParser::parseUdsVersionFromXmlResponse(laughs() + "<r><version a='&l9;'>1</version></r>"), "");
}

TEST_F(HostileDocuments, RefuseABillionLaughsInAnAttribute) {
    EXPECT_EQ(readLocalForm(laughs() + "<r><userConfig name='a' value='&l9;'/></r>"), Map{});
    EXPECT_TRUE(readChain(laughs() + "<r><ConfigStore name='A' chainedTo='&l9;'/></r>").empty());
}

TEST_F(HostileDocuments, NeverMakeAValueLongerThroughAnEntity) {
    const std::string type = "<!DOCTYPE r [<!ENTITY e 'text'><!ENTITY f '&e;&e;'>]>";
    EXPECT_EQ(readLocalForm(type + "<r><userConfig name='a' value='1&f;2&amp;&#51;'/></r>"), (Map{{L"a", L"1&f;2&3"}}));
    EXPECT_EQ(readChain(type + "<r><ConfigStore name='A&e;' chainedTo='&e;'/></r>"),
              (ChainedStoreMap{{"A&e;", {"&e;"}}}));
    EXPECT_EQ(readServerForm(type + "<r><G><K>1&f;2</K></G></r>"), (Map{{L"k", L"<K>1&f;2</K>"}}));
}

std::string manyOf(std::size_t count, const std::string& before, const std::string& after) {
    std::string text;
    for (std::size_t number = 0; number < count; ++number) {
        text.append(before).append(std::to_string(number)).append(after);
    }
    return text;
}

TEST_F(HostileDocuments, AreReadWithAThousandAttributesOfAnElement) {
    const auto document = [](std::size_t attributes) {
        std::string text = "<r><G><K";
        return text.append(manyOf(attributes, " a", "=''")).append(">1</K></G></r>");
    };
    for (const bool isFile : {true, false}) {
        const auto read = [&](const std::string& text) { return isFile ? readServerForm(text) : readFromMemory(text); };
        EXPECT_EQ(read(document(1000)), (Map{{L"k", L"1"}}));
        EXPECT_EQ(read(document(1001)), Map{});
        EXPECT_EQ(read(document(100'000)), Map{});
    }
}

TEST_F(HostileDocuments, AreReadWithTwoHundredAndFiftySixNamespacesInScope) {
    const auto document = [](std::size_t namespaces) {
        std::string text = "<r><G><K";
        return text.append(manyOf(namespaces, " xmlns:a", "='u'")).append(">1</K></G></r>");
    };
    EXPECT_EQ(readServerForm(document(256)), (Map{{L"k", L"1"}}));
    EXPECT_EQ(readServerForm(document(257)), Map{});
    EXPECT_EQ(readServerForm(document(100'000)), Map{});
}

TEST_F(HostileDocuments, AreReadWithAThousandDeclaredAttributes) {
    const auto document = [](std::size_t declared, std::size_t elements) {
        std::string text = "<!DOCTYPE r [<!ATTLIST x";
        text.append(manyOf(declared, " a", " CDATA 'x'")).append(">]><r><G><K>1</K></G>");
        while (elements-- > 0) {
            text.append("<x/>");
        }
        return text.append("</r>");
    };
    EXPECT_EQ(readServerForm(document(1000, 1)), (Map{{L"k", L"1"}}));
    EXPECT_EQ(readServerForm(document(1001, 1)), Map{});
    EXPECT_EQ(readServerForm(document(1000, 200)), (Map{{L"k", L"1"}}));
    EXPECT_EQ(readServerForm(document(1000, 201)), Map{}) << "each element costs a million comparisons";
}

TEST_F(HostileDocuments, AreReadWithADocumentTypeOfThirtyTwoKibibytes) {
    // One attribute, and no name of its own, so that no other limit counts them.
    const auto document = [](std::size_t values) {
        return "<!DOCTYPE r [<!ATTLIST x a (v" + manyOf(values, "|v", "") + ") #IMPLIED>]><r><G><K>1</K></G></r>";
    };
    EXPECT_EQ(readServerForm(document(4'000)), (Map{{L"k", L"1"}})) << "some 24 KiB";
    EXPECT_EQ(readServerForm(document(8'000)), Map{}) << "some 48 KiB";
    EXPECT_EQ(readServerForm(document(500'000)), Map{});
    std::vector<XmlProblem> problems;
    EXPECT_EQ(readXmlFile(write("server.xml", document(8'000)), problems), nullptr);
    ASSERT_FALSE(problems.empty());
    EXPECT_EQ(problems.front().text, "the document type declaration is longer than 32768 bytes");
}

TEST_F(HostileDocuments, AreReadWhereMarkupOfADocumentTypesLengthStandsElsewhere) {
    const std::string comment = "<!--" + std::string(100'000, '|') + "-->";
    EXPECT_EQ(readServerForm(comment + "<!DOCTYPE r [<!ENTITY e 'x'>]>" + comment + "<r><G><K>1</K></G></r>" + comment),
              (Map{{L"k", L"1"}}));
}

TEST_F(HostileDocuments, AreReadWithAQuarterOfAMillionNames) {
    const auto document = [](std::size_t names) {
        return "<r><G><K>1</K></G>" + manyOf(names, "<a", "/>") + "<G><L>2</L></G></r>";
    };
    EXPECT_EQ(readServerForm(document(261'000)), (Map{{L"k", L"1"}, {L"l", L"2"}}));
    EXPECT_EQ(readServerForm(document(264'000)), Map{});
    std::vector<XmlProblem> problems;
    EXPECT_EQ(readXmlFile(write("server.xml", document(264'000)), problems), nullptr);
    ASSERT_FALSE(problems.empty());
    EXPECT_EQ(problems.front().text, "more than 262144 different names");
}

TEST_F(HostileDocuments, AreToldOfInTheLogWithTheLimitThatTheyBreak) {
    EXPECT_EQ(readServerForm("<r>\n<G" + manyOf(5000, " a", "=''") + "/></r>"), Map{});
    const std::vector<Line> lines = linesOf(log_, "XmlDocument");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines.front().level, 3);
    EXPECT_EQ(lines.front().text, "XML document is refused: " + world_.directory().path("server.xml") +
                                      ":2: an element has more than 1000 attributes");
}

TEST_F(HostileDocuments, TellOfTheLimitThatTheyBreak) {
    std::string text = "<r>\n<G";
    text.append(manyOf(5000, " a", "=''")).append("/></r>");
    std::vector<XmlProblem> problems;
    EXPECT_EQ(readXmlFile(write("server.xml", text), problems), nullptr);
    ASSERT_FALSE(problems.empty());
    EXPECT_EQ(problems.front().text, "an element has more than 1000 attributes");
    EXPECT_EQ(problems.front().line, 2);
    EXPECT_TRUE(problems.front().isError);
}

TEST_F(HostileDocuments, ThatAreCompressedAreNoDocuments) {
    // gzip of <r><G><K>1</K></G></r>
    const unsigned char packed[] = {0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0xff, 0xb3, 0x29, 0xb2, 0xb3,
                                    0x71, 0xb7, 0xb3, 0xf1, 0xb6, 0x33, 0xb4, 0xd1, 0xf7, 0xb6, 0xb3, 0xd1, 0x07, 0xb2,
                                    0xf5, 0x8b, 0xec, 0x00, 0x25, 0x99, 0x34, 0x7b, 0x16, 0x00, 0x00, 0x00};
    EXPECT_EQ(readServerForm(std::string(reinterpret_cast<const char*>(packed), sizeof packed)), Map{});
}

TEST_F(HostileDocuments, RefuseABillionLaughsInALargeFile) {
    const std::string padding = "<!--" + std::string(11'000'000, 'x') + "-->";
    EXPECT_EQ(readLocalForm(laughs() + "<r>" + padding + "<userConfig name='a' value='&l9;'/></r>"), Map{});
    EXPECT_EQ(readServerForm(laughs() + "<r>" + padding + "<G><K>&l9;</K></G></r>"), Map{});
}

TEST_F(HostileDocuments, DoNotLeadTheWalkThroughTheDeclarationsOfEntities) {
    const std::string documentType = "<!DOCTYPE r [<!ENTITY a '<x/>'><!ENTITY b '&a;'><!ENTITY c '&b;&a;'>]>";
    EXPECT_EQ(readLocalForm(documentType + "<r>&c;&b;&a;<userConfig name='k' value='v'/></r>"), (Map{{L"k", L"v"}}));
    EXPECT_EQ(readChain(documentType + "<r>&c;&b;<ConfigStore name='A' chainedTo='B'/></r>").size(), 1u);
}

TEST_F(HostileDocuments, GiveNoEntriesThatStandInEntities) {
    EXPECT_EQ(readLocalForm(R"(<!DOCTYPE r [<!ENTITY e "<userConfig name='k' value='v'/>">]><r>&e;</r>)"), Map{});
    EXPECT_TRUE(readChain(R"(<!DOCTYPE r [<!ENTITY e "<ConfigStore name='A' chainedTo='B'/>">]><r>&e;</r>)").empty());
}

TEST_F(HostileDocuments, AreReadToADepthOfTwoHundredAndFiftySix) {
    const std::string entry = "<userConfig name='a' value='1'/>";
    EXPECT_EQ(readLocalForm(nested(255, entry)), (Map{{L"a", L"1"}}));
    EXPECT_EQ(readLocalForm(nested(257, entry)), Map{});
    EXPECT_EQ(readChain(nested(255, "<ConfigStore name='A' chainedTo='B'/>")).size(), 1u);
}

TEST_F(HostileDocuments, AreRefusedAtADepthOfAMillionWithoutAStackOverflow) {
    EXPECT_EQ(readLocalForm(nested(1'000'000, "<userConfig name='a' value='1'/>")), Map{});
    EXPECT_EQ(readServerForm(nested(2'000'000, "<a>1</a>")), Map{}) << "more than 10,000,000 bytes";
    EXPECT_TRUE(readChain(nested(1'000'000, "<ConfigStore name='A' chainedTo='B'/>")).empty());
}

TEST_F(HostileDocuments, AreWalkedWithoutRecursionHoweverDeepTheTree) {
    const std::shared_ptr<xmlDoc> document(
        xmlReadDoc(BAD_CAST nested(200'000, "<ConfigStore name='A' chainedTo='B'/>").c_str(), "", nullptr,
                   XML_PARSE_HUGE),
        xmlFreeDoc);
    ASSERT_NE(document, nullptr);
    ChainedStoreMap stores;
    XmlConfigParser::parseChainedConfigXml(xmlDocGetRootElement(document.get()), stores);
    EXPECT_EQ(stores.size(), 1u);
}

TEST_F(HostileDocuments, WithIllFormedUtf8AreRefusedAndALocalFileIsSetAside) {
    EXPECT_EQ(readServerForm(serverDocument("<A>\xFF\xC3</A>")), Map{});
    EXPECT_EQ(readLocalForm("<r><userConfig name='a' value='\xC3('/></r>"), Map{});
    EXPECT_EQ(read("local-backup.xml"), "<r><userConfig name='a' value='\xC3('/></r>");
}

TEST_F(HostileDocuments, InOtherEncodingsAreRead) {
    EXPECT_EQ(readServerForm("<?xml version='1.0' encoding='ISO-8859-1'?><r><G><K>\xFC</K></G></r>"),
              (Map{{L"k", L"\u00fc"}}));
}

TEST_F(HostileDocuments, OfManyKindsOfRubbishGiveNothing) {
    for (const std::string& rubbish :
         {std::string(), std::string("\0\0\0", 3), std::string("<"), std::string("<!DOCTYPE"),
          std::string("\xEF\xBB\xBF"), std::string(100000, '<')}) {
        EXPECT_EQ(readServerForm(rubbish), Map{});
        EXPECT_EQ(readLocalForm(rubbish), Map{});
    }
}

TEST_F(HostileDocuments, MayBeAFolder) {
    std::filesystem::create_directories(path("server.xml"));
    std::filesystem::create_directories(path("folder/local.xml"));
    XmlConfigStore server("X", 10, false, path("server.xml"), true);
    EXPECT_TRUE(server.getKeys().empty());
    EXPECT_EQ(log_->count(3, "XML in file did not exist or is an invalid XML document: " + path("server.xml")), 1u);
    LocalFileConfigStore local("L", 20, path("folder"), "local.xml", false, false);
    EXPECT_TRUE(local.getKeys().empty());
    EXPECT_TRUE(local.storeValue(L"a", L"1"));
    EXPECT_EQ(valueOf(local, L"a"), L"1");
}

TEST_F(HostileDocuments, MayBePipesAndAreNotWaitedFor) {
    std::filesystem::create_directory(path("folder"));
    ASSERT_EQ(mkfifo(path("server.xml").c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(path("folder/local.xml").c_str(), 0600), 0);
    XmlConfigStore server("X", 10, false, path("server.xml"), true);
    EXPECT_TRUE(server.getKeys().empty());
    EXPECT_EQ(log_->count(3, "XML in file did not exist or is an invalid XML document: " + path("server.xml")), 1u);
    LocalFileConfigStore local("L", 20, path("folder"), "local.xml", false, false);
    EXPECT_TRUE(std::filesystem::is_fifo(path("folder/local-backup.xml")));
    local.storeValue(L"a", L"1");
    local.persistValues();
    EXPECT_TRUE(std::filesystem::is_regular_file(path("folder/local.xml")));
}

TEST_F(HostileDocuments, MayBePipesThatSomebodyHoldsAndAreNotRead) {
    const support::HeldPipe held(path("server.xml"));
    held.write("<c><g><a>1</a></g></c>");
    XmlConfigStore server("X", 10, false, path("server.xml"), true);
    EXPECT_TRUE(server.getKeys().empty());
    EXPECT_EQ(log_->count(3, "XML in file did not exist or is an invalid XML document: " + path("server.xml")), 1u);
}

TEST_F(HostileDocuments, MayBeDevicesThatNeverEnd) {
    XmlConfigStore server("X", 10, false, "/dev/zero", true);
    EXPECT_TRUE(server.getKeys().empty());
}

// The first terminal that a process without one opens becomes its own: from there come its signals.
TEST_F(HostileDocuments, MayBeTerminalsAndAreNotOpened) {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    std::array<char, 64> name{};
    if (terminal < 0 || unlockpt(terminal) != 0 || ptsname_r(terminal, name.data(), name.size()) != 0) {
        GTEST_SKIP() << "no terminal can be had";
    }
    std::filesystem::create_symlink(name.data(), path("local.xml"));
    std::filesystem::create_symlink(name.data(), path("server.xml"));
    const auto controlledAfterReading = [this] {
        setsid();
        const XmlConfigStore server("X", 10, false, path("server.xml"), true);
        const LocalFileConfigStore local("L", 20, world_.directory().path(), "local.xml", false, false);
        return ::open("/dev/tty", O_RDONLY | O_CLOEXEC) >= 0 ? 1 : 0;
    };
    EXPECT_EQ(support::runForked(controlledAfterReading), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(path("local-backup.xml")));
    ::close(terminal);
}

// A program that was killed leaves no links: whoever puts one there wants another file to be overwritten.
TEST_F(HostileDocuments, AreNotWrittenThroughALinkInThePlaceOfATemporary) {
    for (const bool isHardLink : {false, true}) {
        write("outside", "precious");
        std::filesystem::permissions(path("outside"), std::filesystem::perms(0644));
        isHardLink ? std::filesystem::create_hard_link(path("outside"), path(".local.xml.temp"))
                   : std::filesystem::create_symlink(path("outside"), path(".local.xml.temp"));
        LocalFileConfigStore local("L", 20, world_.directory().path(), "local.xml", false, false);
        local.storeValue(L"a", isHardLink ? L"1" : L"2");
        local.persistValues();
        EXPECT_EQ(read("outside"), "precious");
        EXPECT_EQ(std::filesystem::status(path("outside")).permissions(), std::filesystem::perms(0644));
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(path(".local.xml.temp"))));
        EXPECT_THAT(read("local.xml"), testing::HasSubstr("name=\"a\""));
    }
}

// Opening this file succeeds for every user, root too, and reading it fails.
TEST_F(HostileDocuments, MayBeUnreadable) {
    std::filesystem::create_symlink("/proc/self/mem", path("server.xml"));
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_symlink("/proc/self/mem", path("folder/local.xml"));
    XmlConfigStore server("X", 10, false, path("server.xml"), true);
    EXPECT_TRUE(server.getKeys().empty());
    LocalFileConfigStore local("L", 20, path("folder"), "local.xml", false, false);
    EXPECT_TRUE(local.getKeys().empty());
    EXPECT_EQ(log_->count(2, "contents of invalid xml with string length: 0\n"), 1u);
    EXPECT_TRUE(std::filesystem::is_symlink(path("folder/local-backup.xml")));
}

}  // namespace
}  // namespace storetests
