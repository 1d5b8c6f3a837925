#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>
#include <stdexcept>
#include <utility>

#include "tests/unit/AgentFixture.h"
#include "tests/unit/FailingObject.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr HBA_WWN PHYSICAL{{0x20, 0, 0, 0x1B, 0x21, 0xAA, 0xBB, 0x01}};
constexpr HBA_WWN TARGET{{0x50, 0, 0, 0, 0, 0, 0, 1}};

bool Fail(void*, CacheSlot*) {
    return false;
}

// An adapter whose readers all fail.
class BrokenHBA : public CQelFcoeHBA {
  public:
    using CQelFcoeHBA::CQelFcoeHBA;
    template <CQelCacheKey key> void Break() { m_cache.AddCache(key, 10, {&Fail}); }
    template <class T> void Hold(CQelCacheKey<T> key, std::shared_ptr<T> value) {
        m_cache.AddCache(key, std::move(value));
    }
};

const auto NAMES = std::make_shared<const AdapterNames>();
const auto PATH = std::make_shared<const TargetPath>(TargetPath{std::make_shared<const PortPath>(), L"", {}, L""});

// A logical unit without a record.
class BrokenLUN : public CQelFcoeLUN {
  public:
    explicit BrokenLUN(CHBAAPIInt* library) : CQelFcoeLUN(library, NAMES, 0, PATH, {}) {
        m_cache.AddCache(CacheKey::LUN_RECORD, 10, {&Fail});
    }
};

// A fabric whose ports cannot be had.
class BrokenFabric : public CQelFcoeFabric {
  public:
    explicit BrokenFabric(CHBAAPIInt* library) : CQelFcoeFabric(library, NAMES, 7, &NO_PORTS, KIND_VIRTUAL) {
        m_cache.AddCache(CacheKey::FABRIC_PORTS, 10, {&Fail});
    }

  private:
    static constexpr ORVAN_FC_PORT_LIST NO_PORTS{};
};

// One of the enumerations.
struct Operation {
    const char* name;
    const char* failure; // before the identifier
    // Makes what it asks the adapter for fail; null: that is not cached.
    void (BrokenHBA::*breakReader)();
    // Runs it with an empty list and tells how many records there are then.
    std::function<std::pair<BOOL, std::size_t>(CQelFcoeAgentIntf&, CQelString&)> run;
    std::size_t perAdapter;
};

template <class Record, class Id> auto Run(BOOL (CQelFcoeAgentIntf::*operation)(Id&, std::vector<Record>&, ULONG64)) {
    return [operation](CQelFcoeAgentIntf& agent, CQelString& id) {
        std::vector<Record> records(1); // appended to, never cleared
        const BOOL result = (agent.*operation)(id, records, 5);
        return std::pair(result, records.size() - 1);
    };
}

using I = CQelFcoeAgentIntf;
const Operation OPERATIONS[] = {
    {"EnumerateHBAs", "Unable to get the HBA for ", &BrokenHBA::Break<CacheKey::HBA_RECORD>, Run(&I::EnumerateHBAs), 1},
    {"EnumerateFabrics", "Unable to get the fabrics for ", &BrokenHBA::Break<CacheKey::HBA_FABRICS>,
     Run(&I::EnumerateFabrics), 1},
    {"EnumeratePorts", "Unable to get the ports for ", &BrokenHBA::Break<CacheKey::HBA_FABRICS>,
     Run(&I::EnumeratePorts), 2},
    {"EnumerateTargets", "Unable to get the fabrics for ", &BrokenHBA::Break<CacheKey::HBA_FABRICS>,
     Run(&I::EnumerateTargets), 1},
    {"EnumerateVLANs", "Unable to get the fabrics for ", &BrokenHBA::Break<CacheKey::HBA_VLANS>,
     Run(&I::EnumerateVLANs), 3},
    {"EnumerateLUNs", "Unable to get the fabrics for ", &BrokenHBA::Break<CacheKey::HBA_LUNS>, Run(&I::EnumerateLUNs),
     4},
    {"EnumerateStatistics", "Unable to get the fabrics for ", nullptr, Run(&I::EnumerateStatistics), 15},
};

