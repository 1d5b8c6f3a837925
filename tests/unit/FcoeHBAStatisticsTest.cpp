#include "tests/unit/HBAFixture.h"

namespace {

class FcoeHBAStatistics : public HBAFixture {
  protected:
    FcoeHBAStatistics() {
        // Every counter another number, so that none can stand for another.
        auto* counters = reinterpret_cast<HBA_INT64*>(&fake.portStatistics);
        for (int i = 0; i < 15; ++i)
            counters[i] = 100000 + i;
    }
    std::vector<QEL_FCOE_STATISTIC> list;
};

} // namespace

TEST_F(FcoeHBAStatistics, FifteenEntriesInTheirOrder) {
    Make();
    EXPECT_TRUE(hba->GetStatistics(list));
    const HBA_PORTSTATISTICS& s = fake.portStatistics;
    const LONG64 expected[] = {s.TxFrames,           s.TxWords,           s.TxWords * 4 / 1024, 0,
                               s.RxFrames,           s.RxWords,           s.RxWords * 4 / 1024, 0,
                               s.ErrorFrames,        s.DumpedFrames,      s.LossOfSyncCount,    s.InvalidCRCCount,
                               s.InvalidTxWordCount, s.LossOfSignalCount, s.LinkFailureCount};
    ASSERT_EQ(15u, list.size());
    for (UINT i = 0; i < 15; ++i) {
        EXPECT_EQ(expected[i], list[i].llValue) << i;
        EXPECT_EQ(ResourceString(1127 + i), list[i].strLabel) << i;
        EXPECT_TRUE(list[i].strDeviceId == GUID_TEXT);
        EXPECT_TRUE(list[i].strSecondId == L"Adapter 1");
    }
}

TEST_F(FcoeHBAStatistics, ThousandWordsAreThreeKilobytes) {
    fake.portStatistics.TxWords = 1000;
    fake.portStatistics.RxWords = 255;
    Make();
    hba->GetStatistics(list);
    EXPECT_EQ(3, list.at(2).llValue);
    EXPECT_EQ(0, list.at(6).llValue);
}

TEST_F(FcoeHBAStatistics, UnsupportedCounterTruncatesTowardZero) {
    fake.portStatistics.TxWords = -1;
    fake.portStatistics.RxWords = -257;
    Make();
    hba->GetStatistics(list);
    EXPECT_EQ(-1, list.at(1).llValue);
    EXPECT_EQ(0, list.at(2).llValue);
    EXPECT_EQ(-1, list.at(6).llValue);
}

TEST_F(FcoeHBAStatistics, LargestCountersDoNotTrap) {
    fake.portStatistics.TxWords = INT64_MAX;
    Make();
    hba->GetStatistics(list);
    EXPECT_EQ(0, list.at(2).llValue) << "the product wraps to -4";
}

TEST_F(FcoeHBAStatistics, FailedReadLeavesTheListAndIsTrue) {
    fake.GetPortStatistics = [](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS* statistics) {
        statistics->TxFrames = 5;
        return HBA_STATUS_ERROR;
    };
    Make();
    list.resize(1);
    EXPECT_TRUE(hba->GetStatistics(list));
    EXPECT_EQ(1u, list.size());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetStatistics, bReturn=true"));
}

TEST_F(FcoeHBAStatistics, TwoCallsAppendThirtyEntriesReadAfresh) {
    Make();
    hba->GetStatistics(list);
    fake.portStatistics.TxFrames = 7;
    hba->GetStatistics(list);
    ASSERT_EQ(30u, list.size());
    EXPECT_EQ(7, list[15].llValue);
    EXPECT_EQ(2, fake.CallsOf("GetPortStatistics"));
}

TEST_F(FcoeHBAStatistics, HandleIsReopenedFirst) {
    Make();
    fake.handle = 9;
    hba->GetStatistics(list);
    EXPECT_EQ("GetPortStatistics 9 0", fake.calls.back());
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GetStatistics"));
}
