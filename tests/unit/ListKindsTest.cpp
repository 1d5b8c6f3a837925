// The three lists that are read by one algorithm: what each calls, allocates, writes and answers by its description.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "model/FcoeLUN.h"
#include "model/FcoeTarget.h"
#include "model/FcoeVLAN.h"
#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;

namespace {

struct TargetLists {
    static constexpr const char* NAME = "Targets";
    using List = ORVAN_TARGET_LIST;
    using Entry = ORVAN_TARGET_ENTRY;
    static constexpr std::size_t FIRST = 48, FURTHER = 44; // bytes of a buffer
    static constexpr const char* CALL = "GetTargetList";
    static constexpr const char* OPERATION = "CQelFcoeTarget::GetTargetsList_HBA";
    static constexpr auto PROBE_FAILED = "GetTargetList() failed Inout No of targets = %d, dwNoOfTargets = %d";
    static constexpr auto RETRY_FAILED = "GetTargetList() failed Inout No of targets = %d, dwNoOfTargets = %d";
    static constexpr auto SUCCEEDED = "GetTargetList() succeeded, dwNoOfTargets = %d";
    static constexpr auto ONE = "Looks like there is only 1 target";
    static constexpr auto NO_MEMORY_FOR_ONE = "Memory Allocation failed - m_pTargetList";
    static constexpr auto NO_MEMORY_FOR_ALL = "Memory Allocation failed - pTargetList.";
    static auto& Answer(FakeHbaLibrary& fake) { return fake.GetTargetList; }
    static auto& Existing(FakeHbaLibrary& fake) { return fake.targets; }

    static std::string Read(CHBAAPIInt& library, HBA_HANDLE handle, List*& list) {
        return CQelFcoeTarget::GetTargetsList_HBA(&library, handle, list) ? "bReturn=true" : "bReturn=false";
    }
    static std::string Result(bool memory, ULONG) { return memory ? "bReturn=true" : "bReturn=false"; }
};

struct LunMappings {
    static constexpr const char* NAME = "Units";
    using List = HBA_FCPTARGETMAPPING;
    using Entry = HBA_FCPSCSIENTRY;
    static constexpr std::size_t FIRST = 312, FURTHER = 304;
    static constexpr const char* CALL = "GetFcpTargetMapping";
    static constexpr const char* OPERATION = "CQelFcoeLUN::GetLUNSList_HBA";
    static constexpr auto PROBE_FAILED = "GetLUNSList_HBA() failed Inout No of targets = %d, dwNoOfTargets = %d";
    static constexpr auto RETRY_FAILED = "GetTargetsInfo() failed Inout No of targets = %d, dwNoOfTargets = %d";
    static constexpr auto SUCCEEDED = "GetTargetsInfo() succeeded, dwNoOfTargets = %d";
    static constexpr auto ONE = "Looks like there is only 1 target";
    static constexpr auto NO_MEMORY_FOR_ONE = "Memory Allocation failed - m_pTargetsInfo";
    static constexpr auto NO_MEMORY_FOR_ALL = "Memory Allocation failed - pTargetsInfo.";
    static auto& Answer(FakeHbaLibrary& fake) { return fake.GetFcpTargetMapping; }
    static auto& Existing(FakeHbaLibrary& fake) { return fake.mappings; }

    static std::string Read(CHBAAPIInt& library, HBA_HANDLE handle, List*& list) {
        return CQelFcoeLUN::GetLUNSList_HBA(&library, handle, list) ? "bReturn=true" : "bReturn=false";
    }
    static std::string Result(bool memory, ULONG) { return memory ? "bReturn=true" : "bReturn=false"; }
};

struct VlanLists {
    static constexpr const char* NAME = "Vlans";
    using List = ORVAN_VLAN_LIST;
    using Entry = HBA_UINT32;
    static constexpr std::size_t FIRST = 8, FURTHER = 8;
    static constexpr const char* CALL = "GetVlanIdList";
    static constexpr const char* OPERATION = "CQelFcoeVLAN::GetVlansList_HBA";
    static constexpr auto PROBE_FAILED = "GetVLANList() failed Input No of vlans = %d, dwNoOfVlans = %d";
    static constexpr auto RETRY_FAILED = "GetVLANList() failed Inout No of Vlans = %d, dwNoOfVlans = %d";
    static constexpr auto SUCCEEDED = "GetVLANList() succeeded, dwNoOfVlans = %d";
    static constexpr auto ONE = "Looks like there is only 1 Vlan";
    static constexpr auto NO_MEMORY_FOR_ONE = "Memory Allocation failed - m_pVlanList";
    static constexpr auto NO_MEMORY_FOR_ALL = "Memory Allocation failed - pVlanList.";
    static auto& Answer(FakeHbaLibrary& fake) { return fake.GetVlanIdList; }
    static auto& Existing(FakeHbaLibrary& fake) { return fake.vlans; }

