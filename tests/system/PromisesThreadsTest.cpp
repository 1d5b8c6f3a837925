// Several threads of a host at once: what docs/host-guide.md promises of them, and what it warns of.
#include <atomic>

#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"
#include "tests/system/PromiseSuite.h"

namespace {

using VlanList = decltype(ORVAN_GetVlanIdList);
using TargetList = decltype(ORVAN_GetTargetList);
using Initialize = decltype(ORVAN_InitializeLibrary);

constexpr auto HBAS = &CQelFcoeAgentIntf::EnumerateHBAs;
constexpr auto PORTS = &CQelFcoeAgentIntf::EnumeratePorts;
constexpr auto LUNS = &CQelFcoeAgentIntf::EnumerateLUNs;
constexpr auto VLANS = &CQelFcoeAgentIntf::EnumerateVLANs;
constexpr auto STATISTICS = &CQelFcoeAgentIntf::EnumerateStatistics;

constexpr wchar_t NEW_PORT[] = L"20:02:00:1b:21:00:00:0a";

// The clock of the agent stands still, so that nothing in its caches ages by itself.
class PromiseThreads : public testing::Test {
  protected:
    PromiseSuite suite;
    MovedClock clock{1000, suite.host.Module()};
    ExportHooks hooks{suite.host.Module()};

    // Stops the thread that asks for the VLANs inside the library.
    ExportHook<VlanList> StopAtVlans(Gate& gate) {
        return {hooks, "ORVAN_GetVlanIdList", [&](auto* library, HBA_HANDLE handle, ORVAN_VLAN_LIST* list) {
                    gate.Pass();
                    return library(handle, list);
                }};
    }
    // Stops the thread that opens an adapter, with the handle that it had closed and the library's mutex held.
    ExportHook<Initialize> StopAtOpen(Gate& gate) {
        return {hooks, "ORVAN_InitializeLibrary", [&](auto* library) {
                    gate.Pass();
                    return library();
                }};
    }
};

TEST_F(PromiseThreads, OperationsRunOnTheCallingThread) {
    DWORD inside = 0;
    const ExportHook<VlanList> hook(hooks, "ORVAN_GetVlanIdList",
                                    [&](auto* library, HBA_HANDLE handle, ORVAN_VLAN_LIST* list) {
                                        inside = GetCurrentThreadId();
                                        return library(handle, list);
                                    });
    EXPECT_EQ(2u, suite.Count(VLANS, FIRST));
    EXPECT_EQ(GetCurrentThreadId(), inside);
}

TEST_F(PromiseThreads, AnAdapterAtWorkHoldsUpNoOther) {
    Gate inside;
    const auto hook = StopAtVlans(inside);
    std::size_t vlans = 0;
    Worker reader(inside, [&] { vlans = suite.Count(VLANS, FIRST); });
    ASSERT_TRUE(inside.WaitUntilReached());
    EXPECT_EQ(1u, suite.Count(LUNS, SECOND));
    EXPECT_EQ(1u, suite.Count(HBAS, SECOND));
    EXPECT_EQ(1u, suite.Count(PORTS, FIRST)); // nor another question to the same one
    EXPECT_EQ(suite.agent, suite.host.GetAgent());
    reader.Join();
    EXPECT_EQ(2u, vlans);
}

TEST_F(PromiseThreads, WhileAnAdapterIsOpenedForTheFirstTimeTheAgentsLockIsHeld) {
    Gate opening, asked;
    const auto hook = StopAtOpen(opening);
    Worker first(opening, [&] { suite.Count(VLANS, FIRST); });
    ASSERT_TRUE(opening.WaitUntilReached());
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    {
        Worker second(asked, [&] {
            asked.Pass();
            suite.host.GetAgent();
            SetEvent(done);
        });
        ASSERT_TRUE(asked.WaitUntilReached());
        asked.Open();
        EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(done, 200));
        first.Join();
    }
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(done, 0));
    CloseHandle(done);
}

