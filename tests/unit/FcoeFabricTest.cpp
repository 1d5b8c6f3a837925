#include "model/FcoeFabric.h"

#include "tests/kit/MovedClock.h"
#include "tests/unit/FailingObject.h"
#include "tests/unit/OpenedFlag.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr ULONG PHYSICAL = 0;
constexpr ULONG VIRTUAL = 1;

class FcoeFabricTest : public TreeTest {
  protected:
    // An entry with all that the fabric reads, made from one number.
    static ORVAN_FC_PORT Entry(HBA_UINT8 type, HBA_UINT16 number, HBA_UINT32 word56 = 1) {
        ORVAN_FC_PORT entry = FcPort(type, 0x2000000000000000 + number);
        for (HBA_UINT64 i = 0; i < 3; ++i)
            entry.Identifier[i] = Wwn((0x30 + i) << 56 | number);
        entry.Word56 = word56;
        entry.Number = number;
        entry.Byte62 = static_cast<HBA_UINT8>(number + 100);
        return entry;
    }
    std::unique_ptr<CQelFcoeFabric> Make(ULONG kind) {
        std::vector<BYTE> memory(sizeof(ORVAN_FC_PORT_LIST) + 64 * ports.size());
        auto* list = reinterpret_cast<ORVAN_FC_PORT_LIST*>(memory.data());
        list->NumberOfEntries = static_cast<HBA_UINT32>(ports.size());
        if (!ports.empty())
            std::memcpy(list->entry, ports.data(), 64 * ports.size());
        return std::make_unique<CQelFcoeFabric>(&library, names, HANDLE_7, list, kind);
    }
    static QEL_FCOE_FABRIC Record(const CQelFcoeFabric& fabric) {
        QEL_FCOE_FABRIC record;
        EXPECT_TRUE(fabric.Get(record));
        return record;
    }
    static std::vector<QEL_FCOE_PORT> Ports(const CQelFcoeFabric& fabric) {
        std::vector<std::shared_ptr<CQelFcoePort>> objects;
        EXPECT_TRUE(fabric.GetPorts(objects));
        std::vector<QEL_FCOE_PORT> records(objects.size());
        for (std::size_t i = 0; i < objects.size(); ++i)
            EXPECT_TRUE(objects[i]->Get(records[i]));
        return records;
    }
    // A target of the port made from Entry with this number, and a logical unit of it.
    void AddTarget(HBA_UINT8 type, HBA_UINT16 portNumber, HBA_UINT16 number) {
        ORVAN_TARGET_ENTRY target = TargetEntry(type, 0x2000000000000000 + portNumber, 0x5000 + number);
        target.Number = number;
        fake.targets.push_back(target);
        fake.mappings.push_back(LunEntry(0x5000 + number, number));
    }
    static std::vector<ULONG> Numbers(const std::vector<std::shared_ptr<CQelFcoeTarget>>& targets) {
        std::vector<ULONG> numbers;
        for (const auto& target : targets) {
            QEL_FCOE_TARGET record;
            EXPECT_TRUE(target->Get(record));
            numbers.push_back(record.ulNumber);
        }
        return numbers;
    }
    static std::vector<ULONG> Numbers(const std::vector<std::shared_ptr<CQelFcoeLUN>>& luns) {
        std::vector<ULONG> numbers;
        for (const auto& lun : luns) {
            QEL_FCOE_LUN record;
            EXPECT_TRUE(lun->Get(record));
            numbers.push_back(record.ulOsLun);
        }
        return numbers;
    }

    std::vector<ORVAN_FC_PORT> ports;
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
    std::vector<std::shared_ptr<CQelFcoeLUN>> luns;
};

using FabricRecord = FcoeFabricTest;
using FabricPorts = FcoeFabricTest;
using FabricTargets = FcoeFabricTest;
using FabricLuns = FcoeFabricTest;

} // namespace

// --- Record

TEST_F(FabricRecord, PhysicalHasAllItsFields) {
    ports = {Entry(0, 5, 0xCAFE)};
    const QEL_FCOE_FABRIC record = Record(*Make(PHYSICAL));
    EXPECT_EQ(L"Fabric 5", record.strName);
    EXPECT_EQ(L"30:00:00:00:00:00:00:05", record.strWWN1);
    EXPECT_EQ(L"31:00:00:00:00:00:00:05", record.strWWN2);
    EXPECT_EQ(L"32:00:00:00:00:00:00:05", record.strWWN3);
    EXPECT_EQ(0xCAFEu, record.ulEntryWord);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
    EXPECT_EQ(L"Physical", record.strKind);
    EXPECT_EQ(0u, record.ulKind);
    EXPECT_EQ(105u, record.ulEntryByte);
    EXPECT_EQ(5u, record.ulNumber);
}