// Each adapter has a physical fabric, two ports, a target, four units, three VLANs.
class TreeFixture : public AgentFixture {
  protected:
    TreeFixture() {
        ORVAN_FC_PORT port{};
        port.PortWWN = PHYSICAL;
        fake.ports.push_back(port);
        port.PortWWN.wwn[7] = 2;
        fake.ports.push_back(port);
        ORVAN_TARGET_ENTRY target{};
        target.PortWWN = TARGET;
        target.InitiatorPortWWN = PHYSICAL;
        fake.targets.push_back(target);
        HBA_FCPSCSIENTRY unit{};
        unit.FcpId.PortWWN = TARGET;
        fake.mappings.assign(4, unit);
        fake.vlans = {0x10001, 0x10002, 0x10003};
    }
};

using EnumeratedTree = TreeFixture;

class Enumerations : public TreeFixture, public testing::WithParamInterface<Operation> {
  protected:
    std::pair<BOOL, std::size_t> Run(const wchar_t* id) {
        CQelString text(id);
        return GetParam().run(*agent, text);
    }
    std::shared_ptr<BrokenHBA> Replace(const wchar_t* id) {
        auto broken = std::make_shared<BrokenHBA>(agent->Library(), id, L"broken");
        agent->Hold(id, broken);
        return broken;
    }
    std::string Trace() const { return std::string("CQelFcoeAgentWin::") + GetParam().name; }
};

class FailingEnumerations : public Enumerations {};

} // namespace

INSTANTIATE_TEST_SUITE_P(, Enumerations, testing::ValuesIn(OPERATIONS),
                         [](const auto& info) { return info.param.name; });

// All but the last: an adapter's counters never fail.
INSTANTIATE_TEST_SUITE_P(, FailingEnumerations,
                         testing::ValuesIn(std::begin(OPERATIONS), std::prev(std::end(OPERATIONS))),
                         [](const auto& info) { return info.param.name; });

TEST_P(Enumerations, OneAdapterWithoutAskingForTheList) {
    Start();
    EXPECT_EQ(std::pair(BOOL{TRUE}, GetParam().perAdapter), Run(L"{A}"));
    EXPECT_THAT(core.calls, ElementsAre("Wait 5", "Info {A} 0"));
    EXPECT_TRUE(Logged("ENTRY:  " + Trace()));
    EXPECT_TRUE(Logged("EXIT:  " + Trace() + ", bReturn=true"));
}

TEST_P(Enumerations, EmptyIdentifierMeansAllAdaptersThatSupportFcoe) {
    Start();
    core.adapters = {L"{A}", L"{N}", L"{B}"};
    core.onSupportsFcoe = [](const CQelString& id) { return static_cast<BYTE>(id == L"{N}" ? 0 : 1); };
    EXPECT_EQ(std::pair(BOOL{TRUE}, 2 * GetParam().perAdapter), Run(L""));
    EXPECT_THAT(core.calls, ElementsAre("Wait 5", "Wait 5", "Enumerate 5", "Supports {A}", "Supports {N}",
                                        "Supports {B}", "Info {A} 0", "Info {B} 0"));
}

TEST_P(Enumerations, EmptyIdentifierWithoutFcoeIsTrueWithNothing) {
    Start();
    hive.Delete(FEATURES_KEY, L"InstalledTOLV_FCOE");
    EXPECT_EQ(std::pair(BOOL{TRUE}, std::size_t{0}), Run(L""));
    EXPECT_TRUE(Logged("FCOE is not installed - not reutnring adapters"));
    EXPECT_FALSE(Logged("Unable to retrieve adapter list!"));
}

TEST_P(Enumerations, FailedAdapterListIsTrueWithNothing) {
    Start();
    core.onEnumerate = [](std::vector<CQelString>&, ULONG64) { return QEL_RESULT{1, 0}; };
    EXPECT_EQ(std::pair(BOOL{TRUE}, std::size_t{0}), Run(L""));
}

