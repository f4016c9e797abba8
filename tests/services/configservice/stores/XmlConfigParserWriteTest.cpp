#include <sys/stat.h>

#include <filesystem>

#include "StoreTestSupport.h"

namespace storetests {
namespace {

class XmlConfigParserWriting : public StoreTest {
protected:
    Map reread() {
        ConfigMap values;
        SensitiveKeySet sensitiveKeys;
        EXPECT_TRUE(XmlConfigParser::readFromFile(path("Cache/c.xml"), values, sensitiveKeys));
        return plain(values);
    }

    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path("Cache"))) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    std::string file_ = path("Cache/c.xml");
};

TEST_F(XmlConfigParserWriting, WritesTheCachedFormWithOneElementOnALine) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"b", L"2 < 3"}, {L"A", L"1"}}));
    EXPECT_EQ(withSmallDeclaration(read("Cache/c.xml")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<Corvid>\n <CachedConfig>\n  <A>1</A>\n  <b>2 &lt; 3</b>\n </CachedConfig>\n</Corvid>\n");
}

TEST_F(XmlConfigParserWriting, WritesIntoTheCurrentFolderWithoutMakingOne) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(world_.directory().path());
    EXPECT_TRUE(XmlConfigParser::writeToFile("c.xml", ConfigMap{{L"a", L"1"}}));
    std::filesystem::current_path(before);
    EXPECT_THAT(read("c.xml"), testing::HasSubstr("<a>1</a>"));
}

TEST_F(XmlConfigParserWriting, TellsWhereItHasWritten) {
    XmlConfigParser::writeToFile(file_, ConfigMap{});
    EXPECT_THAT(linesOf(log_, "XmlConfigParser"),
                testing::ElementsAre(Line{4, "XmlConfigParser", "writeToFile", "data written to file: " + file_}));
}

TEST_F(XmlConfigParserWriting, MakesTheFolderAndLeavesNothingBesideTheFile) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}}));
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("c.xml"));
}

TEST_F(XmlConfigParserWriting, LetsTheUserAloneReadTheFile) {
    XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}});
    struct stat status {};
    ASSERT_EQ(::stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST_F(XmlConfigParserWriting, WritesAnEmptyMapAsADocument) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{}));
    EXPECT_EQ(reread(), Map{});
}

TEST_F(XmlConfigParserWriting, BringsMarkupBackAsTheSameText) {
    const Map values = {{L"list", L"<List a=\"1\"><Item>1 &amp; 2</Item></List>"}};
    XmlConfigParser::writeToFile(file_, ConfigMap(values.begin(), values.end()));
    EXPECT_EQ(reread(), values);
}

TEST_F(XmlConfigParserWriting, WritesAKeyThatIsNoNameAndCannotReadTheFileBack) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"two words", L"1"}}));
    EXPECT_THAT(read("Cache/c.xml"), testing::HasSubstr("<two words>1</two words>"));
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_FALSE(XmlConfigParser::readFromFile(file_, values, sensitiveKeys));
}

TEST_F(XmlConfigParserWriting, LeavesOutAnEmptyKey) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"", L"lost"}, {L"a", L"1"}}));
    EXPECT_EQ(reread(), (Map{{L"a", L"1"}}));
}

TEST_F(XmlConfigParserWriting, ReplacesCharactersThatXmlCannotHold) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(
        file_, ConfigMap{{L"bad", std::wstring(L"a\x01") + wchar_t(0xD800) + L'\0' + wchar_t(0xFFFE) + L"b"},
                         {L"good", L"tab\tstays"}}));
    EXPECT_EQ(reread(), (Map{{L"bad", L"a\uFFFD\uFFFD\uFFFD\uFFFDb"}, {L"good", L"tab\tstays"}}));
    EXPECT_EQ(log_->count(3, "characters that XML cannot hold were replaced in the entry: bad"), 1u);
    EXPECT_EQ(log_->texts(3).size(), 1u);
}

TEST_F(XmlConfigParserWriting, ReplacesCharactersThatXmlCannotHoldInAKey) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"bad\x01key", L"v"}, {L"good", L"w"}}));
    EXPECT_EQ(reread(), (Map{{L"bad\uFFFDkey", L"v"}, {L"good", L"w"}}));
    EXPECT_THAT(log_->texts(3),
                testing::ElementsAre("characters that XML cannot hold were replaced in the entry: bad\xEF\xBF\xBD"
                                     "key"));
}

TEST_F(XmlConfigParserWriting, SaysFalseInSilenceIfTheWriterCannotBeOpened) {
    write("Cache", "a file where the folder should be");
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}}));
    EXPECT_TRUE(linesOf(log_, "XmlConfigParser").empty());
}

TEST_F(XmlConfigParserWriting, LogsAFileThatCannotTakeItsPlace) {
    std::filesystem::create_directories(file_);
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}}));
    EXPECT_EQ(log_->count(2, "data NOT written to file: " + file_), 1u);
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("c.xml"));
}

TEST_F(XmlConfigParserWriting, TakesAPathWithAPercentSignByItsLetter) {
    const std::string file = path("50%25 or %41/c.xml");
    EXPECT_TRUE(XmlConfigParser::writeToFile(file, ConfigMap{{L"a", L"1"}}));
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_TRUE(XmlConfigParser::writeToFile(file, std::string("<r/>")));
    EXPECT_THAT(read("50%25 or %41/c.xml"), testing::HasSubstr("<r/>"));
}

TEST_F(XmlConfigParserWriting, SavesATextAsADocument) {
    EXPECT_TRUE(XmlConfigParser::writeToFile(file_, "<r><G><A>1</A></G></r>"));
    EXPECT_EQ(reread(), (Map{{L"a", L"1"}}));
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("c.xml"));
}

TEST_F(XmlConfigParserWriting, SavesNoTextThatIsNoDocument) {
    XmlConfigParser::writeToFile(file_, ConfigMap{{L"a", L"1"}});
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, "<r>"));
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, ""));
    EXPECT_EQ(reread(), (Map{{L"a", L"1"}}));
}

TEST_F(XmlConfigParserWriting, DeniesATextThatCannotBePutInPlace) {
    std::filesystem::create_directories(file_);
    EXPECT_FALSE(XmlConfigParser::writeToFile(file_, "<r/>"));
    EXPECT_THAT(filesInFolder(), testing::ElementsAre("c.xml"));
}

}  // namespace
}  // namespace storetests