TEST_F(FabricRecord, VirtualIsNamedFromItsFirstEntryWhateverTheWord) {
    for (const HBA_UINT8 type : {2, 3}) {
        ports = {Entry(0, 1), Entry(type, 7, 0), Entry(2, 8, 1)};
        const QEL_FCOE_FABRIC record = Record(*Make(VIRTUAL));
        EXPECT_EQ(L"Virtual Fabric 7", record.strName);
        EXPECT_EQ(L"Virtual", record.strKind);
        EXPECT_EQ(1u, record.ulKind);
        EXPECT_EQ(7u, record.ulNumber);
        EXPECT_EQ(0u, record.ulEntryWord);
        EXPECT_EQ(L"30:00:00:00:00:00:00:07", record.strWWN1);
    }
}

TEST_F(FabricRecord, FirstNamingEntryKeepsTheName) {
    ports = {Entry(0, 1), Entry(0, 2)};
    EXPECT_EQ(1u, Record(*Make(PHYSICAL)).ulNumber);
}

TEST_F(FabricRecord, LaterEntryThatNamesOverwritesWhatEntriesWithoutNameLeft) {
    ports = {Entry(0, 1, 0), Entry(0, 2, 9), Entry(0, 3, 9)};
    const QEL_FCOE_FABRIC record = Record(*Make(PHYSICAL));
    EXPECT_EQ(L"Fabric 2", record.strName);
    EXPECT_EQ(L"30:00:00:00:00:00:00:02", record.strWWN1);
    EXPECT_EQ(L"31:00:00:00:00:00:00:02", record.strWWN2);
    EXPECT_EQ(L"32:00:00:00:00:00:00:02", record.strWWN3);
    EXPECT_EQ(9u, record.ulEntryWord);
    EXPECT_EQ(102u, record.ulEntryByte);
    EXPECT_EQ(2u, record.ulNumber);
}

TEST_F(FabricRecord, OverTypeOneAloneHasNoNameAndTheLastIdentifiers) {
    ports = {Entry(1, 1), Entry(1, 2), Entry(1, 3)};
    const auto fabric = Make(PHYSICAL);
    const QEL_FCOE_FABRIC record = Record(*fabric);
    EXPECT_EQ(L"", record.strName);
    EXPECT_EQ(L"30:00:00:00:00:00:00:03", record.strWWN1);
    EXPECT_EQ(3u, record.ulNumber);
    EXPECT_EQ(103u, record.ulEntryByte);
    EXPECT_EQ(3u, Ports(*fabric).size());
}

TEST_F(FabricRecord, EmptyListGivesAnEmptyRecordAndNoPorts) {
    const auto fabric = Make(PHYSICAL);
    const QEL_FCOE_FABRIC record = Record(*fabric);
    EXPECT_EQ(L"", record.strName);
    EXPECT_EQ(L"", record.strWWN1);
    EXPECT_EQ(L"", record.strWWN2);
    EXPECT_EQ(L"", record.strWWN3);
    EXPECT_EQ(0u, record.ulEntryWord + record.ulEntryByte + record.ulNumber);
    EXPECT_EQ(L"Physical", record.strKind);
    EXPECT_THAT(Ports(*fabric), IsEmpty());
    EXPECT_TRUE(fabric->GetTargets(targets));
    EXPECT_TRUE(fabric->GetLUNs(luns));
    EXPECT_THAT(targets, IsEmpty());
    EXPECT_TRUE(fake.calls.empty());
}

TEST_F(FabricRecord, EntriesOfTheOtherKindDoNotCount) {
    ports = {Entry(2, 1), Entry(0, 2)};
    EXPECT_EQ(L"Fabric 2", Record(*Make(PHYSICAL)).strName);
    ports = {Entry(0, 1)};
    EXPECT_EQ(L"", Record(*Make(VIRTUAL)).strName);
    EXPECT_EQ(L"Virtual", Record(*Make(VIRTUAL)).strKind);
}

TEST_F(FabricRecord, UnknownKindHasNoKindTextAndNoPorts) {
    ports = {Entry(0, 1), Entry(2, 2)};
    const auto fabric = Make(2);
    EXPECT_EQ(L"", Record(*fabric).strKind);
    EXPECT_EQ(2u, Record(*fabric).ulKind);
    EXPECT_THAT(Ports(*fabric), IsEmpty());
}

TEST_F(FabricRecord, NumberHas16Bits) {
    ports = {Entry(0, 65535)};
    EXPECT_EQ(L"Fabric 65535", Record(*Make(PHYSICAL)).strName);
}