TEST_P(Enumerations, AdapterWithoutFcoeIsAskedAllTheSame) {
    Start();
    hive.Delete(FEATURES_KEY, L"InstalledTOLV_FCOE");
    core.onSupportsFcoe = [](const CQelString&) { return BYTE{0}; };
    EXPECT_EQ(std::pair(BOOL{TRUE}, GetParam().perAdapter), Run(L"{A}"));
}

TEST_P(FailingEnumerations, FailedAdapterIsLoggedAndTheOthersAreAppended) {
    Start();
    ((*Replace(L"{A}")).*GetParam().breakReader)();
    Forget();
    EXPECT_EQ(std::pair(BOOL{FALSE}, GetParam().perAdapter), Run(L""));
    EXPECT_EQ(1, log.Count(std::string(GetParam().failure) + "{A}"));
    EXPECT_EQ(0, log.Count(std::string(GetParam().failure) + "{B}"));
    EXPECT_TRUE(Logged("EXIT:  " + Trace() + ", bReturn=false"));
}

TEST_P(FailingEnumerations, LaterFailureKeepsWhatEarlierAdaptersGave) {
    Start();
    ((*Replace(L"{B}")).*GetParam().breakReader)();
    EXPECT_EQ(std::pair(BOOL{FALSE}, GetParam().perAdapter), Run(L""));
}

TEST_P(Enumerations, AgentLockIsFreeWhileTheAdapterWorks) {
    Start();
    agent->GetHBAObject(L"{A}"); // which is made under the lock
    clock.Advance(20000);
    int calls = 0, free = 0;
    const auto healthy = fake.GetFCoEControllerInfo; // each enumeration opens the adapter
    fake.GetFCoEControllerInfo = [&](const wchar_t* device, HBA_UINT32* controller, char* name) {
        ++calls;
        free += agent->LockIsFree();
        return healthy(device, controller, name);
    };
    EXPECT_EQ(std::pair(BOOL{TRUE}, GetParam().perAdapter), Run(L"{A}"));
    EXPECT_LT(0, calls);
    EXPECT_EQ(calls, free);
}

TEST_P(Enumerations, AdapterWithoutAnObjectIsSkippedSilently) {
    // The agent was never started: there is no object for any adapter, nor a core agent to ask.
    log.Clear();
    EXPECT_EQ(std::pair(BOOL{TRUE}, std::size_t{0}), Run(L"{A}"));
    EXPECT_FALSE(Logged(std::string(GetParam().failure) + "{A}"));
}

TEST_P(Enumerations, WithoutCoreAgentOneAdapterIsAsked) {
    Register();
    core.present = false;
    agent->Initialize();
    EXPECT_EQ(std::pair(BOOL{TRUE}, GetParam().perAdapter), Run(L"{A}"));
    EXPECT_EQ(std::pair(BOOL{TRUE}, std::size_t{0}), Run(L""));
}

TEST_P(Enumerations, ThrowingWaitIsNoObstacle) {
    Start();
    core.onWait = [](ULONG64) { throw 5; };
    EXPECT_EQ(std::pair(BOOL{TRUE}, GetParam().perAdapter), Run(L"{A}"));
}

