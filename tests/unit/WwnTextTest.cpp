#include "model/WwnText.h"

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/kit/ImportPatch.h"

namespace {

constexpr HBA_WWN WWN{{0x10, 0x00, 0x00, 0x1B, 0x21, 0xAA, 0xBB, 0xCC}};

bool Parses(const wchar_t* text) {
    const auto wwn = ParseWwn(text);
    return wwn && std::memcmp(wwn->wwn, WWN.wwn, 8) == 0;
}

int LoadOtherFormat(CQelString* text, UINT) {
    *text = L"%02x-%02X-%02x-%02x-%02x-%02x-%02x-%x";
    return static_cast<int>(text->size());
}

// Ends the process; 0 tells that all was right.
void CompareInOtherFormat() {
    const ImportPatch patch(nullptr, "QelColib.dll", "_ZN10CQelString19LoadCommonResStringEj",
                            reinterpret_cast<void*>(&LoadOtherFormat));
    if (WwnText(WWN) != L"10-00-00-1b-21-aa-bb-cc" ||
        WwnText(HBA_WWN{{0xAB, 0xCD, 2, 3, 4, 5, 6, 7}}) != L"ab-CD-02-03-04-05-06-7")
        std::exit(1);
    if (!HasText(WWN, L"10-00-00-1b-21-aa-bb-cc") || HasText(WWN, L"10-00-00-1B-21-AA-BB-CC") ||
        HasText(WWN, L"10:00:00:1B:21:AA:BB:CC"))
        std::exit(2);
    if (!HasTextIgnoringCase(WWN, L"10-00-00-1B-21-AA-BB-CC") || HasTextIgnoringCase(WWN, L"10:00:00:1B:21:AA:BB:CC"))
        std::exit(3);
    std::exit(0);
}

} // namespace

TEST(WwnText, ShowsTheEightBytesInOrder) {
    EXPECT_TRUE(WwnText(WWN) == L"10:00:00:1B:21:AA:BB:CC");
    EXPECT_TRUE(WwnText(HBA_WWN{{0, 1, 2, 3, 4, 5, 6, 0xFF}}) == L"00:01:02:03:04:05:06:FF");
}

TEST(WwnText, NullPointerGivesTheEmptyText) {
    EXPECT_TRUE(WwnText(nullptr).IsEmpty());
}

TEST(WwnText, ProducedTextIsAccepted) {
    EXPECT_TRUE(Parses(WwnText(WWN)));
}

TEST(WwnText, IsToldFromEveryOther) {
    EXPECT_TRUE(HasText(WWN, L"10:00:00:1B:21:AA:BB:CC"));
    EXPECT_FALSE(HasText(WWN, L"10:00:00:1B:21:AA:BB:CD"));
    EXPECT_FALSE(HasText(WWN, L"10:00:00:1B:21:AA:BB:C"));
    EXPECT_FALSE(HasText(WWN, L"10:00:00:1B:21:AA:BB:CC:"));
    EXPECT_FALSE(HasText(WWN, L"10:00:00:1b:21:AA:BB:CC"));
    EXPECT_FALSE(HasText(HBA_WWN{}, L""));
}

TEST(WwnText, IsToldFromEveryOtherInAnyLetterCase) {
    EXPECT_TRUE(HasTextIgnoringCase(WWN, L"10:00:00:1B:21:AA:BB:CC"));
    EXPECT_TRUE(HasTextIgnoringCase(WWN, L"10:00:00:1b:21:aa:bb:cc"));
    EXPECT_TRUE(HasTextIgnoringCase(WWN, L"10:00:00:1b:21:Aa:bB:cC"));
    EXPECT_FALSE(HasTextIgnoringCase(WWN, L"10:00:00:1b:21:aa:bb:cd"));
    EXPECT_FALSE(HasTextIgnoringCase(WWN, L"10:00:00:1b:21:aa:bb:c"));
    EXPECT_FALSE(HasTextIgnoringCase(HBA_WWN{}, L""));
}

// A process takes the format in once; so this needs one of its own.
TEST(WwnText, IsMadeAndComparedByTheCommonFormatWhateverItIs) {
    EXPECT_EXIT(CompareInOtherFormat(), testing::ExitedWithCode(0), "");
}

TEST(ParseWwn, AcceptsLowerCase) {
    EXPECT_TRUE(Parses(L"10:00:00:1b:21:aa:bb:cc"));
}

TEST(ParseWwn, AcceptsUpperCase) {
    EXPECT_TRUE(Parses(L"10:00:00:1B:21:AA:BB:CC"));
}

TEST(ParseWwn, AcceptsMixedCase) {
    EXPECT_TRUE(Parses(L"10:00:00:1b:21:Aa:bB:cC"));
}

struct ParseWwnRejects : testing::TestWithParam<std::pair<const char*, const wchar_t*>> {};

TEST_P(ParseWwnRejects, Text) {
    EXPECT_FALSE(ParseWwn(GetParam().second));
}

INSTANTIATE_TEST_SUITE_P(
    , ParseWwnRejects,
    testing::Values(
        std::pair{"SevenGroups", L"10:00:00:1b:21:aa:bb"}, std::pair{"OneDigitGroup", L"10:00:00:1b:21:aa:bb:c"},
        std::pair{"WrongSeparator", L"10-00-00-1b-21-aa-bb-cc"},
        std::pair{"NotAHexadecimalDigit", L"10:00:00:1b:21:aa:bb:cg"},
        std::pair{"NineGroups", L"10:00:00:1b:21:aa:bb:cc:dd"}, std::pair{"LeadingColon", L":10:00:00:1b:21:aa:bb:cc"},
        std::pair{"TrailingColon", L"10:00:00:1b:21:aa:bb:cc:"}, std::pair{"EmptyGroup", L"10:00::1b:21:aa:bb:cc"},
        std::pair{"ThreeDigitGroup", L"10:00:00:1b:21:aa:bb:ccc"},
        std::pair{"LeadingBlank", L" 10:00:00:1b:21:aa:bb:cc"}, std::pair{"TrailingBlank", L"10:00:00:1b:21:aa:bb:cc "},
        std::pair{"BlankInAGroup", L"10: 0:00:1b:21:aa:bb:cc"}, std::pair{"Prefix", L"0x:00:00:1b:21:aa:bb:cc"},
        std::pair{"Sign", L"+1:00:00:1b:21:aa:bb:cc"}, std::pair{"WideDigit", L"10:00:00:1b:21:aa:bb:\xFF11\xFF11"},
        std::pair{"NoSeparators", L"1000001b21aabbcc"}, std::pair{"EightColons", L"::::::::"}, std::pair{"Empty", L""}),
    [](const auto& info) { return info.param.first; });

TEST(ParseWwn, RejectsATextWithAHiddenTail) {
    CQelString text(L"10:00:00:1b:21:aa:bb:cc");
    text.push_back(L'\0');
    EXPECT_FALSE(ParseWwn(text));
}
