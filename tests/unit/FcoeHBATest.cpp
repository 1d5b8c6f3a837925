#include "model/FcoeHBA.h"

#include <atomic>
#include <thread>

#include "tests/unit/FailingObject.h"
#include "tests/unit/HBAFixture.h"

using testing::ElementsAre;

namespace {

class FcoeHBA : public HBAFixture {};

} // namespace

// --- Fabrics

namespace {

std::vector<ULONG> Kinds(CQelFcoeHBA& hba) {
    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics;
    EXPECT_TRUE(hba.GetFabrics(fabrics));
    std::vector<ULONG> kinds;
    for (const auto& fabric : fabrics) {
        QEL_FCOE_FABRIC record;
        EXPECT_TRUE(fabric->Get(record));
        EXPECT_TRUE(record.strDeviceId == GUID_TEXT);
        EXPECT_TRUE(record.strSecondId == L"Adapter 1");
        kinds.push_back(record.ulKind);
    }
    return kinds;
}

} // namespace

TEST_F(FcoeHBA, HasAPhysicalAndAVirtualFabric) {
    Make();
    EXPECT_THAT(Kinds(*hba), ElementsAre(0u, 1u));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GetFabrics"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetFabrics, bReturn=true"));
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GetFabrics_HBA"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetFabrics_HBA"));
}

TEST_F(FcoeHBA, PhysicalFabricComesFirstWhateverTheOrderOfThePorts) {
    std::swap(fake.ports[0], fake.ports[1]);
    Make();
    EXPECT_THAT(Kinds(*hba), ElementsAre(0u, 1u));
}

TEST_F(FcoeHBA, ManyPortsMakeNoMoreThanTwoFabrics) {
    for (BYTE i = 0; i < 40; ++i)
        AddPort(i % 4, {{0x20, 0, 0, 0, 0, 0, 1, i}});
    Make();
    EXPECT_THAT(Kinds(*hba), ElementsAre(0u, 1u));
}

struct KindCase {
    const char* name;
    std::vector<BYTE> types;
    std::vector<ULONG> kinds;
};
class FcoeHBAFabrics : public HBAFixture, public testing::WithParamInterface<KindCase> {};
TEST_P(FcoeHBAFabrics, FollowThePortTypes) {
    fake.ports.clear();
    for (const BYTE type : GetParam().types)
        AddPort(type, PHYSICAL);
    Make();
    EXPECT_EQ(GetParam().kinds, Kinds(*hba));
}
INSTANTIATE_TEST_SUITE_P(, FcoeHBAFabrics,
                         testing::Values(KindCase{"None", {}, {}}, KindCase{"Type0", {0}, {0}},
                                         KindCase{"Type1AloneMakesNone", {1, 1}, {}}, KindCase{"Type2", {2}, {1}},
                                         KindCase{"Type3", {3}, {1}}, KindCase{"OtherTypesAreSkipped", {4, 255}, {}},
                                         KindCase{"Type1Then0", {1, 0}, {0}}),
                         [](const auto& info) { return info.param.name; });

TEST_F(FcoeHBA, PortListThatCannotBeReadMakesNoFabricsAndStillSucceeds) {
    fake.GetFCPortList = [](HBA_HANDLE, ORVAN_FC_PORT_LIST*) { return HBA_STATUS_ERROR; };
    Make();
    EXPECT_TRUE(Kinds(*hba).empty());
}

// So many that their size does not fit 32 bits: no list is made, though a count is known.
TEST_F(FcoeHBA, PortListThatIsTooLongMakesNoFabricsAndStillSucceeds) {
    fake.GetFCPortList = [](HBA_HANDLE, ORVAN_FC_PORT_LIST* list) {
        list->NumberOfEntries = 0x10000000;
        return HBA_STATUS_ERROR_MORE_DATA;
    };
    Make();
    EXPECT_TRUE(Kinds(*hba).empty());
}

TEST_F(FcoeHBA, FabricsAreCachedForTenMilliseconds) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeFabric>> first, again, later;
    hba->GetFabrics(first);
    clock.Advance(10);
    hba->GetFabrics(again);
    EXPECT_EQ(first, again);
    clock.Advance(1);
    hba->GetFabrics(later);
    EXPECT_NE(first[0], later[0]);
}

