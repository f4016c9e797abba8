#include "impl/http/BodyFraming.h"

#include <limits>

using platform::framingOf;

TEST(BodyFraming, HasNoLengthIfNoneIsStated) {
    EXPECT_TRUE(framingOf({}, {}, {}).valid);
    EXPECT_EQ(framingOf({}, {}, {}).length, std::nullopt);
}

TEST(BodyFraming, HasTheLengthThatIsStatedOnceOrMore) {
    EXPECT_EQ(framingOf({" 12 "}, {}, {}).length, 12U);
    EXPECT_EQ(framingOf({"12, 12", "12"}, {}, {}).length, 12U);
    EXPECT_TRUE(framingOf({"12, 12", "12"}, {}, {}).valid);
    EXPECT_EQ(framingOf({"99999999999999999999999"}, {}, {}).length, std::numeric_limits<std::size_t>::max());
}

TEST(BodyFraming, IsInvalidWithLengthsThatDifferOrAreNone) {
    for (const char* const length : {"12, 13", "12, x", "x, 12", "-1", "+1", "1x", "0x1", "1.0", "", ","}) {
        EXPECT_FALSE(framingOf({length}, {}, {}).valid) << length;
    }
    EXPECT_FALSE(framingOf({"12", "13"}, {}, {}).valid);
}

TEST(BodyFraming, LooksAtNoLengthBesidesChunks) {
    EXPECT_TRUE(framingOf({"x"}, {"Chunked"}, {}).valid);
    EXPECT_TRUE(framingOf({"12"}, {"chunked"}, {}).chunked);
    EXPECT_EQ(framingOf({"12"}, {"chunked"}, {}).length, std::nullopt);
    EXPECT_FALSE(framingOf({"12"}, {"chunked"}, {}).coded);
}

TEST(BodyFraming, IsCodedByEverythingButIdentity) {
    EXPECT_TRUE(framingOf({}, {"gzip, chunked"}, {}).coded);
    EXPECT_TRUE(framingOf({}, {"gzip", "chunked"}, {}).coded);
    EXPECT_TRUE(framingOf({}, {}, {"gzip"}).coded);
    EXPECT_TRUE(framingOf({}, {}, {"Identity", "x"}).coded);
    EXPECT_FALSE(framingOf({}, {"identity"}, {"Identity, identity", ""}).coded);
}