TEST_F(FabricRecord, ThatCannotBeHadLeavesTheCallersUntouched) {
    ports = {Entry(0, 1)};
    const auto fabric = Make(PHYSICAL);
    Failing<CQelFcoeFabric>::Break(*fabric, CacheKey::FABRIC_RECORD);
    QEL_FCOE_FABRIC record;
    record.strName = L"before";
    record.ulNumber = 77;
    EXPECT_FALSE(fabric->Get(record));
    EXPECT_EQ(L"before", record.strName);
    EXPECT_EQ(77u, record.ulNumber);
    EXPECT_TRUE(Traced("CQelFcoeFabric::Get", ", bReturn=false"));
}

TEST_F(FabricRecord, CountsAsOpened) {
    EXPECT_EQ(1u, OpenedFlag<CQelFcoeFabric>::Of(*Make(PHYSICAL)));
}

TEST_F(FabricRecord, OperationsAreTraced) {
    ports = {Entry(0, 1)};
    Ports(*Make(PHYSICAL));
    Record(*Make(PHYSICAL));
    EXPECT_TRUE(Traced("CQelFcoeFabric::CQelFcoeFabric"));
    EXPECT_TRUE(Traced("CQelFcoeFabric::Get", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetPorts", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeFabric::~CQelFcoeFabric"));
}

// --- Ports

TEST_F(FabricPorts, AreThoseOfItsKindInTheirOrder) {
    ports = {Entry(0, 1), Entry(2, 2), Entry(1, 3), Entry(3, 4), Entry(4, 5), Entry(255, 6)};
    const auto physical = Ports(*Make(PHYSICAL));
    ASSERT_EQ(2u, physical.size());
    EXPECT_EQ(0u, physical[0].ulPortType);
    EXPECT_EQ(1u, physical[1].ulPortType);
    const auto virtuals = Ports(*Make(VIRTUAL));
    ASSERT_EQ(2u, virtuals.size());
    EXPECT_EQ(2u, virtuals[0].ulPortType);
    EXPECT_EQ(3u, virtuals[1].ulPortType);
    EXPECT_EQ(L"{name}", virtuals[0].strDeviceId);
    EXPECT_EQ(L"second", virtuals[0].strSecondId);
}

TEST_F(FabricPorts, CarryTheNameAsItStoodWhenTheyWereMade) {
    ports = {Entry(0, 1, 0), Entry(0, 2), Entry(0, 3)};
    const auto records = Ports(*Make(PHYSICAL));
    ASSERT_EQ(3u, records.size());
    EXPECT_EQ(L"", records[0].strFabricName);
    EXPECT_EQ(L"Fabric 2", records[1].strFabricName);
    EXPECT_EQ(L"Fabric 2", records[2].strFabricName);
}

TEST_F(FabricPorts, AreSharedAndAppended) {
    ports = {Entry(0, 1), Entry(0, 2)};
    const auto fabric = Make(PHYSICAL);
    std::vector<std::shared_ptr<CQelFcoePort>> objects;
    EXPECT_TRUE(fabric->GetPorts(objects));
    EXPECT_TRUE(fabric->GetPorts(objects));
    ASSERT_EQ(4u, objects.size());
    EXPECT_EQ(objects[0], objects[2]);
    EXPECT_EQ(objects[1], objects[3]);
}

TEST_F(FabricPorts, ThatCannotBeHadFailWhatNeedsThem) {
    ports = {Entry(0, 1)};
    AddTarget(0, 1, 10);
    const auto fabric = Make(PHYSICAL);
    Failing<CQelFcoeFabric>::Break(*fabric, CacheKey::FABRIC_PORTS);
    std::vector<std::shared_ptr<CQelFcoePort>> objects(1);
    EXPECT_FALSE(fabric->GetPorts(objects));
    EXPECT_EQ(1u, objects.size());
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetPorts", ", bReturn=false"));
    EXPECT_FALSE(fabric->GetTargets(targets));
    EXPECT_THAT(targets, IsEmpty());
    EXPECT_FALSE(fabric->GetLUNs(luns));
    EXPECT_THAT(luns, IsEmpty());
    EXPECT_THAT(fake.calls, IsEmpty());
}

// --- Targets and logical units

