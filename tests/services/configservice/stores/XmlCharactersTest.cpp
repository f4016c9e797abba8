#include "xml/XmlCharacters.h"

#include <gtest/gtest.h>

namespace storetests {
namespace {

TEST(XmlCharacters, AreThoseOfXmlAndNoOthers) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    for (const std::uint32_t held : {0x9U, 0xAU, 0xDU, 0x20U, 0xD7FFU, 0xE000U, 0xFFFDU, 0x10000U, 0x10FFFFU}) {
        EXPECT_FALSE(toXmlText(std::wstring(1, static_cast<wchar_t>(held))).replaced) << held;
    }
    for (const std::uint32_t other :
         {0x0U, 0x8U, 0xBU, 0xCU, 0xEU, 0x1FU, 0xD800U, 0xDFFFU, 0xFFFEU, 0xFFFFU, 0x110000U, 0xFFFFFFFFU}) {
        const XmlText text = toXmlText(std::wstring(1, static_cast<wchar_t>(other)));
        EXPECT_TRUE(text.replaced) << other;
        EXPECT_EQ(text.text, replacement) << other;
    }
}

}  // namespace
}  // namespace storetests
