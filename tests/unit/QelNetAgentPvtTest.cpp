#include "Common/Src/QelNetAgentPvt.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/LogCapture.h"
#include "tests/kit/PrivateHive.h"
#include "tests/unit/FakeCoreAgent.h"
#include "tests/unit/QelNetAgentPvtFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr wchar_t CORE_AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";

constexpr char WAIT_THREW[] =
    "Common\\Src\\QelNetAgentPvt (267): CQelNetAgentPvt::WaitForApplyDone() - Exception caught";
constexpr char START_THREW[] = "Common\\Src\\QelNetAgentPvt (352): CQelNetAgentPvt::StartLock() - Exception caught";
constexpr char DONE_THREW[] = "Common\\Src\\QelNetAgentPvt (380): CQelNetAgentPvt::DoneLock() - Exception caught";

TEST(CoreAgentCoordination, StartsEmpty) {
    CoordinationAgent agent;
    EXPECT_FALSE(agent.HadCoreAgent());
    EXPECT_THAT(agent.LoadList(), IsEmpty());
    EXPECT_THAT(agent.UnloadList(), IsEmpty());
}

TEST(CoreAgentCoordination, FieldsLieInOrderBehindTheTablePointer) {
    struct Layout {
        void* table;
        CRITICAL_SECTION lock;
        Names load;
        Names unload;
        void* coreAgent;
        void* module;
    };
    EXPECT_EQ((std::array<std::ptrdiff_t, 5>{offsetof(Layout, lock), offsetof(Layout, load), offsetof(Layout, unload),
                                             offsetof(Layout, coreAgent), offsetof(Layout, module)}),
              CoordinationAgent().FieldOffsets());
}

TEST(CoreAgentCoordination, SlotsFollowTheDestructorInOrder) {
    MiniportAgent agent;
    void** table = nullptr;
    std::memcpy(&table, static_cast<void*>(static_cast<CQelNetAgentPvt*>(&agent)), sizeof table);
#ifdef _MSC_VER
    constexpr int DESTRUCTOR_SLOTS = 1;
#else
    constexpr int DESTRUCTOR_SLOTS = 2;
#endif
    using Miniport = QEL_RESULT (*)(CQelNetAgentPvt*, const CQelString&, BYTE&);
    using Query = QEL_RESULT (*)(CQelNetAgentPvt*);
    const auto slot = [&](int number) { return table[DESTRUCTOR_SLOTS + number - 1]; };
    BYTE flag = 0;
    reinterpret_cast<Miniport>(slot(3))(&agent, L"a", flag);
    reinterpret_cast<Miniport>(slot(4))(&agent, L"b", flag);
    EXPECT_EQ((std::vector<std::wstring>{L"unload a", L"load b"}), agent.calls);
    using ApplyDone = QEL_RESULT (*)(CQelNetAgentPvt*, BYTE&);
    PrivateHive hive;
    LogCapture log;
    reinterpret_cast<ApplyDone>(slot(1))(&agent, flag);
    reinterpret_cast<ApplyDone>(slot(2))(&agent, flag);
    EXPECT_THAT(log.Messages(), ElementsAre("ApplyDone_UnLoadDevice() - No miniports to load",
                                            "ApplyDone_LoadDevice() - No miniports to load"));
    reinterpret_cast<void (*)(CQelNetAgentPvt*)>(slot(5))(&agent);
    EXPECT_EQ(4u, log.Lines().size() - log.Messages().size()) << "of the two passes: the notification has no trace";
    log.Clear();
    for (const int query : {6, 7}) {
        const QEL_RESULT result = reinterpret_cast<Query>(slot(query))(&agent);
        EXPECT_EQ(0u, result.ulErrCode);
        EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    }
    EXPECT_THAT(log.Lines(), ElementsAre("ENTRY:  CQelNetAgentPvt::QueryStatus",
                                         "EXIT:  CQelNetAgentPvt::QueryStatus, res.ulErrCode=0",
                                         "ENTRY:  CQelNetAgentPvt::QueryApplyStatus",
                                         "EXIT:  CQelNetAgentPvt::QueryApplyStatus, res.ulErrCode=0"));
}

TEST(CoreAgentCoordination, DefaultMiniportHooksReportNotDone) {
    CoordinationAgent agent;
    BYTE flag = 7;
    for (const QEL_RESULT result : {agent.UnloadMiniport(L"a", flag), agent.LoadMiniport(L"a", flag)}) {
        EXPECT_EQ(0xFFFFFFFF, result.ulErrCode);
        EXPECT_EQ(0xFFFFFFFF, result.ulDetail);
    }
    EXPECT_EQ(7, flag);
}