// A library that throws when {A} is opened, which every enumeration does, for its object and for each read.
TEST_P(Enumerations, ThrowingLibraryIsThatAdaptersFailureAndTheWalkGoesOn) {
    Start();
    const auto healthy = fake.GetFCoEControllerInfo;
    fake.GetFCoEControllerInfo = [&](const wchar_t* device, HBA_UINT32* controller, char* name) {
        if (std::wstring_view(device).ends_with(L"{A}"))
            throw std::runtime_error("vendor library");
        return healthy(device, controller, name);
    };
    // Without an object of the adapter at first, then with one.
    for (const bool known : {false, true}) {
        if (known) {
            const auto throwing = std::exchange(fake.GetFCoEControllerInfo, healthy);
            agent->GetHBAObject(L"{A}");
            fake.GetFCoEControllerInfo = throwing;
        }
        clock.Advance(20000);
        log.Clear();
        EXPECT_EQ(std::pair(BOOL{FALSE}, GetParam().perAdapter), Run(L""));
        EXPECT_EQ(1, log.Count(std::string(GetParam().failure) + "{A}"));
        EXPECT_EQ(0, log.Count(std::string(GetParam().failure) + "{B}"));
        EXPECT_EQ(1, std::ranges::count_if(log.Messages(), [this](const std::string& line) {
                      return line.starts_with("agent\\Enumerate (") &&
                             line.ends_with("): " + Trace() + "() - Exception caught");
                  }));
        EXPECT_TRUE(Logged("EXIT:  " + Trace() + ", bReturn=false"));
    }
    fake.GetFCoEControllerInfo = healthy;
    clock.Advance(20000);
    EXPECT_EQ(std::pair(BOOL{TRUE}, 2 * GetParam().perAdapter), Run(L"")) << "nothing of the failure is left";
}

TEST_P(Enumerations, MemoryExhaustionReachesTheHost) {
    Start();
    fake.GetFCoEControllerInfo = [](const wchar_t*, HBA_UINT32*, char*) -> HBA_STATUS { throw std::bad_alloc(); };
    EXPECT_THROW(Run(L"{A}"), std::bad_alloc);
}

namespace {
class EnumerateLists : public AgentFixture {};
} // namespace

TEST_F(EnumerateLists, LunWithoutARecordIsLeftOut) {
    Start();
    auto broken = std::make_shared<BrokenHBA>(agent->Library(), L"{A}", L"");
    auto luns = std::make_shared<std::vector<std::shared_ptr<CQelFcoeLUN>>>();
    const auto Lun = [&](HBA_UINT32 number) {
        HBA_FCPSCSIENTRY entry{};
        entry.ScsiId.ScsiOSLun = number;
        return std::make_shared<CQelFcoeLUN>(agent->Library(), NAMES, 7, PATH, entry);
    };
    *luns = {Lun(1), std::make_shared<BrokenLUN>(agent->Library()), Lun(3)};
    broken->Hold(CacheKey::HBA_LUNS, luns);
    agent->Hold(L"{A}", broken);
    log.Clear();
    std::vector<QEL_FCOE_LUN> records;
    CQelString id(L"{A}");
    EXPECT_TRUE(agent->EnumerateLUNs(id, records, 0));
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ(1u, records[0].ulOsLun);
    EXPECT_EQ(3u, records[1].ulOsLun);
    EXPECT_THAT(log.Messages(), IsEmpty()) << "without a word";
}

TEST_F(EnumeratedTree, ObjectOfAnyKindWithoutARecordIsLeftOutWithoutAWord) {
    Start();
    const auto hba = agent->GetHBAObject(L"{A}");
    const auto LeavesOut =
        [&]<class Record, class Object, class Value>(BOOL (I::*enumerate)(CQelString&, std::vector<Record>&, ULONG64),
                                                     BOOL (CQelFcoeHBA::*get)(std::vector<std::shared_ptr<Object>>&),
                                                     CQelCacheKey<Value> record) {
            std::vector<std::shared_ptr<Object>> objects;
            ASSERT_TRUE((*hba.*get)(objects));
            ASSERT_FALSE(objects.empty());
            Failing<Object>::Break(*objects.front(), record);
            log.Clear();
            std::vector<Record> records;
            CQelString id(L"{A}");
            EXPECT_TRUE((*agent.*enumerate)(id, records, 0));
            EXPECT_EQ(objects.size() - 1, records.size());
            EXPECT_THAT(log.Messages(), IsEmpty());
        };
    LeavesOut(&I::EnumerateLUNs, &CQelFcoeHBA::GetLUNs, CacheKey::LUN_RECORD);
    LeavesOut(&I::EnumerateTargets, &CQelFcoeHBA::GetTargets, CacheKey::TARGET_RECORD);
    LeavesOut(&I::EnumeratePorts, &CQelFcoeHBA::GetPorts, CacheKey::PORT_RECORD);
    LeavesOut(&I::EnumerateFabrics, &CQelFcoeHBA::GetFabrics, CacheKey::FABRIC_RECORD);
    LeavesOut(&I::EnumerateVLANs, &CQelFcoeHBA::GetVLANs, CacheKey::VLAN_RECORD);
}

