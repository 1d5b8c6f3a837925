// CQelString, both halves.
#include "FcoeAgent/QelString.h"

#include <memory>

#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"

namespace {

CQelString FromNumber(LONG number) {
    CQelString text(L"before");
    text = number;
    return text;
}

int Format(CQelString& text, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    const int result = text.FormatString(format, args);
    va_end(args);
    return result;
}

std::vector<CQelString> Fields(const wchar_t* text, char delimiter) {
    std::vector<CQelString> fields;
    CQelString(text).Split(delimiter, fields);
    return fields;
}

TEST(QelString, AddsNothingToTheStandardString) {
    static_assert(sizeof(CQelString) == sizeof(std::wstring));
    static_assert(std::is_base_of_v<std::wstring, CQelString>);
    static_assert(!std::is_polymorphic_v<CQelString>);
    EXPECT_EQ(L"", CQelString());
}

TEST(QelString, NumbersOfNineCharactersFit) {
    EXPECT_EQ(L"123456789", FromNumber(123456789));
    EXPECT_EQ(L"-12345678", FromNumber(-12345678));
    EXPECT_EQ(L"999999999", FromNumber(999999999));
    EXPECT_EQ(L"-99999999", FromNumber(-99999999));
    EXPECT_EQ(L"0", FromNumber(0));
    EXPECT_EQ(L"-1", FromNumber(-1));
}

TEST(QelString, NumbersOfTenCharactersYieldTheEmptyString) {
    EXPECT_EQ(L"", FromNumber(1000000000));
    EXPECT_EQ(L"", FromNumber(-123456789));
    EXPECT_EQ(L"", FromNumber(-100000000));
    EXPECT_EQ(L"", FromNumber(LONG_MAX));
    EXPECT_EQ(L"", FromNumber(LONG_MIN));
}

TEST(QelString, IsMadeFromANumber) {
    const LONG fits = 42, tooLong = 1234567890;
    EXPECT_EQ(L"42", CQelString(fits));
    EXPECT_EQ(L"", CQelString(tooLong));
}

TEST(QelString, CopiesAreIndependent) {
    CQelString one(L"one");
    CQelString copy(one);
    one = L"two";
    EXPECT_EQ(L"one", copy);
    CQelString assigned;
    assigned = one;
    one.ClearString();
    EXPECT_EQ(L"two", assigned);
    assigned = *&assigned;
    EXPECT_EQ(L"two", assigned);
}

TEST(QelString, IsAssignedFromStandardAndPlainText) {
    CQelString text;
    text = std::wstring(L"standard");
    EXPECT_EQ(L"standard", text);
    text = L"plain";
    EXPECT_EQ(L"plain", text);
    const wchar_t* none = nullptr;
    text = none;
    EXPECT_EQ(L"", text);
}

TEST(QelString, IsMadeFromPointers) {
    wchar_t writable[] = L"writable";
    EXPECT_EQ(L"writable", CQelString(writable));
    EXPECT_EQ(L"constant", CQelString(L"constant"));
    EXPECT_EQ(L"", CQelString(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(L"", CQelString(static_cast<wchar_t*>(nullptr)));
}

TEST(QelString, ConvertsToItsText) {
    const CQelString text(L"text");
    const wchar_t* plain = text;
    EXPECT_EQ(text.c_str(), plain);
}

TEST(QelString, IsEmptyAfterClearString) {
    CQelString text(L"held text");
    EXPECT_EQ(0, text.IsEmpty());
    EXPECT_EQ(9u, text.Length());
    text.ClearString();
    EXPECT_NE(0, text.IsEmpty());
    EXPECT_EQ(0u, text.Length());
}

TEST(QelString, CopyReturnsAnObjectOfTheCallers) {
    CQelString text(L"text");
    const std::unique_ptr<CQelString> copy(text.Copy());
    text.ClearString();
    EXPECT_EQ(L"text", *copy);
}

TEST(QelString, CopyOfAnEmptyStringIsANewEmptyString) {
    const CQelString empty;
    const std::unique_ptr<CQelString> copy(empty.Copy());
    ASSERT_TRUE(copy);
    EXPECT_NE(&empty, copy.get());
    EXPECT_NE(0, copy->IsEmpty());
}

TEST(QelString, FormatsWithTheWindowsConversions) {
    CQelString text(L"before");
    EXPECT_EQ(15, text.FormatString(L"%s|%S|%d|%I64d", L"wide", "thin", -5, -7LL));
    EXPECT_EQ(L"wide|thin|-5|-7", text);
    EXPECT_EQ(23, text.FormatString(L"%02X:%02.2d:%03.3d|%I64X|%ls", 0xA, 7, 7, 0x123456789ABCULL, L""));
    EXPECT_EQ(L"0A:07:007|123456789ABC|", text);
}

TEST(QelString, FormatsAnArgumentList) {
    CQelString text;
    EXPECT_EQ(7, Format(text, L"%s=%d", L"port", 12));
    EXPECT_EQ(L"port=12", text);
}

TEST(QelString, FormatsTextsOfAnyLength) {
    const std::wstring longText(100000, L'x');
    CQelString text;
    EXPECT_EQ(100002, text.FormatString(L"<%s>", longText.c_str()));
    EXPECT_EQ(L"<" + longText + L">", text);
}

TEST(QelString, FormatsEveryLengthAroundTheShortOnes) {
    for (std::size_t length : {0, 1, 7, 8, 254, 255, 256, 257, 258}) {
        const std::wstring expected(length, L'y');
        CQelString text(L"before");
        EXPECT_EQ(static_cast<int>(length), text.FormatString(L"%s", expected.c_str()));
        EXPECT_EQ(expected, text) << length;
    }
}

TEST(QelString, FormatsItsOwnText) {
    CQelString text(L"a text that is longer than the string's own room");
    const std::wstring before = text;
    text.FormatString(L"%s%s", text.c_str(), text.c_str());
    EXPECT_EQ(before + before, text);
}

TEST(QelString, FormatsToNothing) {
    CQelString text(L"before");
    EXPECT_EQ(0, text.FormatString(L"%s", L""));
    EXPECT_EQ(L"", text);
}

TEST(QelString, SkipsAnIncompleteConversion) {
    CQelString text;
    EXPECT_EQ(9, text.FormatString(L"Failure: %l", 5L));
    EXPECT_EQ(L"Failure: ", text);
}

TEST(QelString, StaysUnchangedWhenFormattingFails) {
    CQelString text(L"before");
    EXPECT_GT(0, text.FormatString(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(L"before", text);

    using Measure = int(__cdecl*)(const wchar_t*, va_list);
    const Measure fails = [](const wchar_t*, va_list) { return -1; };
    using Format = int(__cdecl*)(wchar_t*, std::size_t, const wchar_t*, va_list);
    const Format failsToo = [](wchar_t*, std::size_t, const wchar_t*, va_list) { return -1; };
    const HMODULE library = GetModuleHandleW(L"QelColib.dll");
    const ImportPatch patch(library, "msvcrt.dll", "_vscwprintf", reinterpret_cast<void*>(fails));
    const ImportPatch other(library, "msvcrt.dll", "_vsnwprintf", reinterpret_cast<void*>(failsToo));
    EXPECT_EQ(-1, text.FormatString(L"%d", 1));
    EXPECT_EQ(L"before", text);
}

TEST(QelString, ConvertsToBytes) {
    char bytes[260] = {};
    EXPECT_EQ(5, CQelString::QelWideCharToMultiByte(0, 0, L"name", -1, bytes, 260, nullptr, nullptr));
    EXPECT_STREQ("name", bytes);
    EXPECT_EQ(2, CQelString::QelWideCharToMultiByte(0, 0, L"name", 2, nullptr, 0, nullptr, nullptr));
    BOOL usedDefault = FALSE;
    EXPECT_EQ(2, CQelString::QelWideCharToMultiByte(1252, 0, L"\u4e2d", -1, bytes, 260, "#", &usedDefault));
    EXPECT_STREQ("#", bytes);
    EXPECT_TRUE(usedDefault);
    EXPECT_EQ(0, CQelString::QelWideCharToMultiByte(0, 0, L"name", -1, bytes, 4, nullptr, nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}

TEST(QelString, ConvertsFromBytes) {
    wchar_t text[260] = {};
    EXPECT_EQ(5, CQelString::QelMultiByteToWideChar(0, 0, "name", -1, text, 260));
    EXPECT_STREQ(L"name", text);
    EXPECT_EQ(0, CQelString::QelMultiByteToWideChar(0, 0, "name", -1, text, 2));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), GetLastError());
}

TEST(QelString, ComparesExactly) {
    const CQelString text(L"Text");
    EXPECT_TRUE(text == CQelString(L"Text"));
    EXPECT_FALSE(text == CQelString(L"text"));
    EXPECT_TRUE(text == L"Text");
    EXPECT_FALSE(text == L"Text ");
    EXPECT_FALSE(text == static_cast<const wchar_t*>(nullptr));
    EXPECT_FALSE(CQelString() == static_cast<const wchar_t*>(nullptr));
}

TEST(QelString, OrdersOrdinally) {
    EXPECT_TRUE(CQelString(L"B") < CQelString(L"a"));
    EXPECT_TRUE(CQelString(L"a") < CQelString(L"ab"));
    EXPECT_TRUE(CQelString(L"z") < CQelString(L"\u00e4"));
    EXPECT_TRUE(CQelString(L"z") < CQelString(L"\uffee"));
    EXPECT_FALSE(CQelString(L"a") < CQelString(L"a"));
}

TEST(QelString, Concatenates) {
    const CQelString left(L"left"), right(L"right");
    const CQelString sum = left + right;
    EXPECT_EQ(L"leftright", sum);
    EXPECT_EQ(L"left", left);
}

TEST(QelString, ComparesWithoutRegardToCase) {
    EXPECT_TRUE(CQelString(L"CoreAgnt").CompareI(L"COREAGNT"));
    EXPECT_TRUE(CQelString(L"\u00e4\u0436").CompareI(L"\u00c4\u0416"));
    EXPECT_FALSE(CQelString(L"CoreAgnt").CompareI(L"CoreAgn"));
    EXPECT_FALSE(CQelString(L"CoreAgnt").CompareI(L"CoreAgns"));
    EXPECT_TRUE(CQelString().CompareI(L""));
    EXPECT_FALSE(CQelString().CompareI(L"x"));
}

TEST(QelString, ChangesLetterCase) {
    CQelString text(L"\\Device\\{4D36E972-Ab}\u00c4\u0416");
    text.MakeLower();
    EXPECT_EQ(L"\\device\\{4d36e972-ab}\u00e4\u0436", text);
    text.MakeUpper();
    EXPECT_EQ(L"\\DEVICE\\{4D36E972-AB}\u00c4\u0416", text);
    CQelString empty;
    empty.MakeLower();
    empty.MakeUpper();
    EXPECT_EQ(L"", empty);
}

TEST(QelString, SplitKeepsEmptyFields) {
    EXPECT_EQ((std::vector<CQelString>{L"a", L"", L"b", L""}), Fields(L"a::b:", ':'));
    EXPECT_EQ((std::vector<CQelString>{L"whole"}), Fields(L"whole", ':'));
    EXPECT_EQ((std::vector<CQelString>{L""}), Fields(L"", ':'));
    EXPECT_EQ((std::vector<CQelString>{L"", L""}), Fields(L":", ':'));
    EXPECT_EQ((std::vector<CQelString>{L"a", L"b"}), Fields(L"a\u00a7b", '\xa7'));
}

TEST(QelString, SplitAppendsAndTellsWhetherTheDelimiterOccurred) {
    std::vector<CQelString> fields{L"before"};
    EXPECT_TRUE(CQelString(L"a:b").Split(':', fields));
    EXPECT_FALSE(CQelString(L"c").Split(':', fields));
    EXPECT_EQ((std::vector<CQelString>{L"before", L"a", L"b", L"c"}), fields);
}

} // namespace
