#include "model/LinkStatus.h"

#include <iterator>

#include <gtest/gtest.h>

namespace {
constexpr QEL_RESULT DONE{0, 0xFFFFFFFF};
}

TEST(LinkStatus, EachCodeHasItsResource) {
    constexpr UINT expected[] = {1166, 1170, 1170, 1178, 1172, 1174, 1175, 1179, 1176, 1177};
    for (ULONG code = 0; code < std::size(expected); ++code)
        EXPECT_EQ(expected[code], LinkStatusResource(DONE, true, code)) << code;
}

TEST(LinkStatus, Codes1And2GiveTheSameText) {
    EXPECT_EQ(LinkStatusResource(DONE, true, 1), LinkStatusResource(DONE, true, 2));
}

TEST(LinkStatus, CodesAbove9AreUnknown) {
    EXPECT_EQ(1171u, LinkStatusResource(DONE, true, 10));
    EXPECT_EQ(1171u, LinkStatusResource(DONE, true, 0xFFFFFFFF));
}

TEST(LinkStatus, NotDoneWithoutErrorIsItsOwnText) {
    EXPECT_EQ(1173u, LinkStatusResource(DONE, false, 10));
    EXPECT_EQ(1173u, LinkStatusResource(DONE, false, 0));
}

TEST(LinkStatus, ErrorComesBeforeEverythingElse) {
    EXPECT_EQ(1169u, LinkStatusResource(QEL_RESULT_NOT_DONE, true, 0));
    EXPECT_EQ(1169u, LinkStatusResource({1, 0}, false, 10));
}

TEST(PortSpeed, Speed16IsUnknown) {
    EXPECT_EQ(2020u, PortSpeedResource(16));
}

TEST(PortSpeed, Speed4Is10GbitAnd8Is4Gbit) {
    EXPECT_EQ(1123u, PortSpeedResource(4));
    EXPECT_EQ(1122u, PortSpeedResource(8));
}
