#include "tools/fcoectl/Rates.h"

#include <gtest/gtest.h>

using namespace fcoectl;

namespace {

QEL_FCOE_STATISTIC Counter(const wchar_t* adapter, const wchar_t* label, LONG64 value) {
    QEL_FCOE_STATISTIC statistic;
    statistic.strDeviceId = adapter;
    statistic.strLabel = label;
    statistic.llValue = value;
    return statistic;
}

using Optional = std::optional<double>;

} // namespace

TEST(Rates, AreTheDifferenceBySeconds) {
    EXPECT_EQ((std::vector<Optional>{25.0}), RatesBetween({Counter(L"a", L"x", 100)}, {Counter(L"a", L"x", 150)}, 2));
}

TEST(Rates, CounterThatWentBackHasNone) {
    EXPECT_EQ((std::vector<Optional>{std::nullopt}),
              RatesBetween({Counter(L"a", L"x", 100)}, {Counter(L"a", L"x", 99)}, 1));
}

TEST(Rates, NewAdapterHasNoneAndOthersKeepTheirs) {
    EXPECT_EQ((std::vector<Optional>{std::nullopt, 1.0}),
              RatesBetween({Counter(L"b", L"x", 1)}, {Counter(L"a", L"x", 9), Counter(L"b", L"x", 2)}, 1));
}

TEST(Rates, EqualLabelsOfOneAdapterAreToldApart) {
    EXPECT_EQ((std::vector<Optional>{1.0, 2.0}), RatesBetween({Counter(L"a", L"x", 0), Counter(L"a", L"x", 10)},
                                                              {Counter(L"a", L"x", 1), Counter(L"a", L"x", 12)}, 1));
}

TEST(Rates, DifferenceMayExceedASignedNumber) {
    const auto rates = RatesBetween({Counter(L"a", L"x", INT64_MIN)}, {Counter(L"a", L"x", INT64_MAX)}, 1);
    EXPECT_DOUBLE_EQ(18446744073709551615.0, rates.at(0).value());
}

TEST(Rates, WithoutTimeThereIsNone) {
    EXPECT_EQ((std::vector<Optional>{std::nullopt}),
              RatesBetween({Counter(L"a", L"x", 0)}, {Counter(L"a", L"x", 1)}, 0));
}
