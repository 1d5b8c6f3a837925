// What records say of that which is gone or not counted: docs/host-guide.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"
#include "tests/system/PromiseSuite.h"

namespace {

using testing::SizeIs;

std::string OneAdapter(const std::string& more) {
    return R"({"adapters": [{"identifier": "{11111111-2222-4333-8444-555555555501}", "mac": "00:1B:21:00:00:01",
        "port": {"node_wwn": "20:00:00:1B:21:00:00:01", "port_wwn": "20:01:00:1B:21:00:00:01"}, )" +
           more + "}]}";
}

TEST(PromiseRecords, AVlanThatIsGoneIsAbsentFromTheNextList) {
    PromiseSuite suite(OneAdapter(R"("vlans": [{"id": 100}, {"id": 200}])"));
    MovedClock clock(1000, suite.host.Module());
    EXPECT_EQ(2u, suite.Count(&CQelFcoeAgentIntf::EnumerateVLANs, FIRST));
    suite.host.Simulate(OneAdapter(R"("vlans": [{"id": 200}])"));
    clock.Advance(11);
    std::vector<QEL_FCOE_VLAN> vlans;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateVLANs, FIRST, vlans));
    ASSERT_THAT(vlans, SizeIs(1));
    EXPECT_STREQ(L"VLAN 200", vlans[0].strName);
}

TEST(PromiseRecords, CountersThatTheAdapterDoesNotCountAreMinusOne) {
    PromiseSuite suite(OneAdapter(R"("statistics": {"tx_words": -1, "rx_words": 1000, "error_frames": -1})"));
    std::vector<QEL_FCOE_STATISTIC> statistics;
    EXPECT_TRUE(suite.Ask(&CQelFcoeAgentIntf::EnumerateStatistics, FIRST, statistics));
    ASSERT_THAT(statistics, SizeIs(15));
    EXPECT_EQ(-1, statistics[1].llValue);
    EXPECT_EQ(0, statistics[2].llValue); // kilobytes of -1 words
    EXPECT_EQ(0, statistics[3].llValue);
    EXPECT_EQ(3, statistics[6].llValue);
    EXPECT_EQ(0, statistics[7].llValue);
    EXPECT_EQ(-1, statistics[8].llValue);
}

} // namespace