// A library that goes on to report more ports than the buffer it was given holds.
TEST_F(FcoeHBA, ReportedPortsBeyondTheBufferAreNotRead) {
    int asked = 0;
    fake.GetFCPortList = [&](HBA_HANDLE, ORVAN_FC_PORT_LIST* list) {
        if (++asked == 1)
            return FakeHbaLibrary::FillList(list, fake.ports);
        const HBA_STATUS status = FakeHbaLibrary::FillList(list, fake.ports);
        list->NumberOfEntries = 1000000;
        return status;
    };
    Make();
    EXPECT_THAT(Kinds(*hba), ElementsAre(0u, 1u));
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    EXPECT_TRUE(hba->GetPorts(ports));
    EXPECT_EQ(2u, ports.size());
}

// --- Ports, targets, VLANs, LUNs

TEST_F(FcoeHBA, PortsAreGatheredFromTheFabrics) {
    Make();
    std::vector<std::shared_ptr<CQelFcoePort>> ports{nullptr};
    EXPECT_TRUE(hba->GetPorts(ports));
    ASSERT_EQ(3u, ports.size());
    QEL_FCOE_PORT record;
    EXPECT_TRUE(ports[1]->Get(record));
    EXPECT_EQ(0u, record.ulPortType);
    EXPECT_TRUE(ports[2]->Get(record));
    EXPECT_EQ(2u, record.ulPortType);
}

TEST_F(FcoeHBA, TargetsAreGatheredFromTheFabrics) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    EXPECT_TRUE(hba->GetTargets(targets));
    ASSERT_EQ(2u, targets.size());
    QEL_FCOE_TARGET record;
    EXPECT_TRUE(targets[0]->Get(record));
    EXPECT_EQ(1u, record.ulScsiTarget);
    EXPECT_TRUE(targets[1]->Get(record));
    EXPECT_EQ(2u, record.ulScsiTarget);
}

TEST_F(FcoeHBA, LunsAreGatheredFromTheFabricsInTheirOrder) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns{nullptr};
    EXPECT_TRUE(hba->GetLUNs(luns));
    ASSERT_EQ(3u, luns.size());
    QEL_FCOE_LUN record;
    EXPECT_TRUE(luns[1]->Get(record));
    EXPECT_EQ(10u, record.ulOsLun);
    EXPECT_TRUE(luns[2]->Get(record));
    EXPECT_EQ(20u, record.ulOsLun);
}

TEST_F(FcoeHBA, LunsOfAFabricThatFailsInPartCount) {
    AddTarget(0, PHYSICAL, 3);
    Make();
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    ASSERT_TRUE(hba->GetTargets(targets));
    ASSERT_EQ(3u, targets.size());
    Failing<CQelFcoeTarget>::Break(*targets[0], CacheKey::TARGET_LUNS);
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
    EXPECT_TRUE(hba->GetLUNs(luns));
    EXPECT_EQ(2u, luns.size());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeFabric::GetLUNs, bReturn=false"));
}

TEST_F(FcoeHBA, TargetsOfAFabricThatFailsInPartCountAndItIsFalse) {
    Make();
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    ASSERT_TRUE(hba->GetPorts(ports));
    Failing<CQelFcoePort>::Break(*ports.at(0), CacheKey::PORT_TARGETS);
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    EXPECT_FALSE(hba->GetTargets(targets));
    EXPECT_EQ(1u, targets.size());
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetTargets, bReturn=false"));
}

TEST_F(FcoeHBA, PortsOfAFabricThatFailsAreMissingAndItIsFalse) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics;
    ASSERT_TRUE(hba->GetFabrics(fabrics));
    Failing<CQelFcoeFabric>::Break(*fabrics.at(0), CacheKey::FABRIC_PORTS);
    std::vector<std::shared_ptr<CQelFcoePort>> ports;
    EXPECT_FALSE(hba->GetPorts(ports));
    EXPECT_EQ(1u, ports.size());
}

TEST_F(FcoeHBA, LunsAreCachedForTenMilliseconds) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeLUN>> first, again, later;
    hba->GetLUNs(first);
    clock.Advance(10);
    hba->GetLUNs(again);
    EXPECT_EQ(first, again);
    clock.Advance(1);
    hba->GetLUNs(later);
    EXPECT_NE(first, later);
}

TEST_F(FcoeHBA, LunsWithoutTargetsAreAnEmptyListThatSucceeds) {
    fake.GetTargetList = [](HBA_HANDLE, ORVAN_TARGET_LIST*) { return HBA_STATUS_ERROR; };
    Make();
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
    EXPECT_TRUE(hba->GetLUNs(luns));
    EXPECT_TRUE(luns.empty());
}