TEST_F(FabricTargets, AreThoseOfEachPortInTurn) {
    ports = {Entry(0, 1), Entry(0, 2)};
    AddTarget(0, 2, 20);
    AddTarget(0, 1, 10);
    AddTarget(0, 2, 21);
    EXPECT_TRUE(Make(PHYSICAL)->GetTargets(targets));
    EXPECT_THAT(Numbers(targets), ElementsAre(10u, 20u, 21u));
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetTargets", ", bReturn=true"));
    EXPECT_FALSE(log.Has("ENTRY:  CQelFcoeFabric::GetPorts"));
}

TEST_F(FabricTargets, AreNotDeduplicated) {
    ports = {Entry(0, 1), Entry(0, 1)};
    AddTarget(0, 1, 10);
    EXPECT_TRUE(Make(PHYSICAL)->GetTargets(targets));
    EXPECT_THAT(Numbers(targets), ElementsAre(10u, 10u));
}

TEST_F(FabricTargets, AreAppended) {
    ports = {Entry(0, 1)};
    AddTarget(0, 1, 10);
    const auto fabric = Make(PHYSICAL);
    EXPECT_TRUE(fabric->GetTargets(targets));
    EXPECT_TRUE(fabric->GetTargets(targets));
    EXPECT_EQ(2u, targets.size());
}

TEST_F(FabricLuns, AreThoseOfEachTargetInTurn) {
    ports = {Entry(0, 1), Entry(0, 2)};
    AddTarget(0, 2, 20);
    AddTarget(0, 1, 10);
    EXPECT_TRUE(Make(PHYSICAL)->GetLUNs(luns));
    EXPECT_THAT(Numbers(luns), ElementsAre(10u, 20u));
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetLUNs", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetTargets", ", bReturn=true"));
}

TEST_F(FabricTargets, OneFailingPortMakesItFalseAndTheOthersCount) {
    ports = {Entry(0, 1), Entry(0, 2)};
    AddTarget(0, 1, 10);
    AddTarget(0, 2, 20);
    const auto fabric = Make(PHYSICAL);
    std::vector<std::shared_ptr<CQelFcoePort>> objects;
    fabric->GetPorts(objects);
    Failing<CQelFcoePort>::Break(*objects[0], CacheKey::PORT_TARGETS);
    EXPECT_FALSE(fabric->GetTargets(targets));
    EXPECT_THAT(Numbers(targets), ElementsAre(20u));
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetTargets", ", bReturn=false"));

    EXPECT_FALSE(fabric->GetLUNs(luns)) << "the level above failed";
    EXPECT_THAT(luns, IsEmpty());
    EXPECT_TRUE(Traced("CQelFcoeFabric::GetLUNs", ", bReturn=false"));
}

TEST_F(FabricLuns, OneFailingTargetMakesItFalseAndTheOthersCount) {
    MovedClock clock; // the ports keep the targets
    ports = {Entry(0, 1)};
    AddTarget(0, 1, 10);
    AddTarget(0, 1, 20);
    const auto fabric = Make(PHYSICAL);
    fabric->GetTargets(targets);
    ASSERT_EQ(2u, targets.size());
    Failing<CQelFcoeTarget>::Break(*targets[0], CacheKey::TARGET_LUNS);
    EXPECT_FALSE(fabric->GetLUNs(luns));
    EXPECT_THAT(Numbers(luns), ElementsAre(20u));
}

TEST_F(FabricTargets, PortWithoutRecordFailsItsReader) {
    ports = {Entry(0, 1)};
    AddTarget(0, 1, 10);
    const auto fabric = Make(PHYSICAL);
    std::vector<std::shared_ptr<CQelFcoePort>> objects;
    fabric->GetPorts(objects);
    Failing<CQelFcoePort>::Break(*objects[0], CacheKey::PORT_RECORD);
    EXPECT_FALSE(objects[0]->GetTargets_HBA(targets));
    EXPECT_TRUE(Traced("CQelFcoePort::GetTargets_HBA", ", bReturn=false"));
    EXPECT_FALSE(objects[0]->GetTargets(targets));
    QEL_FCOE_PORT record;
    record.strKind = L"untouched";
    EXPECT_FALSE(objects[0]->Get(record));
    EXPECT_EQ(L"untouched", record.strKind);
}

TEST_F(FabricTargets, TargetWithoutRecordHasNoLunsAndSaysSo) {
    ports = {Entry(0, 1)};
    AddTarget(0, 1, 10);
    const auto fabric = Make(PHYSICAL);
    fabric->GetTargets(targets);
    Failing<CQelFcoeTarget>::Break(*targets.at(0), CacheKey::TARGET_RECORD);
    EXPECT_TRUE(targets[0]->GetLUNs_HBA(luns));
    EXPECT_THAT(luns, IsEmpty());
    EXPECT_TRUE(log.Has("ERROR:  Unable to retrieve the current target information"));
}
