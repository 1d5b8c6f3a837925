// The agent as a host starts and stops it.
#include <functional>
#include <thread>

#include <gtest/gtest.h>

#include "tests/kit/CrashReport.h"
#include "tests/kit/HandleCount.h"
#include "tests/kit/HeapUse.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/SuiteHost.h"

namespace {

const wchar_t AGENT_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\FcoeAgnt";
const wchar_t CORE_KEY[] = L"SOFTWARE\\ORVAN\\Network_Services\\QEL2\\Agents\\CoreAgnt";

std::vector<QEL_FCOE_HBA> Adapters(CQelFcoeAgentIntf* agent) {
    std::vector<QEL_FCOE_HBA> adapters;
    EXPECT_TRUE(agent->EnumerateHBAs(CQelString(), adapters, 0));
    return adapters;
}

TEST(GetFcoeAgent, CalledTwiceReturnsTheSameObjectAndLogsAlreadyInitialized) {
    SuiteHost host;
    auto* agent = host.GetAgent();
    ASSERT_TRUE(agent);
    EXPECT_FALSE(host.Logged("CQelFcoeAgentWin::Initialize() - Already initialized"));
    EXPECT_EQ(agent, host.GetAgent());
    EXPECT_TRUE(host.Logged("CQelFcoeAgentWin::Initialize() - Already initialized"));
}

TEST(GetFcoeAgent, WithoutItsRegistryValueReturnsNullAndALaterCallTriesAgain) {
    SuiteHost host;
    host.Hive().Delete(AGENT_KEY, L"InstalledDir");
    EXPECT_FALSE(host.GetAgent());
    EXPECT_FALSE(host.GetAgent());
    host.Hive().Set(AGENT_KEY, L"InstalledDir", (ProgramFolder() / L"FcoeAgnt.dll").wstring());
    EXPECT_TRUE(host.GetAgent());
}

TEST(GetFcoeAgent, WithARegistryValueThatNamesAnotherFileReturnsNull) {
    SuiteHost host;
    host.Hive().Set(AGENT_KEY, L"InstalledDir", L"C:\\elsewhere\\NoSuchAgent.dll");
    EXPECT_FALSE(host.GetAgent());
}

TEST(GetFcoeAgent, WithAGarbledRegistryValueReturnsNull) {
    SuiteHost host;
    const BYTE garbage[] = {0xFF, 0xFE, 0x01};
    host.Hive().SetRaw(AGENT_KEY, L"InstalledDir", REG_BINARY, garbage, sizeof garbage);
    EXPECT_FALSE(host.GetAgent());
    const std::wstring tooLong(300, L'x');
    host.Hive().Set(AGENT_KEY, L"InstalledDir", tooLong);
    EXPECT_FALSE(host.GetAgent());
}

TEST(GetFcoeAgent, WithoutCoreAgentReturnsNullFirstAndTheAgentSecond) {
    SuiteHost host;
    host.Hive().Set(CORE_KEY, L"InstalledDir", L"C:\\elsewhere\\CoreAgnt.dll");
    EXPECT_FALSE(host.GetAgent());
    EXPECT_TRUE(host.GetAgent());
}

TEST(GetFcoeAgent, WithoutCoreAgentStillSurvivesEveryOperation) {
    SuiteHost host;
    host.Hive().Set(CORE_KEY, L"InstalledDir", L"C:\\elsewhere\\CoreAgnt.dll");
    host.GetAgent();
    auto* agent = host.GetAgent();
    ASSERT_TRUE(agent);
    CQelString all, one(L"{00000000-0000-0000-0000-000000000000}"), wwpn(L"Auto");
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_LUN> luns;
    std::vector<QEL_ERROR_ENTRY> errors;
    ULONG owner = 1;
    EXPECT_TRUE(agent->EnumerateHBAs(all, hbas, 0));
    EXPECT_TRUE(hbas.empty());
    agent->EnumerateHBAs(one, hbas, 0);
    agent->EnumerateLUNs(one, luns, 0);
    EXPECT_FALSE(agent->CreateVPort(one, wwpn, errors, owner));
    agent->RefreshTargets(one, 0);
    EXPECT_TRUE(agent->Uninstall(0));
}

TEST(Uninstall, ThenGetFcoeAgentStartsTheAgentAgain) {
    SuiteHost host;
    auto* agent = host.GetAgent();
    ASSERT_TRUE(agent);
    EXPECT_EQ(2u, Adapters(agent).size());
    EXPECT_TRUE(agent->Uninstall(0));
    EXPECT_EQ(agent, host.GetAgent());
    EXPECT_EQ(2u, Adapters(agent).size());
}

TEST(Unload, ClosesTheLogFileAndFreesTheNeighbours) {
    SuiteHost host;
    Adapters(host.GetAgent());
    EXPECT_TRUE(GetModuleHandleW(L"orvanhapi.dll"));
    EXPECT_TRUE(GetModuleHandleW(L"CoreAgnt.dll"));
    EXPECT_FALSE(DeleteFileW(host.LogFile().c_str()));
    host.Unload();
    EXPECT_FALSE(GetModuleHandleW(L"FcoeAgnt.dll"));
    EXPECT_FALSE(GetModuleHandleW(L"orvanhapi.dll"));
    EXPECT_FALSE(GetModuleHandleW(L"CoreAgnt.dll"));
    EXPECT_TRUE(DeleteFileW(host.LogFile().c_str()));
}

// One enumeration, by its number; each module load uses another one.
void Use(CQelFcoeAgentIntf& agent, int number) {
    CQelString all;
    std::vector<QEL_FCOE_HBA> hbas;
    std::vector<QEL_FCOE_FABRIC> fabrics;
    std::vector<QEL_FCOE_PORT> ports;
    std::vector<QEL_FCOE_TARGET> targets;
    std::vector<QEL_FCOE_VLAN> vlans;
    std::vector<QEL_FCOE_LUN> luns;
    std::vector<QEL_FCOE_STATISTIC> statistics;
    const std::function<BOOL()> enumerations[] = {
        [&] { return agent.EnumerateHBAs(all, hbas, 0) && !hbas.empty(); },
        [&] { return agent.EnumerateFabrics(all, fabrics, 0) && !fabrics.empty(); },
        [&] { return agent.EnumeratePorts(all, ports, 0) && !ports.empty(); },
        [&] { return agent.EnumerateTargets(all, targets, 0) && !targets.empty(); },
        [&] { return agent.EnumerateVLANs(all, vlans, 0) && !vlans.empty(); },
        [&] { return agent.EnumerateLUNs(all, luns, 0) && !luns.empty(); },
        [&] { return agent.EnumerateStatistics(all, statistics, 0) && !statistics.empty(); },
    };
    EXPECT_TRUE(enumerations[number % std::size(enumerations)]()) << "enumeration " << number;
}

TEST(Unload, AThousandTimesAfterUseLeaksNeitherHandlesNorMemory) {
    StartWatchdog(240);
    SuiteHost host;
    host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", DWORD{2}); // of lines there were enough
    const auto round = [&](int number) {
        Use(*host.GetAgent(), number);
        host.Unload();
    };
    for (int i = 0; i < 14; ++i)
        round(i); // what the system keeps once it was used
    const auto handles = CountHandles();
    const auto memory = BusyHeapBytes();
    for (int i = 0; i < 1000; ++i) {
        round(i);
        if (i % 100 == 99) {
            ASSERT_EQ(handles, CountHandles()) << "after load " << i;
        }
    }
    // The loader's own bookkeeping may grow by a little; a leak of the agent's would be at least one object per round.
    EXPECT_LT(BusyHeapBytes(), memory + 1000 * 64);
}

TEST(Threads, TwoAtOnceGetTheSameAnswersAndWholeLogLines) {
    SuiteHost host;
    auto* agent = host.GetAgent();
    ASSERT_TRUE(agent);
    CQelString all;
    std::vector<QEL_FCOE_LUN> expected;
    ASSERT_TRUE(agent->EnumerateLUNs(all, expected, 0));
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 20; ++i) {
                CQelString name;
                std::vector<QEL_FCOE_VLAN> vlans;
                std::vector<QEL_FCOE_STATISTIC> statistics;
                agent->EnumerateVLANs(name, vlans, 0);
                agent->EnumerateStatistics(name, statistics, 0);
            }
        });
    for (auto& thread : threads)
        thread.join();
    const std::string log = ReadFileBytes(host.LogFile());
    for (std::size_t at = 0; at < log.size();) {
        const std::size_t end = log.find("\r\n", at);
        ASSERT_NE(std::string::npos, end);
        const std::string line = log.substr(at, end - at);
        ASSERT_TRUE(line.starts_with("FCOEAGENT\tPID:")) << line;
        ASSERT_EQ(line.find("FCOEAGENT\tPID:"), line.rfind("FCOEAGENT\tPID:")) << line;
        at = end + 2;
    }
}

} // namespace
