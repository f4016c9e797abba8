#include "impl/http/DocumentEnd.h"

#include <string>

using platform::endsAsDocument;

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
