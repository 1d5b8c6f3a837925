#include "tools/fcoectl/Text.h"

#include <gtest/gtest.h>

using namespace fcoectl;

TEST(Text, ConvertsBothWays) {
    EXPECT_EQ("Gr\xC3\xB6\xC3\x9F"
              "e \xE2\x82\xAC \xF0\x9F\x92\xBE",
              ToUtf8(L"Gr\u00F6\u00DFe \u20AC \U0001F4BE"));
    EXPECT_EQ(L"Gr\u00F6\u00DFe \u20AC \U0001F4BE", FromUtf8(ToUtf8(L"Gr\u00F6\u00DFe \u20AC \U0001F4BE")));
    EXPECT_EQ("", ToUtf8(L""));
    EXPECT_EQ(L"", FromUtf8(""));
}

TEST(Text, LoneSurrogateBecomesReplacementCharacter) {
    EXPECT_EQ("a\xEF\xBF\xBD"
              "b",
              ToUtf8(std::wstring{L'a', static_cast<wchar_t>(0xD800), L'b'}));
}

TEST(Text, ControlCharactersAreShownAsHex) {
    EXPECT_EQ("a\\x0Ab\\x1B[2J\\x7F", Printable("a\nb\x1B[2J\x7F"));
    EXPECT_EQ("\\x9B\xC3\xB6", Printable("\xC2\x9B\xC3\xB6")) << "a control character above ASCII, then a letter";
    EXPECT_EQ("\\x00", Printable(std::string_view("\0", 1)));
}

TEST(Text, SystemMessageEndsWithItsNumber) {
    const std::string text = SystemMessage(ERROR_MOD_NOT_FOUND);
    EXPECT_TRUE(text.ends_with("(error 126)")) << text;
    EXPECT_EQ("error 3735928559", SystemMessage(0xDEADBEEF));
}

TEST(Text, InsertFillsThePlaceOnce) {
    EXPECT_EQ("'%1' is wrong", Insert("'%1' is wrong", "%1"));
    EXPECT_EQ("nothing to fill", Insert("nothing to fill", "x"));
}
