#include "model/FcoePort.h"

#include "tests/kit/MovedClock.h"
#include "tests/unit/CAllocatorWatch.h"
#include "tests/unit/FailingObject.h"
#include "tests/unit/TreeTest.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr HBA_UINT64 PORT = 0x2000001122334455;

class FcoePortTest : public TreeTest {
  protected:
    FcoePortTest() {
        entry = FcPort(0, PORT);
        entry.NodeWWN = Wwn(0x1000001122334455);
        entry.WordA = 0xAAAAAAAA;
        entry.WordB = 0xBBBBBBBB;
        entry.Identifier[0] = Wwn(0x3000001122334455);
        entry.Identifier[1] = Wwn(0x3100001122334455);
    }
    std::unique_ptr<CQelFcoePort> Make() {
        return std::make_unique<CQelFcoePort>(&library, names, HANDLE_7, L"Fabric 1", entry);
    }
    QEL_FCOE_PORT Record() {
        QEL_FCOE_PORT record;
        EXPECT_TRUE(Make()->Get(record));
        return record;
    }
    // The numbers of the targets that a port made from the entry reaches.
    std::vector<ULONG> TargetNumbers() {
        targets.clear();
        EXPECT_TRUE(Make()->GetTargets_HBA(targets));
        std::vector<ULONG> numbers;
        for (const auto& target : targets) {
            QEL_FCOE_TARGET record;
            EXPECT_TRUE(target->Get(record));
            numbers.push_back(record.ulNumber);
        }
        return numbers;
    }
    static ORVAN_TARGET_ENTRY Target(HBA_UINT16 number, HBA_UINT8 type, HBA_UINT64 initiator, HBA_UINT32 fcId = 0) {
        ORVAN_TARGET_ENTRY target = TargetEntry(type, initiator, 0x5000 + number);
        target.Number = number;
        target.FcId = fcId;
        return target;
    }

    ORVAN_FC_PORT entry;
    std::vector<std::shared_ptr<CQelFcoeTarget>> targets;
};

// A port whose record says something else.
struct Retold : CQelFcoePort {
    static void Tell(CQelFcoePort& port, const QEL_FCOE_PORT& record) {
        (port.*(&Retold::m_cache)).AddCache(CacheKey::PORT_RECORD, std::make_shared<QEL_FCOE_PORT>(record));
    }
};

using PortRecord = FcoePortTest;
using PortTargets = FcoePortTest;

class PortList : public TreeTest {
  protected:
    ~PortList() override { std::free(list); }
    LONG Read() { return CQelFcoePort::GetPortsList_HBA(&library, HANDLE_7, list); }
    // Answers the count, and then the list call with this status and count.
    void Answer(HBA_UINT32 counted, HBA_STATUS status, HBA_UINT32 claimed) {
        fake.GetFCPortList = [=, first = true](HBA_HANDLE, ORVAN_FC_PORT_LIST* ports) mutable -> HBA_STATUS {
            const bool counting = std::exchange(first, false);
            ports->NumberOfEntries = counting ? counted : claimed;
            return counting ? HBA_STATUS_OK : status;
        };
    }

    ORVAN_FC_PORT_LIST* list = nullptr;
};

} // namespace

// --- Record

TEST_F(PortRecord, HasAllItsFields) {
    const QEL_FCOE_PORT record = Record();
    EXPECT_EQ(L"10:00:00:11:22:33:44:55", record.strNodeWWN);
    EXPECT_EQ(L"20:00:00:11:22:33:44:55", record.strPortWWN);
    EXPECT_EQ(0u, record.ulPortType);
    EXPECT_EQ(L"Physical port", record.strKind);
    EXPECT_EQ(0xAAAAAAAAu, record.ulWordA);
    EXPECT_EQ(0xBBBBBBBBu, record.ulWordB);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
    EXPECT_EQ(L"30:00:00:11:22:33:44:55", record.strWWN3);
    EXPECT_EQ(L"Fabric 1", record.strFabricName);
    EXPECT_TRUE(fake.calls.empty());
}

TEST_F(PortRecord, OnlyTypeZeroShowsAsPhysical) {
    for (const HBA_UINT8 type : {1, 2, 3, 255}) {
        entry.PortType = type;
        EXPECT_EQ(L"Virtual port", Record().strKind);
        EXPECT_EQ(type, Record().ulPortType);
    }
}

