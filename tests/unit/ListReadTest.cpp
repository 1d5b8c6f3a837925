#include "model/ListRead.h"

#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;

namespace {

using ListRead = TreeTest;

constexpr CQelListKind<ORVAN_TARGET_LIST> KIND = {
    .pfnRead = &CHBAAPIInt::GetTargetList,
    .ullEntrySize = 44,
    .bEmptyList = true,
    .pszProbeFailed = L"probe %d %d",
    .pszNoMemoryForAll = L"no memory for all",
    .pszRetryFailed = L"retry %d %d",
    .pszSucceeded = L"succeeded %d",
    .pszNone = L"none",
    .nNoneLines = 3,
    .pszOne = L"one",
    .pszNoMemoryForOne = L"no memory for one",
};

// Answers the probe with "more data" and this count, the retry with that status and that count.
auto Answers(HBA_UINT32 probeCount, HBA_STATUS retryStatus, HBA_UINT32 retryCount) {
    return [=](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        if (list->NumberOfEntries == 1) {
            list->NumberOfEntries = probeCount;
            return HBA_STATUS_ERROR_MORE_DATA;
        }
        list->NumberOfEntries = retryCount;
        return retryStatus;
    };
}

} // namespace

TEST_F(ListRead, ProbesWithRoomForOne) {
    fake.targets.resize(1);
    ReadList(&library, HANDLE_7, KIND);
    EXPECT_THAT(fake.calls, ElementsAre("GetTargetList 7 1"));
}

TEST_F(ListRead, RetriesOnceWithRoomForAll) {
    fake.targets.resize(5);
    CAllocatorWatch allocator;
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_THAT(fake.calls, ElementsAre("GetTargetList 7 1", "GetTargetList 7 5"));
    EXPECT_THAT(allocator.Sizes(), ElementsAre(44u * 4 + 48));
    EXPECT_EQ(5u, result.ulCount);
    EXPECT_EQ(5u, ListEntries(result.list.Get()).size());
    EXPECT_THAT(Messages(), ElementsAre("probe 5 5"));
}

TEST_F(ListRead, EveryEntryArrives) {
    for (HBA_UINT32 i = 0; i < 100; ++i) {
        fake.targets.push_back({});
        fake.targets.back().FcId = 1000 + i;
    }
    CAllocatorWatch allocator;
    const auto result = ReadList(&library, HANDLE_7, KIND);
    HBA_UINT32 expected = 1000;
    for (const auto& entry : ListEntries(result.list.Get()))
        EXPECT_EQ(expected++, entry.FcId);
    EXPECT_EQ(1100u, expected);
}

TEST_F(ListRead, RetryBufferIsClearedAndCarriesTheCount) {
    std::vector<BYTE> seen;
    fake.GetTargetList = [&](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        if (list->NumberOfEntries == 1) {
            list->NumberOfEntries = 3;
            return HBA_STATUS_ERROR_MORE_DATA;
        }
        seen.assign(reinterpret_cast<BYTE*>(list), reinterpret_cast<BYTE*>(list) + 44 * 2 + 48);
        return HBA_STATUS_OK;
    };
    ReadList(&library, HANDLE_7, KIND);
    std::vector<BYTE> expected(44 * 2 + 48);
    expected[0] = 3;
    EXPECT_EQ(expected, seen);
}

TEST_F(ListRead, ProbeFailureWithoutMoreDataIsFinal) {
    fake.GetTargetList = [](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        list->NumberOfEntries = 9;
        return HBA_STATUS_ERROR;
    };
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_TRUE(result.bMemory);
    EXPECT_EQ(0u, result.ulCount);
    EXPECT_EQ(1, fake.CallsOf("GetTargetList"));
    EXPECT_THAT(Messages(), ElementsAre("probe 9 0"));
}

TEST_F(ListRead, MoreDataWithoutACountIsFinal) {
    fake.GetTargetList = Answers(0, HBA_STATUS_OK, 0);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_EQ(1, fake.CallsOf("GetTargetList"));
}

TEST_F(ListRead, SuccessOfTheProbeWithMoreThanOneEntryGivesNoList) {
    fake.GetTargetList = [](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        list->NumberOfEntries = 2;
        return HBA_STATUS_OK;
    };
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_TRUE(result.bMemory);
    EXPECT_EQ(2u, result.ulCount);
    EXPECT_EQ(1, fake.CallsOf("GetTargetList"));
    EXPECT_THAT(Messages(), ElementsAre("succeeded 2"));
}

TEST_F(ListRead, NoEntriesGiveAnEmptyListWhenTheKindSaysSo) {
    CAllocatorWatch allocator;
    const auto result = ReadList(&library, HANDLE_7, KIND);
    ASSERT_TRUE(result.list);
    EXPECT_EQ(0u, result.list.Get()->NumberOfEntries);
    EXPECT_THAT(allocator.Sizes(), ElementsAre(48u));
    EXPECT_THAT(Messages(), ElementsAre("succeeded 0", "none", "none", "none"));
}

