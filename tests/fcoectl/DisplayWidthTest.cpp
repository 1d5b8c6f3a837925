#include "tools/fcoectl/DisplayWidth.h"

#include <gtest/gtest.h>

using fcoectl::DisplayWidth;

TEST(DisplayWidth, CountsCellsNotBytes) {
    EXPECT_EQ(0u, DisplayWidth(""));
    EXPECT_EQ(4u, DisplayWidth("\xC3\xA4\xE2\x82\xACxy"));
}

TEST(DisplayWidth, EastAsianWideIsTwo) {
    EXPECT_EQ(4u, DisplayWidth("\xE5\x85\x89\xE7\xBA\xA4")) << "ideographs";
    EXPECT_EQ(4u, DisplayWidth("\xED\x95\x9C\xEA\xB8\x80")) << "Hangul";
    EXPECT_EQ(2u, DisplayWidth("\xEF\xBC\xA1")) << "a full-width letter";
    EXPECT_EQ(1u, DisplayWidth("\xEF\xBD\xB1")) << "a half-width one";
    EXPECT_EQ(2u, DisplayWidth("\xF0\xA0\x80\x80")) << "beyond the first plane";
}

TEST(DisplayWidth, CombiningIsNone) {
    EXPECT_EQ(1u, DisplayWidth("e\xCC\x81")) << "an accent of its own";
    EXPECT_EQ(2u, DisplayWidth("\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB")) << "a syllable in its parts";
    EXPECT_EQ(2u, DisplayWidth("a\xE2\x80\x8D"
                               "b") +
                      1)
        << "a joiner joins";
}

TEST(DisplayWidth, EmojiAreTwo) {
    EXPECT_EQ(2u, DisplayWidth("\xF0\x9F\x92\xBE"));
    EXPECT_EQ(2u, DisplayWidth("\xF0\x9F\x91\x8D\xF0\x9F\x8F\xBD")) << "with a skin tone";
    EXPECT_EQ(2u, DisplayWidth("\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB")) << "two that are joined";
    EXPECT_EQ(2u, DisplayWidth("\xE2\x9D\xA4\xEF\xB8\x8F")) << "a sign that is shown as one";
    EXPECT_EQ(1u, DisplayWidth("\xE2\x9D\xA4")) << "the sign itself";
    EXPECT_EQ(2u, DisplayWidth("\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA")) << "a flag";
}

TEST(DisplayWidth, BytesThatAreNoCharacterCountEach) {
    EXPECT_EQ(2u, DisplayWidth("\x80\xBF"));
    EXPECT_EQ(1u, DisplayWidth("\xE5\x85")) << "cut off";
}
