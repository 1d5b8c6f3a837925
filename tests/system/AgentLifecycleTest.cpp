// The agent as a host starts and stops it.
#include <cstdlib>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/kit/CrashReport.h"
#include "tests/kit/HandleCount.h"
#include "tests/kit/HeapUse.h"
#include "tests/kit/LogText.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/SuiteHost.h"
#include "tests/system/RunTimeHeap.h"
#include "tools/fcoectl/Text.h"
#include "tools/reading/Records.h"

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

// Whether a walk through a heap shows its blocks. Of a low-fragmentation heap, which Wine 10 has, it shows groups of
// blocks, and each of these whole, however few of its blocks are in use.
bool AWalkShowsBlocks() {
    constexpr ULONG LOW_FRAGMENTATION = 2;
    ULONG kind = 0;
    HeapQueryInformation(GetProcessHeap(), HeapCompatibilityInformation, &kind, sizeof kind, nullptr);
    return kind != LOW_FRAGMENTATION;
}

void UseAndUnload(int loads) {
    StartWatchdog(240);
    const RunTimeHeap runTime;
    SuiteHost host;
    host.Hive().Set(L"SOFTWARE\\ORVAN\\Network_Services\\QEL2", L"TRACE", DWORD{2}); // of lines there were enough
    const auto Round = [&](int number) {
        Use(*host.GetAgent(), number);
        host.Unload();
    };
    for (int i = 0; i < 14; ++i)
        Round(i); // what the system keeps once it was used
    const auto handles = CountHandles();
    const auto ours = runTime.Bytes();
    const auto all = static_cast<long long>(BusyHeapBytes());
    for (int i = 0; i < loads; ++i) {
        Round(i);
        if (i % 100 == 99) {
            ASSERT_EQ(handles, CountHandles()) << "after load " << i;
        }
    }
    EXPECT_LT(runTime.Bytes() - ours, loads) << "bytes; one of the enumerations left some, or the loading did";
    // The system's loader keeps some bytes of its own for each load.
    const long long perLoad = (static_cast<long long>(BusyHeapBytes()) - all) / loads;
    testing::Test::RecordProperty("bytes_a_load", static_cast<int>(perLoad));
    if (AWalkShowsBlocks()) {
        EXPECT_LT(perLoad, 64);
    }
}

TEST(Unload, AHundredTimesAfterUseLeaksNeitherHandlesNorMemory) {
    UseAndUnload(100);
}

TEST(Unload, AThousandTimesAfterUseLeaksNeitherHandlesNorMemory) {
    UseAndUnload(1000);
}

