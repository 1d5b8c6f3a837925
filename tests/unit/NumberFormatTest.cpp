#include "model/NumberFormat.h"

#include <climits>

#include <gtest/gtest.h>

TEST(NumberFormat, IsWhatTheFormatterMakes) {
    for (const wchar_t* format : {L"%I64d bytes", L"%I64d", L"about %I64d MB", L"%I64d and 100%%", L"100%% of %I64d",
                                  L"%5I64d MB", L"no number", L"", L"%d", L"%"}) {
        const CQelNumberFormat number{CQelString(format)};
        for (const LONG64 value : {LONG64(0), LONG64(512), LONG64(-7), LONG64(LLONG_MAX), LONG64(LLONG_MIN)}) {
            CQelString expected;
            expected.FormatString(format, value);
            EXPECT_EQ(static_cast<const std::wstring&>(expected), number.Text(value)) << value;
        }
    }
}
