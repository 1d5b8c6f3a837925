// Numbers as text, against the run time's formatter.
#include "Common/Src/NumberText.h"

#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FcoeAgent/QelString.h"

namespace {

template <int DIGITS = 1> std::wstring Decimal(LONG64 value) {
    NumberRoom room;
    return std::wstring(DecimalText<DIGITS>(room, value));
}

template <int DIGITS = 1> std::wstring Hexadecimal(ULONG64 value, Case letterCase) {
    NumberRoom room;
    return std::wstring(HexadecimalText<DIGITS>(room, value, letterCase));
}

template <class... Args> std::wstring Formatted(const wchar_t* format, Args... args) {
    CQelString text;
    text.FormatString(format, args...);
    return text;
}

// Zero, one and all around each power of two.
std::vector<ULONG64> Values() {
    std::vector<ULONG64> values{0, 1};
    for (int bit = 1; bit < 64; ++bit)
        for (int difference : {-1, 0, 1})
            values.push_back((1ull << bit) + difference);
    values.push_back(ULLONG_MAX);
    for (ULONG64 power = 10; power < ULLONG_MAX / 10; power *= 10)
        for (int difference : {-1, 0})
            values.push_back(power + difference);
    return values;
}

} // namespace

TEST(NumberText, DecimalIsWhatTheFormatterMakes) {
    for (ULONG64 value : Values()) {
        for (LONG64 number : {static_cast<LONG64>(value), -static_cast<LONG64>(value >> 1)}) {
            EXPECT_EQ(Formatted(L"%I64d", number), Decimal(number));
            EXPECT_EQ(Formatted(L"%.3I64d", number), Decimal<3>(number));
            EXPECT_EQ(Formatted(L"%.20I64d", number), Decimal<20>(number));
        }
    }
    EXPECT_EQ(L"-9223372036854775808", Decimal(LLONG_MIN));
    EXPECT_EQ(L"-09223372036854775808", Decimal<20>(LLONG_MIN)) << "the longest text";
}

TEST(NumberText, HexadecimalIsWhatTheFormatterMakes) {
    for (ULONG64 value : Values()) {
        EXPECT_EQ(Formatted(L"%I64x", value), Hexadecimal(value, Case::Lower));
        EXPECT_EQ(Formatted(L"%I64X", value), Hexadecimal(value, Case::Upper));
        EXPECT_EQ(Formatted(L"%.2I64X", value), Hexadecimal<2>(value, Case::Upper));
        EXPECT_EQ(Formatted(L"%.20I64x", value), Hexadecimal<20>(value, Case::Lower));
    }
    EXPECT_EQ(L"FFFFFFFFFFFFFFFF", Hexadecimal(ULLONG_MAX, Case::Upper));
}

TEST(NumberText, DigitsOfEitherCase) {
    EXPECT_EQ(L'0', HexadecimalDigit(0, Case::Upper));
    EXPECT_EQ(L'9', HexadecimalDigit(9, Case::Lower));
    EXPECT_EQ(L'a', HexadecimalDigit(10, Case::Lower));
    EXPECT_EQ(L'F', HexadecimalDigit(15, Case::Upper));
    EXPECT_EQ(L'3', HexadecimalDigit(0xA3, Case::Upper)) << "the low half";
}

TEST(NumberText, IsMadeByTheCompilerToo) {
    constexpr auto lastDigit = [](LONG64 value) {
        NumberRoom room{};
        return DecimalText(room, value).back();
    };
    static_assert(lastDigit(LLONG_MIN) == L'8');
    static_assert(HexadecimalDigit(11, Case::Upper) == L'B');
}
