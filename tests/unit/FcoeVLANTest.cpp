#include "model/FcoeVLAN.h"

#include "tests/kit/MovedClock.h"
#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/FailingObject.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;

namespace {

class FcoeVlanTest : public TreeTest {
  protected:
    std::unique_ptr<CQelFcoeVLAN> Make(ULONG entry) {
        return std::make_unique<CQelFcoeVLAN>(&library, names, HANDLE_7, entry);
    }
    static QEL_FCOE_VLAN Record(const CQelFcoeVLAN& vlan) {
        QEL_FCOE_VLAN record;
        EXPECT_TRUE(vlan.Get(record));
        return record;
    }
};

using VlanRecord = FcoeVlanTest;
using VlanRefresh = FcoeVlanTest;

class VlanList : public TreeTest {
  protected:
    ~VlanList() override { std::free(list); }
    ULONG Read() { return CQelFcoeVLAN::GetVlansList_HBA(&library, HANDLE_7, list); }

    ORVAN_VLAN_LIST* list = nullptr;
};

} // namespace

// --- Record

TEST_F(VlanRecord, ActiveVlan) {
    const QEL_FCOE_VLAN record = Record(*Make(0x00010064));
    EXPECT_EQ(L"VLAN 100", record.strName);
    EXPECT_EQ(100u, record.ulVlanId);
    EXPECT_EQ(1u, record.ulState);
    EXPECT_EQ(L"Active", record.strState);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
}

TEST_F(VlanRecord, EveryOtherStateIsInactive) {
    EXPECT_EQ(2u, Record(*Make(0x00020064)).ulState);
    EXPECT_EQ(L"Inactive", Record(*Make(0x00020064)).strState);
    EXPECT_EQ(L"Inactive", Record(*Make(0x00000064)).strState);
    EXPECT_EQ(L"Inactive", Record(*Make(0xFFFF0064)).strState);
    EXPECT_EQ(0xFFFFu, Record(*Make(0xFFFF0064)).ulState);
}

TEST_F(VlanRecord, IdentifierHas16Bits) {
    const QEL_FCOE_VLAN record = Record(*Make(0x0001FFFF));
    EXPECT_EQ(L"VLAN 65535", record.strName);
    EXPECT_EQ(65535u, record.ulVlanId);
}

TEST_F(VlanRecord, ComesFromTheEntryWithoutALibraryCall) {
    Record(*Make(0x00010064));
    EXPECT_TRUE(fake.calls.empty());
}

TEST_F(VlanRecord, ThatCannotBeHadLeavesTheCallersUntouched) {
    const auto vlan = Make(0x00010064);
    Failing<CQelFcoeVLAN>::Break(*vlan, CacheKey::VLAN_RECORD);
    QEL_FCOE_VLAN record;
    record.strName = L"before";
    record.ulVlanId = 77;
    EXPECT_FALSE(vlan->Get(record));
    EXPECT_EQ(L"before", record.strName);
    EXPECT_EQ(77u, record.ulVlanId);
    EXPECT_TRUE(Traced("CQelFcoeVLAN::Get", ", bReturn=false"));
}

