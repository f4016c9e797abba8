#include "impl/http/DocumentEnd.h"

#include <string>
#include <vector>

using platform::endsAsDocument;

namespace {

/// Each character of a text in ASCII in two bytes, behind the byte order mark or without one.
std::string inUtf16(const std::string& text, bool lowFirst, bool marked) {
    std::string bytes = !marked ? "" : lowFirst ? "\xFF\xFE" : "\xFE\xFF";
    for (const char character : text) {
        const char both[] = {lowFirst ? character : '\0', lowFirst ? '\0' : character};
        bytes.append(both, sizeof both);
    }
    return bytes;
}

/// In each of the forms that UTF-16 has.
std::vector<std::string> inAllOfUtf16(const std::string& text) {
    return {inUtf16(text, false, true), inUtf16(text, true, true), inUtf16(text, false, false),
            inUtf16(text, true, false)};
}

}  // namespace

TEST(DocumentEnd, IsWhereTheLastElementCloses) {
    for (const char* const whole : {
             "<a/>",
             "<a />",
             "<a></a>",
             "<a></a >",
             "<a><b/></a>\r\n\t ",
             "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<a>text</a>",
             "<!DOCTYPE a><a/>",
             "<!DOCTYPE a [ <!ELEMENT a (b)> <!ENTITY e \"</a>\">]><a><b/></a>",
             "<!-- <a> --><a/><!-- behind -->\n<?behind it?>",
             "<a><![CDATA[</a>]]></a>",
             "<a b='/>' c=\"'>\"/>",
             "<a><a></a></a>",
         }) {
        EXPECT_TRUE(endsAsDocument(whole)) << whole;
    }
}

TEST(DocumentEnd, IsNowhereElse) {
    for (const char* const other : {"", " ", "text", "{}", "<?xml version=\"1.0\"?>", "<!-- <a/> -->", "<a/>text",
                                    "<a><b/>", "<a></a", "<a></a><", "<a><!--</a>", "<a><![CDATA[</a>", "<a b='/>"}) {
        EXPECT_FALSE(endsAsDocument(other)) << other;
    }
}

TEST(DocumentEnd, IsMissedInEveryBeginningOfADocument) {
    const std::string whole =
        "<?xml version='1.0'?><!DOCTYPE a [<!ENTITY b '>'>]><a x='>'><!-- </a> --><a><![CDATA[</a>]]>"
        "<b/></a>t<?p </a>?></a>";
    ASSERT_TRUE(endsAsDocument(whole));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(endsAsDocument(whole.substr(0, size))) << size;
    }
}

TEST(DocumentEnd, IsFoundInUtf16) {
    for (const char* const whole : {"<a/>", "<?xml version='1.0'?>\n<a b='>'><!-- </a> --><b/>text</a>\r\n"}) {
        for (const std::string& bytes : inAllOfUtf16(whole)) {
            EXPECT_TRUE(endsAsDocument(bytes)) << testing::PrintToString(bytes);
        }
    }
}

TEST(DocumentEnd, IsMissedInEveryBeginningOfADocumentInUtf16) {
    for (const std::string& whole : inAllOfUtf16("<?xml version='1.0'?><a x='>'><!-- </a> --><a><b/></a>t</a>")) {
        ASSERT_TRUE(endsAsDocument(whole));
        for (std::size_t size = 0; size < whole.size(); ++size) {
            EXPECT_FALSE(endsAsDocument(whole.substr(0, size))) << size;
        }
    }
}

TEST(DocumentEnd, IsNoByteOfAnotherCharacterInUtf16) {
    // U+3C2F and U+3E3C have bytes of "<", "/" and ">".
    const std::string inside("\x2F\x3C\x3C\x3E", 4);
    const std::string begin = inUtf16("<a>", true, true);
    EXPECT_TRUE(endsAsDocument(begin + inside + inUtf16("</a>", true, false)));
    EXPECT_FALSE(endsAsDocument(begin + inside + inUtf16("/a>", true, false)));
}