TEST_F(ListRead, FailedAllocationOfTheEmptyList) {
    CAllocatorWatch allocator;
    allocator.Fail(48);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_FALSE(result.bMemory);
    EXPECT_THAT(Messages(), ElementsAre("succeeded 0", "none", "none", "none"));
}

TEST_F(ListRead, TheOneEntryIsCopied) {
    fake.targets = {TargetEntry(2, 0x11, 0x22)};
    CAllocatorWatch allocator;
    const auto result = ReadList(&library, HANDLE_7, KIND);
    ASSERT_EQ(1u, ListEntries(result.list.Get()).size());
    EXPECT_EQ(0, std::memcmp(&ListEntries(result.list.Get())[0], &fake.targets[0], 44));
    EXPECT_THAT(Messages(), ElementsAre("succeeded 1", "one"));
}

TEST_F(ListRead, CountThatGrewBetweenProbeAndRetryIsFinal) {
    fake.GetTargetList = Answers(3, HBA_STATUS_ERROR_MORE_DATA, 8);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_TRUE(result.bMemory);
    EXPECT_EQ(8u, result.ulCount);
    EXPECT_EQ(2, fake.CallsOf("GetTargetList"));
    EXPECT_THAT(Messages(), ElementsAre("probe 3 3", "retry 8 8"));
}

TEST_F(ListRead, CountThatShrankIsTheCount) {
    fake.GetTargetList = Answers(3, HBA_STATUS_OK, 2);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_EQ(2u, result.ulCount);
    EXPECT_EQ(2u, ListEntries(result.list.Get()).size());
}

TEST_F(ListRead, RetryThatFindsNothingGivesAListWithoutEntries) {
    fake.GetTargetList = Answers(3, HBA_STATUS_OK, 0);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_TRUE(result.list);
    EXPECT_EQ(0u, result.ulCount);
    EXPECT_THAT(Messages(), ElementsAre("probe 3 3"));
}

TEST_F(ListRead, CountBeyondTheBufferIsCutToTheBuffer) {
    CAllocatorWatch allocator;
    for (const HBA_UINT32 claimed : {4u, 100000u, 0xFFFFFFFFu}) {
        fake.GetTargetList = Answers(3, HBA_STATUS_OK, claimed);
        const auto result = ReadList(&library, HANDLE_7, KIND);
        EXPECT_EQ(3u, result.ulCount);
        unsigned sum = 0;
        for (const auto& entry : ListEntries(result.list.Get()))
            sum += entry.FcId + 1;
        EXPECT_EQ(3u, sum);
    }
}

TEST_F(ListRead, FailedAllocationForTheRetry) {
    fake.targets.resize(3);
    CAllocatorWatch allocator;
    allocator.Fail(44 * 2 + 48);
    const auto result = ReadList(&library, HANDLE_7, KIND);
    EXPECT_FALSE(result.list);
    EXPECT_FALSE(result.bMemory);
    EXPECT_EQ(3u, result.ulCount);
    EXPECT_EQ(1, fake.CallsOf("GetTargetList"));
    EXPECT_THAT(Messages(), ElementsAre("probe 3 3", "no memory for all"));
}

TEST_F(ListRead, SizeBeyond32BitsIsAFailedAllocation) {
    CAllocatorWatch allocator;
    // The size for the first count is 44 in 32 bits: one that wrapped would be granted.
    for (const HBA_UINT32 count : {97612894u, 0xFFFFFFFFu}) {
        fake.GetTargetList = Answers(count, HBA_STATUS_OK, count);
        const auto result = ReadList(&library, HANDLE_7, KIND);
        EXPECT_FALSE(result.list);
        EXPECT_FALSE(result.bMemory);
    }
    EXPECT_TRUE(allocator.Sizes().empty());
    EXPECT_EQ(2, fake.CallsOf("GetTargetList"));
    EXPECT_EQ(2, log.Count("no memory for all"));
}

TEST(ListSize, LargestSizeIsTheLargestThatFits32Bits) {
    CAllocatorWatch allocator;
    allocator.Fail(0xFFFFFFF8);
    AllocateList<ORVAN_VLAN_LIST>(0x1FFFFFFF, 8); // 8 * 0x1FFFFFFF
    EXPECT_THAT(allocator.Sizes(), ElementsAre(0xFFFFFFF8));
    EXPECT_FALSE(AllocateList<ORVAN_VLAN_LIST>(0x20000000, 8));
    EXPECT_EQ(1u, allocator.Sizes().size());
}

TEST(ListEntries, NoListHasNone) {
    EXPECT_TRUE(ListEntries(static_cast<const ORVAN_VLAN_LIST*>(nullptr)).empty());
}