TEST_F(VlanRecord, OperationsAreTraced) {
    Record(*Make(0x00010064));
    EXPECT_TRUE(Traced("CQelFcoeVLAN::CQelFcoeVLAN"));
    EXPECT_TRUE(Traced("CQelFcoeVLAN::SetupCache"));
    EXPECT_TRUE(Traced("CQelFcoeVLAN::Get", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeVLAN::~CQelFcoeVLAN"));
}

// The first record takes the place of the refreshing one.
TEST_F(VlanRecord, NeverAgesAfterConstruction) {
    MovedClock clock;
    const auto vlan = Make(0x00010064);
    clock.Advance(1000000);
    fake.vlans = {0x00020064};
    EXPECT_EQ(1u, Record(*vlan).ulState);
    EXPECT_TRUE(fake.calls.empty());
}

// --- Refresh

TEST_F(VlanRefresh, RereadsTheEntryWithTheSameIdentifier) {
    const auto vlan = Make(0x00010064);
    fake.vlans = {0x00010063, 0x00020064, 0x00030064};
    vlan->SetupCache();
    const QEL_FCOE_VLAN record = Record(*vlan);
    EXPECT_EQ(100u, record.ulVlanId);
    EXPECT_EQ(2u, record.ulState) << "the first of two with the same identifier";
    EXPECT_EQ(L"VLAN 100", record.strName);
    EXPECT_EQ(L"Inactive", record.strState);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
}

TEST_F(VlanRefresh, FoundVlanIsFixedAgain) {
    MovedClock clock;
    const auto vlan = Make(0x00010064);
    fake.vlans = {0x00020064};
    vlan->SetupCache();
    Record(*vlan);
    const auto calls = fake.calls.size();
    clock.Advance(1000000);
    fake.vlans.clear();
    EXPECT_EQ(2u, Record(*vlan).ulState);
    EXPECT_EQ(calls, fake.calls.size());
}

TEST_F(VlanRefresh, VlanThatIsGoneReadsEmptyUntilItIsBack) {
    MovedClock clock;
    const auto vlan = Make(0x00010064);
    fake.vlans = {0x00010063, 0x00010065};
    vlan->SetupCache();
    QEL_FCOE_VLAN record = Record(*vlan);
    EXPECT_EQ(L"", record.strName);
    EXPECT_EQ(L"", record.strDeviceId);
    EXPECT_EQ(0u, record.ulVlanId);
    fake.vlans = {0x00010064};
    clock.Advance(10000);
    EXPECT_EQ(L"", Record(*vlan).strName) << "not older than its period yet";
    clock.Advance(1);
    EXPECT_EQ(L"VLAN 100", Record(*vlan).strName);
}

TEST_F(VlanRefresh, SuccessOfTheProbeWithSeveralVlansReadsEmpty) {
    const auto vlan = Make(0x00010064);
    fake.GetVlanIdList = [](HBA_HANDLE, ORVAN_VLAN_LIST* list) -> HBA_STATUS {
        list->NumberOfEntries = 2;
        list->entry[0] = 0x00010064;
        return HBA_STATUS_OK;
    };
    vlan->SetupCache();
    EXPECT_EQ(L"", Record(*vlan).strName);
}

TEST_F(VlanRefresh, FailedReadReadsEmpty) {
    const auto vlan = Make(0x00010064);
    fake.GetVlanIdList = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    vlan->SetupCache();
    EXPECT_EQ(L"", Record(*vlan).strName);
}

TEST_F(VlanRefresh, ListIsFreed) {
    const auto vlan = Make(0x00010064);
    fake.vlans = {0x00010063, 0x00020064};
    CAllocatorWatch allocator; // expects no live block at its end
    vlan->SetupCache();
    EXPECT_EQ(2u, Record(*vlan).ulState);
    EXPECT_THAT(allocator.Sizes(), ElementsAre(16u));
}

// --- List

TEST_F(VlanList, NoVlansGiveNoList) {
    CAllocatorWatch allocator;
    EXPECT_EQ(0u, Read());
    EXPECT_EQ(nullptr, list);
    EXPECT_TRUE(allocator.Sizes().empty());
    EXPECT_THAT(fake.calls, ElementsAre("GetVlanIdList 7 1"));
    EXPECT_THAT(Messages(), ElementsAre("GetVLANList() succeeded, dwNoOfVlans = 0",
                                        "Looks like there are no Vlans found on this HBA"));
    EXPECT_TRUE(Traced("CQelFcoeVLAN::GetVlansList_HBA", ", nReturn=0"));
}

TEST_F(VlanList, PointerPassedInIsNeitherReadNorFreed) {
    ORVAN_VLAN_LIST local{};
    list = &local;
    CAllocatorWatch allocator;
    Read();
    EXPECT_EQ(nullptr, list);
}
