// The growing text of which log lines are made.
#include "Common/Src/TextBuffer.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace {

template <class Char> class TextBuffer : public testing::Test {
  protected:
    using Buffer = CQelTextBuffer<Char, 8>;
    using Text = std::basic_string<Char>;

    static Text Of(std::size_t length) {
        Text text;
        for (std::size_t i = 0; i < length; ++i)
            text.push_back(static_cast<Char>('a' + i % 26));
        return text;
    }
    // Whether the characters lie in the object.
    static bool IsInline(Buffer& buffer) {
        const auto at = reinterpret_cast<const char*>(buffer.Data());
        const auto object = reinterpret_cast<const char*>(&buffer);
        return at >= object && at < object + sizeof buffer;
    }
};
using Characters = testing::Types<char, wchar_t>;
TYPED_TEST_SUITE(TextBuffer, Characters);

TYPED_TEST(TextBuffer, StartsEmpty) {
    typename TestFixture::Buffer buffer;
    EXPECT_EQ(0u, buffer.Size());
    EXPECT_TRUE(buffer.View().empty());
    EXPECT_EQ(TypeParam(), *buffer.Terminated());
}

TYPED_TEST(TextBuffer, HoldsAnyTextWhetherAppendedWholeOrInPieces) {
    for (std::size_t length : {0, 1, 7, 8, 9, 16, 17, 1000}) {
        const auto text = this->Of(length);
        typename TestFixture::Buffer whole, pieces;
        whole.Append(text);
        for (std::size_t at = 0; at < length; at += 3)
            pieces.Append(std::basic_string_view<TypeParam>(text).substr(at, 3));
        EXPECT_EQ(text, whole.View());
        EXPECT_EQ(text, pieces.View());
        EXPECT_EQ(text, whole.Terminated());
        EXPECT_EQ(text, whole.View()) << "the terminator is no part of it";
    }
}

TYPED_TEST(TextBuffer, TakesTheHeapOnlyForWhatIsLonger) {
    typename TestFixture::Buffer buffer;
    buffer.Append(this->Of(8));
    EXPECT_TRUE(this->IsInline(buffer));
    buffer.Append(this->Of(1));
    EXPECT_FALSE(this->IsInline(buffer));
    EXPECT_EQ(this->Of(8) + this->Of(1), buffer.View());
}

TYPED_TEST(TextBuffer, CutsAndMakesRoom) {
    typename TestFixture::Buffer buffer;
    buffer.Append(this->Of(20));
    buffer.Resize(5);
    EXPECT_EQ(this->Of(5), buffer.View());
    buffer.Append(this->Of(2));
    EXPECT_EQ(this->Of(5) + this->Of(2), buffer.View());
    buffer.Resize(100);
    EXPECT_EQ(100u, buffer.Size());
    std::fill_n(buffer.Data() + 7, 93, TypeParam('z'));
    EXPECT_EQ(this->Of(5) + this->Of(2) + std::basic_string<TypeParam>(93, TypeParam('z')), buffer.View());
}

} // namespace