// The agent with a core agent of the test's own.
class CoreAgentCalls : public testing::Test {
  protected:
    CoreAgentCalls() {
        agent.GetCoreAgntPvt();
        log.Clear();
    }

    PrivateHive hive;
    LogCapture log;
    FakeCoreAgent core;
    CoordinationAgent agent;
    const QEL_LOCK_REQUEST request{1, 2, 3};
    BYTE taken = 0;
};

TEST_F(CoreAgentCalls, PassThrough) {
    agent.WaitForApplyDone(0x123456789ABCDEF0);

    core.onStart = [](QEL_LOCK_REQUEST, BYTE& mark) {
        mark = 9;
        return QEL_RESULT{11, 12};
    };
    EXPECT_EQ((QEL_RESULT{11, 12}), agent.StartLock(request, taken));
    EXPECT_EQ(9, taken);

    core.onDone = [](QEL_LOCK_REQUEST) { return QEL_RESULT{13, 14}; };
    EXPECT_EQ((QEL_RESULT{13, 14}), agent.DoneLock(request));
    EXPECT_THAT(core.calls, ElementsAre("Wait 1311768467463790320", "Start 1 2 3", "Done 1 2 3"));
    EXPECT_THAT(log.Messages(), IsEmpty());
}

TEST_F(CoreAgentCalls, TraceTheirResults) {
    core.onStart = [](QEL_LOCK_REQUEST, BYTE&) { return QEL_RESULT{11, 12}; };
    core.onDone = [](QEL_LOCK_REQUEST) { return QEL_RESULT{0, 0}; };
    agent.WaitForApplyDone(0);
    agent.StartLock(request, taken);
    agent.DoneLock(request);
    EXPECT_THAT(log.Lines(),
                ElementsAre("ENTRY:  CQelNetAgentPvt::WaitForApplyDone", "EXIT:  CQelNetAgentPvt::WaitForApplyDone",
                            "ENTRY:  CQelNetAgentPvt::StartLock", "EXIT:  CQelNetAgentPvt::StartLock, res.ulErrCode=11",
                            "ENTRY:  CQelNetAgentPvt::DoneLock", "EXIT:  CQelNetAgentPvt::DoneLock, res.ulErrCode=0"));
}

TEST_F(CoreAgentCalls, ExceptionsOfAnyTypeEndInTheLog) {
    const std::function<void()> throwers[] = {[] { throw std::runtime_error("x"); }, [] { throw 1; },
                                              [] { throw std::bad_alloc(); }, [] { throw CQelString(L"text"); }};
    for (const auto& raise : throwers) {
        core.onWait = [&](ULONG64) { raise(); };
        core.onStart = [&](QEL_LOCK_REQUEST, BYTE&) -> QEL_RESULT {
            raise();
            return {0, 0};
        };
        core.onDone = [&](QEL_LOCK_REQUEST) -> QEL_RESULT {
            raise();
            return {0, 0};
        };
        log.Clear();
        agent.WaitForApplyDone(0);
        EXPECT_EQ(QEL_RESULT_NOT_DONE, agent.StartLock(request, taken));
        EXPECT_EQ(QEL_RESULT_NOT_DONE, agent.DoneLock(request));
        EXPECT_THAT(log.Messages(), ElementsAre(WAIT_THREW, START_THREW, DONE_THREW));
    }
}

// In the log it counts as one that throws.
TEST_F(CoreAgentCalls, WithoutACoreAgentAreNotDone) {
    const auto notDone = [this] {
        core.calls.clear();
        log.Clear();
        agent.WaitForApplyDone(0);
        EXPECT_EQ(QEL_RESULT_NOT_DONE, agent.StartLock(request, taken));
        EXPECT_EQ(QEL_RESULT_NOT_DONE, agent.DoneLock(request));
        EXPECT_THAT(log.Messages(), ElementsAre(WAIT_THREW, START_THREW, DONE_THREW));
        EXPECT_EQ(0, taken);
        EXPECT_THAT(core.calls, IsEmpty());
    };
    agent.FreeCoreAgent();
    notDone();
    EXPECT_TRUE(agent.HadCoreAgent());
    // One that hands out no interface.
    core.onInterface = [] { return nullptr; };
    agent.GetCoreAgntPvt();
    notDone();
    EXPECT_FALSE(agent.HadCoreAgent());
}