// The loader's call of the module's entry point; reserved is null when the module is unloaded.
void Detach(HMODULE module, void* reserved) {
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* headers =
        reinterpret_cast<IMAGE_NT_HEADERS*>(base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    using Entry = BOOL(WINAPI*)(HMODULE, DWORD, void*);
    reinterpret_cast<Entry>(base + headers->OptionalHeader.AddressOfEntryPoint)(module, DLL_PROCESS_DETACH, reserved);
}

// Ends the process; 0 tells that the vendor library was asked to close an adapter so often.
[[noreturn]] void EndAfterDetach(void* reserved, unsigned long long closed) {
    auto* const host = new SuiteHost;
    Adapters(host->GetAgent());
    host->ResetCalls();
    Detach(host->Module(), reserved);
    std::_Exit(host->Calls("CloseAdapter") == closed ? 0 : 1);
}

TEST(Detach, OfAnUnloadedModuleClosesTheAdaptersThatOfAnEndingProcessNothing) {
    int ends = 0;
    EXPECT_EXIT(EndAfterDetach(nullptr, 2), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(EndAfterDetach(&ends, 0), testing::ExitedWithCode(0), "");
}

constexpr unsigned ADAPTERS = 2;

std::wstring AdapterName(unsigned adapter) {
    return L"{11111111-2222-4333-8444-55555555550" + std::to_wstring(adapter) + L"}";
}

// Adapters that differ in all their lists.
std::string DifferentAdapters() {
    auto adapters = nlohmann::json::array();
    for (unsigned a = 0; a < ADAPTERS; ++a) {
        const std::string number = std::to_string(a);
        auto targets = nlohmann::json::array();
        for (unsigned t = 0; t < 2 + a; ++t)
            targets.push_back({{"port_wwn", "50:06:01:60:00:00:0" + number + ":0" + std::to_string(t)},
                               {"fc_id", t + 1},
                               {"serial", "S" + number + std::to_string(t)},
                               {"luns", {{{"os_lun", 0}, {"blocks", 2048 * (a + 1)}}, {{"os_lun", 1}}}}});
        adapters.push_back(
            {{"identifier", fcoectl::ToUtf8(AdapterName(a))},
             {"mac", "00:1B:21:00:00:0" + number},
             {"port",
              {{"node_wwn", "20:00:00:1B:21:00:00:0" + number}, {"port_wwn", "20:01:00:1B:21:00:00:0" + number}}},
             {"ports", {{{"type", 0}}}},
             {"statistics", {{"tx_frames", 100 + a}}},
             {"targets", targets},
             {"vlans", {{{"id", 100 + a}}, {{"id", 200 + a}}}}});
    }
    return nlohmann::json{{"adapters", adapters}}.dump();
}

// What the adapter's enumerations answer, as text.
std::string AnswersOf(CQelFcoeAgentIntf* agent, unsigned adapter) {
    std::string answers;
    const auto Add =
        [&]<class Record, class Name>(BOOL (CQelFcoeAgentIntf::*operation)(Name, std::vector<Record>&, ULONG64)) {
            CQelString name(AdapterName(adapter).c_str());
            std::vector<Record> records;
            answers += (agent->*operation)(name, records, 0) ? "TRUE\n" : "FALSE\n";
            for (const Record& record : records)
                answers += reading::ToJson(record).dump() + "\n";
        };
    Add(&CQelFcoeAgentIntf::EnumerateHBAs);
    Add(&CQelFcoeAgentIntf::EnumerateFabrics);
    Add(&CQelFcoeAgentIntf::EnumeratePorts);
    Add(&CQelFcoeAgentIntf::EnumerateTargets);
    Add(&CQelFcoeAgentIntf::EnumerateVLANs);
    Add(&CQelFcoeAgentIntf::EnumerateLUNs);
    Add(&CQelFcoeAgentIntf::EnumerateStatistics);
    return answers;
}

// Each with an adapter of its own: two that work on one adapter may be refused by the library while the other one opens
// it anew.
TEST(Threads, TwoAtOnceGetTheSameAnswersAndWholeLogLines) {
    SuiteHost host;
    host.Simulate(DifferentAdapters());
    auto* agent = host.GetAgent();
    ASSERT_TRUE(agent);
    std::string expected[ADAPTERS];
    for (unsigned adapter = 0; adapter < ADAPTERS; ++adapter) {
        expected[adapter] = AnswersOf(agent, adapter);
        EXPECT_EQ(std::string::npos, expected[adapter].find("FALSE"));
        EXPECT_NE(std::string::npos, expected[adapter].find("\"os_lun\":1"));
    }
    std::vector<std::thread> threads;
    for (unsigned adapter = 0; adapter < ADAPTERS; ++adapter)
        threads.emplace_back([&, adapter] {
            for (int i = 0; i < 20; ++i)
                ASSERT_EQ(expected[adapter], AnswersOf(agent, adapter)) << "adapter " << adapter << ", round " << i;
        });
    for (auto& thread : threads)
        thread.join();
    const std::string log = ReadFileBytes(host.LogFile());
    EXPECT_TRUE(log.ends_with("\r\n"));
    for (const std::string_view line : LogText::Lines(log)) {
        const auto parts = LogText::Parse(line);
        ASSERT_TRUE(parts) << line;
        ASSERT_EQ("FCOEAGENT", parts->module) << line;
        ASSERT_EQ(std::string_view::npos, parts->text.find("FCOEAGENT\tPID:")) << line;
    }
}

} // namespace