    static std::string Read(CHBAAPIInt& library, HBA_HANDLE handle, List*& list) {
        return "nReturn=" + std::to_string(CQelFcoeVLAN::GetVlansList_HBA(&library, handle, list));
    }
    // The number as last known, whether there is a list or not.
    static std::string Result(bool, ULONG count) { return "nReturn=" + std::to_string(count); }
};

template <class Kind> class ListKinds : public TreeTest {
  protected:
    using List = typename Kind::List;
    using Entry = typename Kind::Entry;

    ~ListKinds() override { Free(); }
    void Free() { std::free(std::exchange(list, nullptr)); }
    std::string Read() { return Kind::Read(library, HANDLE_7, list); }

    // The adapter has this many entries, each of other bytes.
    void MakeEntries(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            Entry entry;
            std::memset(&entry, static_cast<int>(i) + 1, sizeof entry);
            Kind::Existing(fake).push_back(entry);
        }
    }
    // The library answers the probe with this status and count, and the retry with those.
    void Answers(HBA_STATUS status, HBA_UINT32 count, HBA_STATUS retryStatus = HBA_STATUS_OK,
                 HBA_UINT32 retryCount = 0) {
        Kind::Answer(fake) = [=](HBA_HANDLE, List* asked) -> HBA_STATUS {
            const bool probe = asked->NumberOfEntries == 1;
            asked->NumberOfEntries = probe ? count : retryCount;
            return probe ? status : retryStatus;
        };
    }
    // A message with its numbers.
    static std::string Text(const char* format, int first, int second = 0) {
        char text[100];
        std::snprintf(text, sizeof text, format, first, second);
        return text;
    }

    List* list = nullptr;
};

struct ListNames {
    template <class Kind> static std::string GetName(int) { return Kind::NAME; }
};
using AllLists = testing::Types<TargetLists, LunMappings, VlanLists>;
TYPED_TEST_SUITE(ListKinds, AllLists, ListNames);

} // namespace

TYPED_TEST(ListKinds, OneEntryIsHandedOut) {
    this->MakeEntries(1);
    CAllocatorWatch allocator;
    EXPECT_EQ(TypeParam::Result(true, 1), this->Read());
    ASSERT_NE(nullptr, this->list);
    EXPECT_EQ(1u, this->list->NumberOfEntries);
    EXPECT_EQ(0,
              std::memcmp(&TypeParam::Existing(this->fake)[0], this->list->entry, sizeof(typename TypeParam::Entry)));
    EXPECT_THAT(allocator.Sizes(), ElementsAre(TypeParam::FIRST));
    EXPECT_THAT(this->Messages(), ElementsAre(this->Text(TypeParam::SUCCEEDED, 1), TypeParam::ONE));
    EXPECT_TRUE(this->Traced(TypeParam::OPERATION, ", " + TypeParam::Result(true, 1)));
    this->Free();
}

