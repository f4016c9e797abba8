#include "xml/XmlComposer.h"

#include <gtest/gtest.h>
#include <libxml/xmlwriter.h>

#include <random>

#include "support/Seed.h"
#include "xml/XmlCharacters.h"

// Documents letter by letter as libxml2's own writer makes them, which is what the files of earlier versions are.

namespace {

const xmlChar* xmlText(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

/// libxml2's writer with the calls of the composer.
class Reference {
public:
    Reference() {
        xmlTextWriterSetIndent(writer_, 1);
        xmlTextWriterStartDocument(writer_, nullptr, "utf-8", nullptr);
    }
    ~Reference() { xmlBufferFree(buffer_); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    void startElement(const std::string& name) { xmlTextWriterStartElement(writer_, xmlText(name)); }
    void endElement() { xmlTextWriterEndElement(writer_); }
    void writeAttribute(const std::string& name, const std::wstring& value) {
        xmlTextWriterWriteAttribute(writer_, xmlText(name), xmlText(toXmlText(value).text));
    }
    void writeElement(const std::string& name, const std::wstring& text) {
        xmlTextWriterWriteElement(writer_, xmlText(name), xmlText(toXmlText(text).text));
    }

    std::string finish() {
        xmlTextWriterEndDocument(writer_);
        xmlFreeTextWriter(writer_);
        return reinterpret_cast<const char*>(buffer_->content);
    }

private:
    xmlBuffer* buffer_ = xmlBufferCreate();
    xmlTextWriter* writer_ = xmlNewTextWriterMemory(buffer_, 0);
};

std::wstring randomValue(std::mt19937& random) {
    static const std::wstring units = L"abcXYZ 019<>&\"'\t\n\r\x7f\x80\x85\u00a0\u00e9\u0416\u20ac\ufffd\U0001F600" +
                                      std::wstring(1, L'\x1') + std::wstring(1, static_cast<wchar_t>(0xD800)) +
                                      std::wstring(1, static_cast<wchar_t>(0xFFFE));
    std::wstring value;
    const auto length = std::uniform_int_distribution<std::size_t>(0, 12)(random);
    while (value.size() < length) {
        value += units[std::uniform_int_distribution<std::size_t>(0, units.size() - 1)(random)];
    }
    return value;
}

/// libxml2 spells the encoding "UTF-8", however it is asked for.
std::string withoutDeclaration(const std::string& document) { return document.substr(document.find('\n')); }

TEST(XmlComposer, ComposesEachDocumentAsLibxml2Does) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 500 && !testing::Test::HasFailure(); ++round) {
        XmlComposer composer;
        Reference reference;
        std::size_t depth = 1;
        composer.startElement("root");
        reference.startElement("root");
        for (int step = 0; step < 20; ++step) {
            const std::wstring value = randomValue(random);
            switch (std::uniform_int_distribution<int>(0, 3)(random)) {
            case 0:
                composer.startElement("entry");
                composer.writeAttribute("name", value);
                composer.writeAttribute("value", value + L"\"");
                reference.startElement("entry");
                reference.writeAttribute("name", value);
                reference.writeAttribute("value", value + L"\"");
                ++depth;
                break;
            case 1:
                if (depth > 1) {
                    composer.endElement();
                    reference.endElement();
                    --depth;
                }
                break;
            default:
                composer.writeElement("Key", value);
                reference.writeElement("Key", value);
                break;
            }
        }
        for (; depth > 0; --depth) {
            composer.endElement();
            reference.endElement();
        }
        ASSERT_EQ(withoutDeclaration(composer.text()), withoutDeclaration(reference.finish())) << "round " << round;
    }
}

TEST(XmlComposer, SaysWhetherCharactersWereReplaced) {
    XmlComposer composer;
    composer.startElement("root");
    EXPECT_TRUE(composer.writeAttribute("a", L"<\u20ac\n>"));
    EXPECT_FALSE(composer.writeAttribute("b", L"x\x1y"));
    EXPECT_TRUE(composer.writeElement("c", L"\ufffd"));
    EXPECT_FALSE(composer.writeElement("d", std::wstring(1, L'\0')));
    composer.endElement();
    EXPECT_NE(composer.text().find("b=\"x\xEF\xBF\xBDy\""), std::string::npos);
}

TEST(XmlComposer, LeavesAnElementOpenUntilItEnds) {
    XmlComposer composer;
    composer.startElement("outer");
    composer.startElement("inner");
    composer.endElement();
    composer.endElement();
    EXPECT_EQ(composer.text(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<outer>\n <inner/>\n</outer>\n");
}

}  // namespace