TEST_F(PortRecord, ThatCannotBeHadLeavesTheCallersUntouched) {
    const auto port = Make();
    Failing<CQelFcoePort>::Break(*port, CacheKey::PORT_RECORD);
    QEL_FCOE_PORT record;
    record.strPortWWN = L"before";
    record.ulWordA = 77;
    EXPECT_FALSE(port->Get(record));
    EXPECT_EQ(L"before", record.strPortWWN);
    EXPECT_EQ(77u, record.ulWordA);
    EXPECT_TRUE(Traced("CQelFcoePort::Get", ", bReturn=false"));
}

TEST_F(PortRecord, OperationsAreTraced) {
    Record();
    EXPECT_TRUE(Traced("CQelFcoePort::CQelFcoePort"));
    EXPECT_TRUE(Traced("CQelFcoePort::SetupCache"));
    EXPECT_TRUE(Traced("CQelFcoePort::SetupPort"));
    EXPECT_TRUE(Traced("CQelFcoePort::Get", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoePort::~CQelFcoePort"));
}

// --- Targets

TEST_F(PortTargets, AreThoseWithItsIdentifierInTheirOrder) {
    fake.targets = {Target(3, 0, PORT), Target(4, 0, PORT + 1), Target(1, 0, PORT), Target(2, 0, PORT)};
    EXPECT_THAT(TargetNumbers(), ElementsAre(3u, 1u, 2u));
    EXPECT_TRUE(Traced("CQelFcoePort::GetTargets_HBA", ", bReturn=true"));
    EXPECT_TRUE(Traced("CQelFcoePort::Get", ", bReturn=true"));
}

TEST_F(PortTargets, OfAnotherTypeAreNotThePorts) {
    fake.targets = {Target(1, 1, PORT), Target(2, 0, PORT), Target(3, 2, PORT), Target(4, 3, PORT)};
    EXPECT_THAT(TargetNumbers(), ElementsAre(2u));
    entry.PortType = 1;
    EXPECT_THAT(TargetNumbers(), ElementsAre(1u));
    entry.PortType = 2;
    EXPECT_THAT(TargetNumbers(), ElementsAre(3u));
}

TEST_F(PortTargets, OfATypeThreePortAlsoHaveItsWordB) {
    entry.PortType = 3;
    fake.targets = {Target(1, 3, PORT, 0xBBBBBBBA), Target(2, 3, PORT, 0xBBBBBBBB), Target(3, 3, PORT + 1, 0xBBBBBBBB),
                    Target(4, 2, PORT, 0xBBBBBBBB)};
    EXPECT_THAT(TargetNumbers(), ElementsAre(2u));
}

TEST_F(PortTargets, OfOtherPortsMayHaveAnyWord) {
    for (const HBA_UINT8 type : {0, 1, 2}) {
        entry.PortType = type;
        fake.targets = {Target(1, type, PORT, 0xBBBBBBBA), Target(2, type, PORT, 0xBBBBBBBB)};
        EXPECT_THAT(TargetNumbers(), ElementsAre(1u, 2u));
    }
}

TEST_F(PortTargets, HaveItsNameToTheLetter) {
    entry.PortWWN = Wwn(0x20000011223344AA);
    fake.targets = {Target(1, 0, 0x20000011223344AA)};
    const auto port = Make();
    EXPECT_TRUE(port->GetTargets_HBA(targets));
    EXPECT_EQ(1u, targets.size());

    targets.clear();
    QEL_FCOE_PORT record = Record();
    record.strPortWWN = L"20:00:00:11:22:33:44:aa";
    Retold::Tell(*port, record);
    EXPECT_TRUE(port->GetTargets_HBA(targets));
    EXPECT_THAT(targets, IsEmpty());
}

// The identifier alternates, so no answer can stand for the next entry's.
TEST_F(PortTargets, AlternatingIdentifiersAreToldApart) {
    for (HBA_UINT16 i = 0; i < 6; ++i)
        fake.targets.push_back(Target(i, 0, PORT + i % 2));
    EXPECT_THAT(TargetNumbers(), ElementsAre(0u, 2u, 4u));
}

TEST_F(PortTargets, WithIdentifierZero) {
    entry.PortWWN = Wwn(0);
    fake.targets = {Target(1, 0, 0), Target(2, 0, PORT)};
    EXPECT_THAT(TargetNumbers(), ElementsAre(1u));
}

TEST_F(PortTargets, CarryWhatThePortHandsDown) {
    fake.targets = {Target(1, 0, PORT)};
    ASSERT_EQ(1u, TargetNumbers().size());
    QEL_FCOE_TARGET record;
    EXPECT_TRUE(targets[0]->Get(record));
    EXPECT_EQ(L"Fabric 1", record.strFabricName);
    EXPECT_EQ(L"30:00:00:11:22:33:44:55", record.strOwningPortWWN);
    EXPECT_EQ(L"{name}", record.strDeviceId);
    EXPECT_EQ(L"second", record.strSecondId);
    EXPECT_TRUE(fake.calls.back().starts_with("ScsiInquiry 7 "));
}

TEST_F(PortTargets, NoneIsTrueAndCached) {
    MovedClock clock;
    const auto port = Make();
    EXPECT_TRUE(port->GetTargets(targets));
    EXPECT_TRUE(port->GetTargets(targets));
    EXPECT_THAT(targets, IsEmpty());
    EXPECT_EQ(1, fake.CallsOf("GetTargetList"));
    EXPECT_TRUE(Traced("CQelFcoePort::GetTargets", ", bReturn=true"));
    EXPECT_FALSE(log.Has("ENTRY:  CQelFcoePort::Get")) << "without targets the record is not looked at";
}

TEST_F(PortTargets, FailedListIsTrueWithNone) {
    fake.GetTargetList = [](auto...) -> HBA_STATUS { return HBA_STATUS_ERROR; };
    EXPECT_TRUE(Make()->GetTargets(targets));
    EXPECT_THAT(targets, IsEmpty());
}

TEST_F(PortTargets, NoMemoryForTheListIsTrueWithNone) {
    fake.targets = {Target(1, 0, PORT)};
    const auto port = Make();
    CAllocatorWatch allocator;
    allocator.Fail(48);
    EXPECT_TRUE(port->GetTargets(targets));
    EXPECT_THAT(targets, IsEmpty());
}

TEST_F(PortTargets, SeveralOnTheProbeAreNone) {
    fake.GetTargetList = [](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        list->entry[0] = Target(1, 0, PORT);
        list->NumberOfEntries = 2;
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(Make()->GetTargets(targets));
    EXPECT_THAT(targets, IsEmpty());
}

TEST_F(PortTargets, ListThatClaimsMoreThanItsBufferIsReadToItsEnd) {
    fake.GetTargetList = [](HBA_HANDLE, ORVAN_TARGET_LIST* list) -> HBA_STATUS {
        const HBA_UINT32 room = list->NumberOfEntries;
        for (HBA_UINT32 i = 0; i < room; ++i)
            list->entry[i] = Target(static_cast<HBA_UINT16>(i), 0, PORT);
        list->NumberOfEntries = room == 1 ? 3 : 0x7FFFFFFF;
        return room == 1 ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_OK;
    };
    const auto port = Make();
    CAllocatorWatch allocator; // expects no live block at its end
    EXPECT_TRUE(port->GetTargets(targets));
    EXPECT_EQ(3u, targets.size());
}

TEST_F(PortTargets, AreReadAgainWhenOlderThanTenMilliseconds) {
    MovedClock clock;
    fake.targets = {Target(1, 0, PORT)};
    const auto port = Make();
    port->GetTargets(targets);
    clock.Advance(10);
    port->GetTargets(targets);
    ASSERT_EQ(2u, targets.size());
    EXPECT_EQ(targets[0], targets[1]) << "shared with the cache";
    clock.Advance(1);
    port->GetTargets(targets);
    ASSERT_EQ(3u, targets.size()) << "appended";
    EXPECT_NE(targets[1], targets[2]);
    EXPECT_EQ(4, fake.CallsOf("ScsiInquiry")) << "new targets are asked again";
}

// --- List

TEST_F(PortList, NoPortsGiveNoList) {
    ORVAN_FC_PORT_LIST local{};
    list = &local;
    EXPECT_EQ(0, Read());
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(1, fake.CallsOf("GetFCPortList"));
    EXPECT_TRUE(Traced("CQelFcoePort::GetPortsList_HBA", ", nReturn=0"));
}

TEST_F(PortList, NegativeCountGivesNoList) {
    Answer(0x80000000, HBA_STATUS_OK, 1);
    EXPECT_EQ(INT32_MIN, Read());
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(1, fake.CallsOf("GetFCPortList"));
}

TEST_F(PortList, IsReadWithTheCountedPorts) {
    fake.ports = {FcPort(0, 1), FcPort(2, 2), FcPort(3, 3)};
    CAllocatorWatch allocator;
    EXPECT_EQ(3, Read());
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(3u, list->NumberOfEntries);
    EXPECT_EQ(0, std::memcmp(list->entry, fake.ports.data(), 3 * 64));
    EXPECT_THAT(fake.calls, ElementsAre("GetFCPortList 7 1", "GetFCPortList 7 3"));
    EXPECT_EQ(64u * 2 + 68, allocator.Sizes().back());
    EXPECT_TRUE(Traced("CQelFcoePort::GetPortsList_HBA", ", nReturn=3"));
    std::free(std::exchange(list, nullptr));
}

// Not cleared either: zeros would be physical ports.
TEST_F(PortList, EntriesThatTheLibraryDoesNotFillInAreNoPorts) {
    Answer(2, HBA_STATUS_OK, 2);
    Read();
    EXPECT_EQ(0xFF, list->entry[0].PortType);
    EXPECT_EQ(0xFF, list->entry[1].PortType);
}

TEST_F(PortList, FailedAllocationKeepsTheCount) {
    fake.ports.resize(3);
    CAllocatorWatch allocator;
    allocator.Fail(64 * 2 + 68);
    EXPECT_EQ(3, Read());
    EXPECT_EQ(nullptr, list);
    EXPECT_EQ(1, fake.CallsOf("GetFCPortList"));
}

TEST_F(PortList, SizeBeyond32BitsIsAFailedAllocation) {
    // The size for the first count is 4 in 32 bits: one that wrapped would be granted.
    for (const HBA_UINT32 count : {0x04000000u, 0x7FFFFFFFu}) {
        fake.ClearCalls();
        Answer(count, HBA_STATUS_OK, count);
        EXPECT_EQ(static_cast<LONG>(count), Read());
        EXPECT_EQ(nullptr, list);
        EXPECT_EQ(1, fake.CallsOf("GetFCPortList"));
    }
}

TEST_F(PortList, ReportedCountIsReturned) {
    Answer(3, HBA_STATUS_OK, 2);
    EXPECT_EQ(2, Read());
    EXPECT_EQ(2u, list->NumberOfEntries);
}

TEST_F(PortList, ReportedCountBeyondTheBufferIsCut) {
    for (const HBA_UINT32 claimed : {4u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        std::free(std::exchange(list, nullptr));
        Answer(3, HBA_STATUS_OK, claimed);
        EXPECT_EQ(3, Read());
        EXPECT_EQ(3u, list->NumberOfEntries);
    }
}

TEST_F(PortList, FailureKeepsTheFirstCountAndTheList) {
    Answer(3, HBA_STATUS_ERROR, 3);
    EXPECT_EQ(3, Read());
    EXPECT_NE(nullptr, list);
}

// Such as one whose handle another thread is reopening.
TEST_F(PortList, ThatCouldNotBeReadHoldsNoPorts) {
    Answer(2, HBA_STATUS_ERROR_INVALID_HANDLE, 2);
    EXPECT_EQ(2, Read());
    ASSERT_NE(nullptr, list);
    for (ULONG i = 0; i < 2; ++i)
        EXPECT_EQ(0xFF, list->entry[i].PortType);
}

TEST_F(PortList, KeepsWhatAFailedReadFilledIn) {
    fake.GetFCPortList = [this](HBA_HANDLE, ORVAN_FC_PORT_LIST* ports) {
        FakeHbaLibrary::FillList(ports, fake.ports);
        return fake.CallsOf("GetFCPortList") == 1 ? HBA_STATUS_ERROR_MORE_DATA : HBA_STATUS_ERROR;
    };
    fake.ports = {FcPort(0, 1), FcPort(3, 2)};
    EXPECT_EQ(2, Read());
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(0, list->entry[0].PortType);
    EXPECT_EQ(3, list->entry[1].PortType);
}

TEST_F(PortList, ThatHasGrownKeepsThePortsThatCouldBeRead) {
    fake.GetFCPortList = [this](HBA_HANDLE, ORVAN_FC_PORT_LIST* ports) {
        fake.ports.push_back(FcPort(3, fake.ports.size() + 1));
        return FakeHbaLibrary::FillList(ports, fake.ports);
    };
    fake.ports = {FcPort(0, 1)};
    EXPECT_EQ(2, Read());
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(0, list->entry[0].PortType);
    EXPECT_EQ(3, list->entry[1].PortType);
}

TEST_F(PortList, PortsAddedSinceTheCountAreNotLookedFor) {
    Answer(3, HBA_STATUS_ERROR_MORE_DATA, 9);
    EXPECT_EQ(3, Read());
    ASSERT_NE(nullptr, list);
    EXPECT_EQ(3u, list->NumberOfEntries) << "who walks by the list's count stays in the buffer, too";
}