TEST_F(CoreAgentCalls, ALockTakenBeforeTheExceptionIsReported) {
    core.onStart = [](QEL_LOCK_REQUEST, BYTE& mark) -> QEL_RESULT {
        mark = 1;
        throw std::runtime_error("too late");
    };
    EXPECT_EQ(QEL_RESULT_NOT_DONE, agent.StartLock(request, taken));
    EXPECT_EQ(1, taken);
}

TEST_F(CoreAgentCalls, AWaitDoesNotBlockApplyDone) {
    QEL_RESULT applied = QEL_RESULT_NOT_DONE;
    // The callback comes from another thread while the wait is under way; were the lock held, this would never end.
    core.onWait = [&](ULONG64) {
        std::thread([&] {
            BYTE flag = 0;
            applied = agent.ApplyDone_LoadDevice(flag);
        }).join();
    };
    agent.WaitForApplyDone(0);
    EXPECT_EQ(0u, applied.ulErrCode);
}

TEST_F(CoreAgentCalls, RunWithoutTheLock) {
    int free = 0;
    core.onWait = [&](ULONG64) { free += agent.LockIsFree(); };
    core.onStart = [&](QEL_LOCK_REQUEST, BYTE&) {
        free += agent.LockIsFree();
        return QEL_RESULT{0, 0};
    };
    core.onDone = [&](QEL_LOCK_REQUEST) {
        free += agent.LockIsFree();
        return QEL_RESULT{0, 0};
    };
    agent.WaitForApplyDone(0);
    agent.StartLock(request, taken);
    agent.DoneLock(request);
    EXPECT_EQ(3, free);
}

TEST_F(CoreAgentCalls, ThatAreUnderWayKeepTheirModuleLoaded) {
    core.onWait = [&](ULONG64) {
        agent.GetCoreAgntPvt();
        EXPECT_EQ(0, core.frees);
        agent.FreeCoreAgent();
        EXPECT_EQ(1, core.frees) << "the new module, which no call is inside of";
    };
    agent.WaitForApplyDone(0);
    EXPECT_EQ(2, core.frees);
    EXPECT_EQ("free 1", core.moduleCalls.back());
}

// The module.

TEST(CoreAgentModule, IsLoadedAskedReloadedAndFreed) {
    PrivateHive hive;
    hive.Set(CORE_AGENT_KEY, L"InstalledDir", L"C:\\Suite\\CoreAgnt.dll");
    FakeCoreAgent core;
    {
        CoordinationAgent agent;
        agent.GetCoreAgntPvt();
        EXPECT_THAT(core.moduleCalls, ElementsAre("load C:\\Suite\\CoreAgnt.dll", "find 1 GetCoreAgentPvt", "get"));
        EXPECT_TRUE(agent.HadCoreAgent());
        core.moduleCalls.clear();

        agent.GetCoreAgntPvt();
        EXPECT_THAT(core.moduleCalls,
                    ElementsAre("free 1", "load C:\\Suite\\CoreAgnt.dll", "find 2 GetCoreAgentPvt", "get"));
        core.moduleCalls.clear();
    }
    EXPECT_THAT(core.moduleCalls, ElementsAre("free 2"));
}

TEST(CoreAgentModule, WithoutItThereIsNoInterface) {
    PrivateHive hive;
    FakeCoreAgent core;
    core.present = false;
    LogCapture log;
    {
        CoordinationAgent agent;
        agent.GetCoreAgntPvt();
        EXPECT_FALSE(agent.HadCoreAgent());
    }
    EXPECT_THAT(core.moduleCalls, ElementsAre("load CoreAgnt.DLL"));
    EXPECT_TRUE(log.Has("Common\\Src\\Helper (767): ERROR:  Unable to find path to library!  Defaulting to no path "
                        "CoreAgnt"));
}

TEST(CoreAgentModule, ThatIsGoneAtTheReloadLeavesTheInterfaceAsItWas) {
    PrivateHive hive;
    FakeCoreAgent core;
    CoordinationAgent agent;
    agent.GetCoreAgntPvt();
    core.present = false;
    core.moduleCalls.clear();
    agent.GetCoreAgntPvt();
    EXPECT_THAT(core.moduleCalls, ElementsAre("free 1", "load CoreAgnt.DLL"));
    EXPECT_TRUE(agent.HadCoreAgent());
    agent.WaitForApplyDone(0);
    EXPECT_THAT(core.calls, IsEmpty()) << "nothing is called through it";
}

} // namespace