TYPED_TEST(ListKinds, FailedAllocationOfOneEntryGivesNoList) {
    this->MakeEntries(1);
    CAllocatorWatch allocator;
    allocator.Fail(TypeParam::FIRST);
    EXPECT_EQ(TypeParam::Result(false, 1), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_THAT(this->Messages(),
                ElementsAre(this->Text(TypeParam::SUCCEEDED, 1), TypeParam::ONE, TypeParam::NO_MEMORY_FOR_ONE));
    EXPECT_TRUE(this->Traced(TypeParam::OPERATION, ", " + TypeParam::Result(false, 1)));
}

TYPED_TEST(ListKinds, MoreEntriesAreReadWithTheReportedCount) {
    this->MakeEntries(3);
    CAllocatorWatch allocator;
    EXPECT_EQ(TypeParam::Result(true, 3), this->Read());
    ASSERT_NE(nullptr, this->list);
    EXPECT_EQ(3u, this->list->NumberOfEntries);
    EXPECT_EQ(0, std::memcmp(TypeParam::Existing(this->fake).data(), this->list->entry,
                             3 * sizeof(typename TypeParam::Entry)));
    EXPECT_THAT(this->fake.calls,
                ElementsAre(std::string(TypeParam::CALL) + " 7 1", std::string(TypeParam::CALL) + " 7 3"));
    EXPECT_THAT(allocator.Sizes(), ElementsAre(TypeParam::FIRST + 2 * TypeParam::FURTHER));
    EXPECT_THAT(this->Messages(), ElementsAre(this->Text(TypeParam::PROBE_FAILED, 3, 3)));
    this->Free();
}

TYPED_TEST(ListKinds, FailedAllocationForMoreEntriesGivesNoList) {
    this->MakeEntries(3);
    CAllocatorWatch allocator;
    allocator.Fail(TypeParam::FIRST + 2 * TypeParam::FURTHER);
    EXPECT_EQ(TypeParam::Result(false, 3), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_THAT(this->Messages(), ElementsAre(this->Text(TypeParam::PROBE_FAILED, 3, 3), TypeParam::NO_MEMORY_FOR_ALL));
}

TYPED_TEST(ListKinds, ListThatGrewAgainIsNotReadAThirdTime) {
    this->Answers(HBA_STATUS_ERROR_MORE_DATA, 3, HBA_STATUS_ERROR_MORE_DATA, 6);
    EXPECT_EQ(TypeParam::Result(true, 6), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_EQ(2, this->fake.CallsOf(TypeParam::CALL));
    EXPECT_THAT(this->Messages(),
                ElementsAre(this->Text(TypeParam::PROBE_FAILED, 3, 3), this->Text(TypeParam::RETRY_FAILED, 6, 6)));
}

TYPED_TEST(ListKinds, RetryThatFailsOtherwiseCountsNothing) {
    this->Answers(HBA_STATUS_ERROR_MORE_DATA, 3, HBA_STATUS_ERROR_BUSY, 3);
    EXPECT_EQ(TypeParam::Result(true, 0), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_THAT(this->Messages(),
                ElementsAre(this->Text(TypeParam::PROBE_FAILED, 3, 3), this->Text(TypeParam::RETRY_FAILED, 3, 0)));
}

TYPED_TEST(ListKinds, FailureGivesNoList) {
    this->Answers(HBA_STATUS_ERROR, 1);
    EXPECT_EQ(TypeParam::Result(true, 0), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_EQ(1, this->fake.CallsOf(TypeParam::CALL));
    EXPECT_THAT(this->Messages(), ElementsAre(this->Text(TypeParam::PROBE_FAILED, 1, 0)));
    EXPECT_TRUE(this->Traced(TypeParam::OPERATION, ", " + TypeParam::Result(true, 0)));
}

TYPED_TEST(ListKinds, SuccessOfTheProbeWithSeveralEntriesGivesNoList) {
    this->Answers(HBA_STATUS_OK, 2);
    EXPECT_EQ(TypeParam::Result(true, 2), this->Read());
    EXPECT_EQ(nullptr, this->list);
    EXPECT_THAT(this->Messages(), ElementsAre(this->Text(TypeParam::SUCCEEDED, 2)));
}

TYPED_TEST(ListKinds, CountBeyondTheBufferIsCut) {
    this->Answers(HBA_STATUS_ERROR_MORE_DATA, 3, HBA_STATUS_OK, 1000);
    CAllocatorWatch allocator;
    EXPECT_EQ(TypeParam::Result(true, 3), this->Read());
    ASSERT_NE(nullptr, this->list);
    EXPECT_EQ(3u, this->list->NumberOfEntries);
    this->Free();
}
