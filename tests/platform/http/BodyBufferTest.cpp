#include "impl/http/BodyBuffer.h"

#include <string>

using platform::BodyBuffer;

TEST(BodyBuffer, KeepsThePiecesInTheirOrder) {
    BodyBuffer buffer;
    EXPECT_TRUE(buffer.append("one", 3));
    EXPECT_TRUE(buffer.append("", 0));
    EXPECT_TRUE(buffer.append("\0two", 4));
    EXPECT_EQ(buffer.take(), std::string("one\0two", 7));
    EXPECT_EQ(buffer.take(), "");
}

TEST(BodyBuffer, GrowsToItsLimitAndNoFurther) {
    BodyBuffer buffer;
    const std::string piece(1024 * 1024, 'x');
    for (int i = 0; i < 16; ++i) {
        ASSERT_TRUE(buffer.append(piece.data(), piece.size()));
    }
    EXPECT_FALSE(buffer.append("x", 1));
    EXPECT_TRUE(buffer.append("", 0));
    EXPECT_EQ(buffer.take().size(), BodyBuffer::LIMIT);
}

TEST(BodyBuffer, TakesNothingOfAPieceThatIsTooLarge) {
    BodyBuffer buffer;
    buffer.append("one", 3);
    const std::string piece(BodyBuffer::LIMIT - 2, 'x');
    EXPECT_FALSE(buffer.append(piece.data(), piece.size()));
    EXPECT_EQ(buffer.take(), "one");
}

TEST(BodyBuffer, IsEmptyOnceWiped) {
    BodyBuffer buffer;
    buffer.append("secret", 6);
    buffer.wipe();
    EXPECT_EQ(buffer.take(), "");
}