TEST_F(FcoeHBA, VlansFollowTheLibrarysOrder) {
    fake.vlans = {0x00010064, 0x000200C8, 0x00010001};
    Make();
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans{nullptr};
    EXPECT_TRUE(hba->GetVLANs(vlans));
    ASSERT_EQ(4u, vlans.size());
    const ULONG expected[] = {100, 200, 1};
    for (int i = 0; i < 3; ++i) {
        QEL_FCOE_VLAN record;
        EXPECT_TRUE(vlans[i + 1]->Get(record));
        EXPECT_EQ(expected[i], record.ulVlanId);
        EXPECT_TRUE(record.strDeviceId == GUID_TEXT);
        EXPECT_TRUE(record.strSecondId == L"Adapter 1");
    }
    EXPECT_TRUE(Logged("ENTRY:  CQelFcoeHBA::GetVLANs_HBA"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::GetVLANs_HBA"));
}

TEST_F(FcoeHBA, NoVlansAreAnEmptyListThatSucceeds) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
    EXPECT_TRUE(hba->GetVLANs(vlans));
    EXPECT_TRUE(vlans.empty());
}

TEST_F(FcoeHBA, VlanCountWithoutAListIsAnEmptyList) {
    fake.GetVlanIdList = [](HBA_HANDLE, ORVAN_VLAN_LIST* list) {
        list->NumberOfEntries = 2;
        return HBA_STATUS_OK;
    };
    Make();
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
    EXPECT_TRUE(hba->GetVLANs(vlans));
    EXPECT_TRUE(vlans.empty());
}

TEST_F(FcoeHBA, VlansAreCachedForTenMilliseconds) {
    fake.vlans = {0x00010064};
    Make();
    std::vector<std::shared_ptr<CQelFcoeVLAN>> first, again, later;
    hba->GetVLANs(first);
    clock.Advance(10);
    hba->GetVLANs(again);
    EXPECT_EQ(first, again);
    clock.Advance(1);
    hba->GetVLANs(later);
    EXPECT_NE(first, later);
}

// --- Rescan and invalidation

TEST_F(FcoeHBA, RescanGoesToTheOpenHandleWithoutReopeningIt) {
    Make();
    EXPECT_TRUE(hba->RefreshTargets());
    EXPECT_THAT(fake.calls, ElementsAre("RescanScsiBus 7 4294967295"));
    EXPECT_TRUE(Logged("CQelFcoeHBA::RefreshTargetInfo - successful"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::RefreshTargets, bReturn=true"));
}

TEST_F(FcoeHBA, RefusedRescanIsFalse) {
    fake.RescanScsiBus = [](HBA_HANDLE, HBA_UINT32) { return HBA_STATUS_ERROR; };
    Make();
    EXPECT_FALSE(hba->RefreshTargets());
    EXPECT_FALSE(Logged("CQelFcoeHBA::RefreshTargetInfo - successful"));
    EXPECT_TRUE(Logged("EXIT:  CQelFcoeHBA::RefreshTargets, bReturn=false"));
}

TEST_F(FcoeHBA, InvalidationMakesAllFourReadersAskAgain) {
    Make();
    std::vector<std::shared_ptr<CQelFcoeFabric>> fabrics, newFabrics;
    std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns, newLuns;
    Record();
    hba->GetFabrics(fabrics);
    hba->GetVLANs(vlans);
    hba->GetLUNs(luns);
    const int asked = fake.CallsOf("GetVlanIdList");
    hba->InvalidateCache();
    Record();
    EXPECT_EQ(2, fake.CallsOf("GetAdapterPortAttributes"));
    hba->GetFabrics(newFabrics);
    EXPECT_NE(fabrics[0], newFabrics[0]);
    hba->GetVLANs(vlans);
    EXPECT_EQ(2 * asked, fake.CallsOf("GetVlanIdList"));
    hba->GetLUNs(newLuns);
    EXPECT_NE(luns[0], newLuns[0]);
}

// The library takes handles that another reader has closed. Of one that refuses them, a reader may get less.
TEST_F(FcoeHBA, ConcurrentReadersOfALibraryThatRefusesNothingGetWholeAnswers) {
    fake.vlans = {0x00010064, 0x00010065};
    Make();
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 25; ++i) {
                QEL_FCOE_HBA record;
                std::vector<std::shared_ptr<CQelFcoeVLAN>> vlans;
                std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
                if (!hba->Get(record) || !hba->GetVLANs(vlans) || !hba->GetLUNs(luns) || vlans.size() != 2 ||
                    luns.size() != 2)
                    ++wrong;
                hba->InvalidateCache();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(0, wrong);
}
