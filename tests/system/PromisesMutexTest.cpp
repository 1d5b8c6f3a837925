// How often an operation waits for the mutex that all processes share, and what it answers when it does not get it: the
// table of docs/performance.md. No wait takes any time here: the mutex is granted or refused at once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/kit/MovedClock.h"
#include "tests/system/PromiseSuite.h"

namespace {

using testing::Each;
using testing::SizeIs;

constexpr auto HBAS = &CQelFcoeAgentIntf::EnumerateHBAs;
constexpr auto FABRICS = &CQelFcoeAgentIntf::EnumerateFabrics;
constexpr auto PORTS = &CQelFcoeAgentIntf::EnumeratePorts;
constexpr auto TARGETS = &CQelFcoeAgentIntf::EnumerateTargets;
constexpr auto LUNS = &CQelFcoeAgentIntf::EnumerateLUNs;
constexpr auto VLANS = &CQelFcoeAgentIntf::EnumerateVLANs;
constexpr auto STATISTICS = &CQelFcoeAgentIntf::EnumerateStatistics;

bool g_grant;
std::vector<DWORD> g_waits; // how long each may take

// A mutex that nobody holds is granted without waiting.
DWORD WINAPI Wait(HANDLE handle, DWORD milliseconds) {
    g_waits.push_back(milliseconds);
    return g_grant ? WaitForSingleObject(handle, 0) : static_cast<DWORD>(WAIT_TIMEOUT);
}

class PromiseMutex : public testing::Test {
  protected:
    PromiseMutex() { g_waits.clear(); }

    // The waits of one piece of work, with cold caches.
    template <class Work> std::size_t Waits(bool grant, Work work) {
        clock.Advance(11000);
        g_grant = grant;
        g_waits.clear();
        work();
        EXPECT_THAT(g_waits, Each(10000u));
        return g_waits.size();
    }
    template <class Record, class Name>
    std::size_t Waits(bool grant, BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64)) {
        return Waits(grant, [&] { suite.Count(operation, FIRST); });
    }
    // The adapter's object is made, with its handle open.
    void MakeKnown() {
        g_grant = true;
        suite.Count(VLANS, FIRST);
    }
    std::size_t GenerateWaits(bool grant, BOOL expected) {
        return Waits(grant, [&] {
            CQelString adapter(FIRST), wwpn;
            EXPECT_EQ(expected, suite.agent->GenerateVPortWWPN(adapter, wwpn, suite.errors, 0));
        });
    }
    std::size_t RefreshWaits(bool grant) {
        return Waits(grant, [&] {
            CQelString adapter(FIRST);
            EXPECT_TRUE(suite.agent->RefreshTargets(adapter, 0));
        });
    }

    PromiseSuite suite;
    MovedClock clock{1000, suite.host.Module()};
    ImportPatch patch{suite.host.Module(), "KERNEL32.dll", "WaitForSingleObject", reinterpret_cast<void*>(&Wait)};
};

TEST_F(PromiseMutex, IsWaitedForSoOften) {
    MakeKnown();
    EXPECT_EQ(4u, Waits(true, HBAS));
    EXPECT_EQ(4u, Waits(true, FABRICS));
    EXPECT_EQ(4u, Waits(true, PORTS));
    EXPECT_EQ(4u, Waits(true, TARGETS));
    EXPECT_EQ(4u, Waits(true, LUNS));
    EXPECT_EQ(2u, Waits(true, VLANS));
    EXPECT_EQ(2u, Waits(true, STATISTICS));
    EXPECT_EQ(1u, Waits(true, [&] { EXPECT_TRUE(suite.Create(L"20:02:00:1b:21:00:00:0a")); }));
    EXPECT_EQ(2u, Waits(true, [&] { EXPECT_TRUE(suite.Create(L"Auto")); }));
    EXPECT_EQ(1u, Waits(true, [&] { EXPECT_TRUE(suite.Delete(L"20:02:00:1b:21:00:00:0a")); }));
    EXPECT_EQ(5u, Waits(true, [&] { EXPECT_FALSE(suite.Delete(L"20:02:00:1b:21:00:00:0a")); }));
    EXPECT_EQ(1u, GenerateWaits(true, TRUE));
    EXPECT_EQ(0u, RefreshWaits(true));
}