std::atomic<int> g_freed;
HMODULE g_library;

BOOL WINAPI CountFreed(HMODULE module) {
    g_freed += module == g_library;
    return FreeLibrary(module);
}

TEST_F(PromiseThreads, ALibraryThatIsInUseIsUnloadedByTheLastCallToReturn) {
    g_freed = 0;
    g_library = suite.host.Library();
    const ImportPatch patch(suite.host.Module(), "KERNEL32.dll", "FreeLibrary", reinterpret_cast<void*>(&CountFreed));
    Gate inside;
    const auto hook = StopAtVlans(inside);
    Worker reader(inside, [&] { suite.Count(VLANS, FIRST); });
    ASSERT_TRUE(inside.WaitUntilReached());
    EXPECT_TRUE(suite.agent->Uninstall(0));
    EXPECT_EQ(0, g_freed);
    reader.Join();
    EXPECT_EQ(1, g_freed);
    EXPECT_EQ(suite.agent, suite.host.GetAgent());
    EXPECT_EQ(2u, suite.Count(VLANS, FIRST));
}

// The one thread has its adapter reopened while the other one uses the handle.
TEST_F(PromiseThreads, AListThatTheLibraryRefusedMeanwhileIsEmptyForTenMilliseconds) {
    EXPECT_EQ(2u, suite.Count(VLANS, FIRST));
    clock.Advance(11);
    Gate inside, opening;
    const auto vlanHook = StopAtVlans(inside);
    std::size_t vlans = 99;
    Worker reader(inside, [&] { vlans = suite.Count(VLANS, FIRST); });
    ASSERT_TRUE(inside.WaitUntilReached());
    const auto openHook = StopAtOpen(opening);
    Worker other(opening, [&] { suite.Count(STATISTICS, FIRST); });
    ASSERT_TRUE(opening.WaitUntilReached());
    reader.Join();
    EXPECT_EQ(0u, vlans);
    EXPECT_EQ(0u, suite.Count(VLANS, FIRST));
    other.Join();
    clock.Advance(10);
    EXPECT_EQ(0u, suite.Count(VLANS, FIRST));
    clock.Advance(1);
    EXPECT_EQ(2u, suite.Count(VLANS, FIRST));
}

TEST_F(PromiseThreads, AChangeIsSeenAtOnceByAHostThatIsAlone) {
    EXPECT_EQ(1u, suite.Count(PORTS, FIRST));
    EXPECT_EQ(1u, suite.Count(LUNS, FIRST));
    ASSERT_TRUE(suite.Create(NEW_PORT));
    EXPECT_EQ(2u, suite.Count(PORTS, FIRST));
    EXPECT_EQ(2u, suite.Count(LUNS, FIRST));
    ASSERT_TRUE(suite.Delete(NEW_PORT));
    EXPECT_EQ(1u, suite.Count(PORTS, FIRST));
    EXPECT_EQ(1u, suite.Count(LUNS, FIRST));
}

TEST_F(PromiseThreads, AChangeBesideAnotherThreadsEnumerationMayTakeTenMillisecondsMore) {
    EXPECT_EQ(2u, suite.Count(VLANS, FIRST)); // the adapter is known
    Gate reading;
    const ExportHook<TargetList> hook(hooks, "ORVAN_GetTargetList",
                                      [&](auto* library, HBA_HANDLE handle, ORVAN_TARGET_LIST* list) {
                                          reading.Pass();
                                          return library(handle, list);
                                      });
    Worker reader(reading, [&] { suite.Count(LUNS, FIRST); });
    ASSERT_TRUE(reading.WaitUntilReached());
    ASSERT_TRUE(suite.Create(NEW_PORT));
    reader.Join();
    EXPECT_EQ(1u, suite.Count(LUNS, FIRST)); // what the other thread read
    clock.Advance(11);
    EXPECT_EQ(2u, suite.Count(LUNS, FIRST));
}

} // namespace
