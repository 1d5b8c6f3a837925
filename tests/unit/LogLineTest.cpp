#include "Common/Src/LogLine.h"

#include <climits>

#include <gtest/gtest.h>

#include "FcoeAgent/QelString.h"

namespace {

void AppendFormat(CQelLogLine& line, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    line.AppendFormatV(format, args);
    va_end(args);
}

std::wstring Formatted(const wchar_t* format, ...) {
    CQelString text;
    va_list args;
    va_start(args, format);
    text.FormatString(format, args);
    va_end(args);
    return text;
}

template <class... Args> void ExpectAsFormatted(const wchar_t* format, Args... args) {
    CQelLogLine line;
    line.Append(L"before ");
    AppendFormat(line, format, args...);
    EXPECT_EQ(L"before " + Formatted(format, args...), line.Text());
}

} // namespace

TEST(LogLine, IsWhatTheFormatterMakes) {
    ExpectAsFormatted(L"");
    ExpectAsFormatted(L"nothing to format");
    ExpectAsFormatted(L"%s", L"text");
    ExpectAsFormatted(L"%s", L"");
    ExpectAsFormatted(L"EXIT:  %s, nReturn=%d", L"C::F", -1);
    for (int number : {0, 1, -1, 9, 10, INT_MAX, INT_MIN})
        ExpectAsFormatted(L"n = %d.", number);
    for (long long number : {0ll, 255ll, -1ll, LLONG_MAX, LLONG_MIN})
        ExpectAsFormatted(L"n = %lld, again %lld, %llX", number, number, number);
    ExpectAsFormatted(L"%s %d %llX", L"text", 5, 0xABCDEFull);
    ExpectAsFormatted(L"%S, 0x%x", "narrow", 255);
    ExpectAsFormatted(L"%5d|%-5d|%05d", 1, 2, 3);
    // Each almost one that needs no formatter, and alone, since one of them has the whole line formatted.
    ExpectAsFormatted(L"%02X", 10);
    ExpectAsFormatted(L"%02d", 5);
    ExpectAsFormatted(L"%lX", 11ul);
    ExpectAsFormatted(L"%ld", 11l);
    ExpectAsFormatted(L"%llu", ULLONG_MAX);
    ExpectAsFormatted(L"%llx", 0xABull);
    ExpectAsFormatted(L"100%%");
    ExpectAsFormatted(L"lone %");
    ExpectAsFormatted(L"%s and a null", static_cast<const wchar_t*>(nullptr));
    ExpectAsFormatted(L"\u20ac %s", L"\u00e4");
}

TEST(LogLine, IsWhatTheFormatterMakesAtAnyLength) {
    for (std::size_t length : {490, 503, 504, 505, 506, 511, 512, 513, 1024, 100000}) {
        const std::wstring text(length, L'x');
        ExpectAsFormatted(L"%s", text.c_str());
        ExpectAsFormatted(text.c_str());
        ExpectAsFormatted(L"%s%d", text.c_str(), 12345);
        ExpectAsFormatted(L"%s%x", text.c_str(), 12345);
    }
}

TEST(LogLine, NumbersOfTheHeader) {
    CQelLogLine line;
    line.AppendDecimal<2>(5);
    line.Append(L" ");
    line.AppendDecimal<3>(7);
    line.Append(L" ");
    line.AppendDecimal<3>(999);
    line.Append(L" ");
    line.AppendDecimal(-3);
    line.Append(L" ");
    line.AppendHexadecimal(0, Case::Lower);
    line.Append(L" ");
    line.AppendHexadecimal(ULLONG_MAX, Case::Upper);
    EXPECT_EQ(Formatted(L"%02.2d %03.3d %03.3d %d %x %I64X", 5, 7, 999, -3, 0, ULLONG_MAX), line.Text());
}

TEST(LogLine, BytesAreOfTheSystemsCodePage) {
    for (const std::size_t length : {1, 600}) {
        std::wstring text(length, L'x');
        CQelLogLine ascii;
        ascii.Append(text);
        EXPECT_EQ(std::string(length, 'x'), ascii.Bytes());
        text += L"\u00e4";
        CQelLogLine other;
        other.Append(text);
        char narrow[8] = {};
        const int size = WideCharToMultiByte(CP_ACP, 0, L"\u00e4", 1, narrow, sizeof narrow, nullptr, nullptr);
        EXPECT_EQ(std::string(length, 'x') + std::string(narrow, size), other.Bytes());
    }
}

TEST(LogLine, EveryLineEndIsCarriageReturnAndLineFeed) {
    const auto BytesOf = [](const std::wstring& text) {
        CQelLogLine line;
        line.Append(text);
        return std::string(line.Bytes());
    };
    EXPECT_EQ("\r\n", BytesOf(L"\n"));
    EXPECT_EQ("ends\r\n", BytesOf(L"ends\n"));
    EXPECT_EQ("two\r\nlines\r\n", BytesOf(L"two\nlines\n"));
    EXPECT_EQ("\r\nstarts", BytesOf(L"\nstarts"));
    EXPECT_EQ("\r\n\r\n", BytesOf(L"\n\n"));
    EXPECT_EQ("\r\r\n", BytesOf(L"\r\n"));
    EXPECT_EQ(std::string(512, 'x') + "\r\n", BytesOf(std::wstring(512, L'x') + L"\n"));
    EXPECT_EQ(std::string(511, 'x') + "\r\n", BytesOf(std::wstring(511, L'x') + L"\n"));
    EXPECT_EQ("", BytesOf(L""));
    std::wstring many;
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        many += L"\u4e2d\n";
        bytes += "?\r\n";
    }
    EXPECT_EQ(bytes, BytesOf(many));
}