TEST_F(PromiseMutex, HeldBySomeoneElseIsWaitedForInEachOfTheSteps) {
    MakeKnown();
    EXPECT_EQ(1u, Waits(false, HBAS));
    EXPECT_EQ(2u, Waits(false, FABRICS));
    EXPECT_EQ(2u, Waits(false, PORTS));
    EXPECT_EQ(2u, Waits(false, TARGETS));
    EXPECT_EQ(2u, Waits(false, LUNS));
    EXPECT_EQ(1u, Waits(false, VLANS));
    EXPECT_EQ(1u, Waits(false, STATISTICS));
    EXPECT_EQ(1u, Waits(false, [&] { EXPECT_FALSE(suite.Create(L"20:02:00:1b:21:00:00:0a")); }));
    EXPECT_EQ(1u, Waits(false, [&] { EXPECT_FALSE(suite.Create(L"Auto")); }));
    EXPECT_EQ(3u, Waits(false, [&] { EXPECT_FALSE(suite.Delete(L"20:02:00:1b:21:00:00:0a")); }));
    EXPECT_EQ(1u, GenerateWaits(false, FALSE));
    MakeKnown(); // the refused steps left it closed
    EXPECT_EQ(0u, RefreshWaits(false));
}

TEST_F(PromiseMutex, OfANewAdapterIsWaitedForOnceMore) {
    EXPECT_EQ(3u, Waits(false, PORTS));
    EXPECT_TRUE(suite.agent->Uninstall(0));
    EXPECT_EQ(suite.agent, suite.host.GetAgent());
    EXPECT_EQ(6u, Waits(true, PORTS));
}

TEST_F(PromiseMutex, OfStartAndUninstallIsWaitedForOnce) {
    EXPECT_EQ(1u, Waits(false, [&] { EXPECT_TRUE(suite.agent->Uninstall(0)); }));
    EXPECT_EQ(1u, Waits(false, [&] { EXPECT_EQ(suite.agent, suite.host.GetAgent()); }));
    EXPECT_EQ(1u, Waits(true, [&] { EXPECT_TRUE(suite.agent->Uninstall(0)); }));
    EXPECT_EQ(1u, Waits(true, [&] { EXPECT_EQ(suite.agent, suite.host.GetAgent()); }));
}

TEST_F(PromiseMutex, ThatIsNotHadIsAnEmptyAnswerAndTrue) {
    MakeKnown();
    g_grant = false;
    clock.Advance(11000);
    EXPECT_EQ(0u, suite.Count(PORTS, FIRST));
    EXPECT_EQ(0u, suite.Count(VLANS, FIRST));
    EXPECT_EQ(0u, suite.Count(STATISTICS, FIRST));
    std::vector<QEL_FCOE_HBA> hbas;
    EXPECT_TRUE(suite.Ask(HBAS, FIRST, hbas));
    ASSERT_THAT(hbas, SizeIs(1));
    EXPECT_TRUE(hbas[0].strDeviceId.empty());
    EXPECT_TRUE(suite.host.Logged("CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex"));
}

HANDLE WINAPI RefuseMutex(SECURITY_ATTRIBUTES*, BOOL, const wchar_t*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

HANDLE WINAPI RefuseToOpenMutex(DWORD, BOOL, const wchar_t*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

TEST_F(PromiseMutex, OfAnotherAccountIsWaitedForAsOften) {
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Global\\CHBAAPINTMUT"); // there is one to open
    {
        const ImportPatch create(suite.host.Module(), "KERNEL32.dll", "CreateMutexW",
                                 reinterpret_cast<void*>(&RefuseMutex));
        MakeKnown();
        EXPECT_EQ(2u, Waits(true, [&] { EXPECT_EQ(2u, suite.Count(VLANS, FIRST)); }));
        EXPECT_EQ(1u, Waits(true, [&] { EXPECT_TRUE(suite.Create(L"20:02:00:1b:21:00:00:0a")); }));
    }
    CloseHandle(mutex);
}

// As that of SYSTEM is to a standard user.
TEST_F(PromiseMutex, ThatMayNotBeOpenedIsNotWaitedForAndLogsTheSame) {
    const ImportPatch create(suite.host.Module(), "KERNEL32.dll", "CreateMutexW",
                             reinterpret_cast<void*>(&RefuseMutex));
    const ImportPatch open(suite.host.Module(), "KERNEL32.dll", "OpenMutexW",
                           reinterpret_cast<void*>(&RefuseToOpenMutex));
    EXPECT_EQ(0u, Waits(true, [&] { EXPECT_EQ(0u, suite.Count(VLANS, FIRST)); }));
    EXPECT_TRUE(suite.host.Logged("CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex"));
}

TEST_F(PromiseMutex, HeldByAThreadOfTheSameProcessLogsTheSame) {
    g_grant = true;
    ExportHooks hooks(suite.host.Module());
    Gate inside;
    const ExportHook<decltype(ORVAN_GetFCPortList)> hook(
        hooks, "ORVAN_GetFCPortList", [&](auto* library, HBA_HANDLE handle, ORVAN_FC_PORT_LIST* list) {
            inside.Pass();
            return library(handle, list);
        });
    Worker reader(inside, [&] { suite.Count(PORTS, FIRST); });
    ASSERT_TRUE(inside.WaitUntilReached());
    EXPECT_EQ(0u, suite.Count(VLANS, SECOND));
    EXPECT_TRUE(suite.host.Logged("CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex"));
}

} // namespace