TEST_F(EnumerateLists, PartOfAListIsNothing) {
    ORVAN_FC_PORT port{};
    port.PortWWN = PHYSICAL;
    fake.ports = {port};
    ORVAN_TARGET_ENTRY target{};
    target.PortWWN = TARGET;
    target.InitiatorPortWWN = PHYSICAL;
    fake.targets = {target};
    Start();
    auto fabrics = std::make_shared<std::vector<std::shared_ptr<CQelFcoeFabric>>>();
    ASSERT_TRUE(agent->GetHBAObject(L"{A}")->GetFabrics(*fabrics));
    fabrics->push_back(std::make_shared<BrokenFabric>(agent->Library()));
    auto broken = std::make_shared<BrokenHBA>(agent->Library(), L"{A}", L"");
    broken->Hold(CacheKey::HBA_FABRICS, fabrics);
    agent->Hold(L"{A}", broken);

    std::vector<std::shared_ptr<CQelFcoePort>> partOfPorts;
    EXPECT_FALSE(broken->GetPorts(partOfPorts));
    EXPECT_EQ(1u, partOfPorts.size());
    std::vector<std::shared_ptr<CQelFcoeTarget>> partOfTargets;
    EXPECT_FALSE(broken->GetTargets(partOfTargets));
    EXPECT_EQ(1u, partOfTargets.size());

    CQelString id(L"{A}");
    std::vector<QEL_FCOE_PORT> ports;
    EXPECT_FALSE(agent->EnumeratePorts(id, ports, 0));
    EXPECT_THAT(ports, IsEmpty());
    std::vector<QEL_FCOE_TARGET> targets;
    EXPECT_FALSE(agent->EnumerateTargets(id, targets, 0));
    EXPECT_THAT(targets, IsEmpty());
}

TEST_F(EnumerateLists, RecordsCarryTheAdaptersIdentifiers) {
    Start();
    fake.vlans = {0x10064};
    std::vector<QEL_FCOE_VLAN> records;
    CQelString all;
    EXPECT_TRUE(agent->EnumerateVLANs(all, records, 0));
    ASSERT_EQ(2u, records.size());
    EXPECT_TRUE(records[0].strDeviceId == L"{A}");
    EXPECT_TRUE(records[0].strSecondId == L"Display of {A}");
    EXPECT_TRUE(records[1].strDeviceId == L"{B}");
}

TEST_F(EnumerateLists, HbaThatCannotBeReadIsAnEmptyRecord) {
    Start();
    fake.GetAdapterPortAttributes = [](HBA_HANDLE, HBA_UINT32, HBA_PORTATTRIBUTES*) { return HBA_STATUS_ERROR; };
    std::vector<QEL_FCOE_HBA> records;
    EXPECT_TRUE(agent->EnumerateHBAs(L"{A}", records, 0));
    ASSERT_EQ(1u, records.size());
    EXPECT_TRUE(records[0].strDeviceId.IsEmpty());
}

TEST_F(EnumerateLists, StatisticsThatCannotBeReadAreTrueWithNothing) {
    Start();
    fake.GetPortStatistics = [](HBA_HANDLE, HBA_UINT32, HBA_PORTSTATISTICS*) { return HBA_STATUS_ERROR; };
    std::vector<QEL_FCOE_STATISTIC> records;
    CQelString id(L"{A}");
    EXPECT_TRUE(agent->EnumerateStatistics(id, records, 0));
    EXPECT_THAT(records, IsEmpty());
}
