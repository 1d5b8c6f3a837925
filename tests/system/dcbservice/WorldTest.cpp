// The DCB service answers each client from the client's world, and the WMI provider from its process's.
#include <atomic>
#include <fstream>
#include <regex>
#include <thread>

#include <gtest/gtest.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/CoreAgentPvt.h"
#include "FcoeAgent/OrvanDcb.h"
#include "FcoeAgent/OrvanHbaApi.h"
#include "simulator/control/SimControl.h"
#include "tests/kit/DcbSystem.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"
#include "tests/kit/TempFolder.h"

namespace {

using nlohmann::json;

constexpr wchar_t VARIABLE[] = L"ORVAN_SIM_TOPOLOGY";

// One adapter whose DCB priority map is the number, and whose other answers bear the mark in all their fields.
std::string WithPriorities(int map, const json& faults = json::array(), int mark = 0) {
    const std::string text = std::to_string(mark);
    const std::wstring identifier = DcbSystem::Identifier(0);
    return json{{"adapters",
                 {{{"identifier", std::string(identifier.begin(), identifier.end())},
                   {"mac", "02:05:7C:00:00:01"},
                   {"port", {{"node_wwn", "10:00:02:05:7C:00:00:01"}, {"port_wwn", "20:00:02:05:7C:00:00:01"}}},
                   {"display_name", text},
                   {"interface_index", mark},
                   {"attributes",
                    {{"manufacturer", text}, {"model", text}, {"vendor_specific_id", mark}, {"number_of_ports", mark}}},
                   {"dcb", {{"priority_bitmap", map}, {"pfc", std::vector<int>(8, mark)}}}}}},
                {"faults", faults}}
        .dump();
}

// The service as this process sees it.
class Client {
  public:
    Client() {
        EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
        EXPECT_HRESULT_SUCCEEDED(Renew());
    }
    ~Client() {
        m_control.Reset();
        CoUninitialize();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // Another object of the service's: it looks at the file then.
    HRESULT Renew() {
        return CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IOrvanDcbIoControl),
                                reinterpret_cast<void**>(m_control.Put()));
    }
    HRESULT Ask(int& map) {
        DCB_APP_STATE state{};
        const CQelBstr adapter(SysAllocString(DcbSystem::Identifier(0).c_str()));
        const HRESULT result = m_control.Get()->get_app_oper_state(adapter.Get(), 0, &state);
        map = state.byPriorityMap;
        return result;
    }
    // The mark that all of the answer bears; -1: there is none.
    int Mark() {
        DCB_PFC_STATE state{};
        const CQelBstr adapter(SysAllocString(DcbSystem::Identifier(0).c_str()));
        if (FAILED(m_control.Get()->get_pfc_oper_state(adapter.Get(), &state)))
            return -1;
        for (const LONG enabled : state.lEnabled)
            EXPECT_EQ(state.lEnabled[0], enabled);
        return static_cast<int>(state.lEnabled[0]);
    }
    // -1: the service has no answer.
    int Priorities() {
        int map = 0;
        return SUCCEEDED(Ask(map)) ? map : -1;
    }

  private:
    CQelComPointer<IOrvanDcbIoControl> m_control;
};

class DcbWorld : public testing::Test {
  protected:
    DcbWorld() {
        std::ofstream(system.TopologyFile()) << WithPriorities(1);
        system.Start();
    }
    ~DcbWorld() override { SetEnvironmentVariableW(VARIABLE, nullptr); }

    std::wstring Write(const wchar_t* name, const std::string& text) const {
        std::ofstream(folder.Path() / name) << text;
        return (folder.Path() / name).wstring();
    }
    static CQelModule LoadLibraryModule() { return CQelModule(LoadLibraryW(L"orvanhapi.dll")); }
    // What the service answers to another process that has the file by the variable.
    static int PrioritiesOfAnother(const std::wstring& file) {
        wchar_t before[MAX_PATH * 2] = L"";
        GetEnvironmentVariableW(VARIABLE, before, MAX_PATH * 2);
        SetEnvironmentVariableW(VARIABLE, file.c_str());
        STARTUPINFOW start{};
        start.cb = sizeof start;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(StartProcess(L'"' + ProgramFile().wstring() +
                                     L"\" --gtest_also_run_disabled_tests --gtest_filter=OtherClient.DISABLED_Asks",
                                 false, start, process));
        SetEnvironmentVariableW(VARIABLE, before[0] ? before : nullptr);
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        return static_cast<int>(code);
    }

    DcbSystem system;
    TempFolder folder;
};

TEST(OtherClient, DISABLED_Asks) {
    const CQelModule library(LoadLibraryW(L"orvanhapi.dll"));
    int map = 0;
    {
        Client client;
        map = client.Priorities();
    }
    ExitProcess(static_cast<UINT>(map));
}

TEST_F(DcbWorld, AClientWithoutTheSuiteSeesTheServicesTopology) {
    Client client;
    EXPECT_EQ(1, client.Priorities());
}

TEST_F(DcbWorld, TheVariableReachesTheService) {
    SetEnvironmentVariableW(VARIABLE, Write(L"own.json", WithPriorities(2)).c_str());
    const CQelModule library = LoadLibraryModule();
    Client client;
    EXPECT_EQ(2, client.Priorities());
}

TEST_F(DcbWorld, TwoProcessesSeeTheirOwnFiles) {
    const std::wstring first = Write(L"first.json", WithPriorities(4));
    SetEnvironmentVariableW(VARIABLE, Write(L"second.json", WithPriorities(8)).c_str());
    const CQelModule library = LoadLibraryModule();
    Client client;
    EXPECT_EQ(8, client.Priorities());
    EXPECT_EQ(4, PrioritiesOfAnother(first));
    EXPECT_EQ(8, client.Priorities());
    EXPECT_EQ(8, PrioritiesOfAnother(folder.Path() / L"second.json"));
}

TEST_F(DcbWorld, ATextReachesTheServiceAndSoDoItsArmedFaults) {
    const CQelModule library = LoadLibraryModule();
    const auto load = NEED_FUNCTION(library.Get(), OrvanSim_LoadTopology);
    EXPECT_EQ(nullptr, load(WithPriorities(16).c_str()));
    Client client;
    EXPECT_EQ(16, client.Priorities());
    EXPECT_EQ(nullptr,
              load(WithPriorities(32, {{{"function", "get_app_oper_state"}, {"hresult", "0x80004005"}}}).c_str()));
    EXPECT_EQ(-1, client.Priorities());
    NEED_FUNCTION(library.Get(), OrvanSim_ArmFaults)(0);
    EXPECT_EQ(32, client.Priorities());
    NEED_FUNCTION(library.Get(), OrvanSim_ArmFaults)(1);
    EXPECT_EQ(-1, client.Priorities());
    EXPECT_EQ(nullptr, NEED_FUNCTION(library.Get(), OrvanSim_ReloadTopology)());
    EXPECT_EQ(1, client.Priorities()) << "no choice of its own any more";
}

TEST_F(DcbWorld, AChangedFileIsTakenUpByTheModuleThatLooksForAll) {
    const std::wstring file = Write(L"own.json", WithPriorities(2));
    SetEnvironmentVariableW(VARIABLE, file.c_str());
    const CQelModule library = LoadLibraryModule();
    Client client;
    EXPECT_EQ(2, client.Priorities());
    Write(L"own.json", WithPriorities(4));
    EXPECT_EQ(2, client.Priorities()) << "nobody has looked";
    NEED_FUNCTION(library.Get(), OrvanSim_ReloadTopology)();
    EXPECT_EQ(4, client.Priorities());
    Write(L"own.json", WithPriorities(8));
    EXPECT_HRESULT_SUCCEEDED(client.Renew());
    EXPECT_EQ(8, client.Priorities());
}

// The world changes 2000 times while others ask library, core agent and service.
TEST_F(DcbWorld, NoAnswerMixesTwoVersions) {
    constexpr int CHANGES = 2000;
    const CQelModule library = LoadLibraryModule();
    const CQelModule coreModule(LoadLibraryW(L"CoreAgnt.dll"));
    ICoreAgentPvt* const core = NeedFunction<PFN_GetCoreAgentPvt>(coreModule.Get(), "GetCoreAgentPvt")();
    const auto load = NEED_FUNCTION(library.Get(), OrvanSim_LoadTopology);
    EXPECT_EQ(nullptr, load(WithPriorities(0, json::array(), 1).c_str()));
    HBA_ENTRYPOINTSV2 table{};
    EXPECT_EQ(HBA_STATUS_OK, NEED_FUNCTION(library.Get(), HBA_RegisterLibraryV2)(&table));
    const HBA_HANDLE handle = NEED_FUNCTION(library.Get(), ORVAN_GetFCoEControllerHandle)("com.orvan-FCoE-0");
    Client client;
    std::atomic<int> inUse{1};
    const auto Ask = [&](auto mark) {
        return std::thread([&inUse, mark] {
            while (inUse < CHANGES) {
                const int before = inUse;
                const int seen = mark();
                EXPECT_LE(before, seen);
                EXPECT_LE(seen, inUse + 1);
            }
        });
    };
    std::thread threads[] = {
        Ask([&] { return client.Mark(); }),
        Ask([&] {
            HBA_ADAPTERATTRIBUTES attributes;
            EXPECT_EQ(HBA_STATUS_OK, table.GetAdapterAttributesHandler(handle, &attributes));
            EXPECT_EQ(std::to_string(attributes.VendorSpecificID), attributes.Manufacturer);
            EXPECT_EQ(std::to_string(attributes.VendorSpecificID), attributes.Model);
            EXPECT_EQ(attributes.VendorSpecificID, attributes.NumberOfPorts);
            return static_cast<int>(attributes.VendorSpecificID);
        }),
        Ask([&] {
            QEL_ADAPTER_INFO info;
            EXPECT_EQ(0u, core->GetAdapterInfo(DcbSystem::Identifier(0).c_str(), info, 0).ulErrCode);
            EXPECT_EQ(std::to_wstring(info.ulInterfaceIndex), info.strDisplayName.c_str());
            return static_cast<int>(info.ulInterfaceIndex);
        }),
    };
    for (int mark = 2; mark <= CHANGES; ++mark) {
        EXPECT_EQ(nullptr, load(WithPriorities(0, json::array(), mark).c_str()));
        inUse = mark;
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(CHANGES, client.Mark());
}

TEST_F(DcbWorld, CallsOfTheServiceStandInTheClientsLog) {
    const std::wstring calls = (folder.Path() / L"calls.txt").wstring();
    SetEnvironmentVariableW(L"ORVAN_SIM_CALLS", calls.c_str());
    const CQelModule library = LoadLibraryModule();
    SetEnvironmentVariableW(L"ORVAN_SIM_CALLS", nullptr);
    Client client;
    EXPECT_EQ(1, client.Priorities());
    const std::string lines = ReadFileBytes(calls);
    EXPECT_TRUE(std::regex_search(
        lines, std::regex(" OrvanDcb\\.exe v[0-9]+ get_app_oper_state adapter=\\{[-0-9]*\\} -> 0\r\n$")))
        << lines;
    EXPECT_NE(std::string::npos, lines.find(" CreateInstance -> 0\r\n")) << lines;
}

TEST_F(DcbWorld, HalfAFileKeepsTheLastGoodTopologyInTheService) {
    const std::string text = WithPriorities(2);
    SetEnvironmentVariableW(VARIABLE, Write(L"own.json", text).c_str());
    const CQelModule library = LoadLibraryModule();
    Client client;
    EXPECT_EQ(2, client.Priorities());
    Write(L"own.json", text.substr(0, text.size() / 2));
    EXPECT_HRESULT_SUCCEEDED(client.Renew());
    EXPECT_EQ(2, client.Priorities());
    const std::string error = NEED_FUNCTION(library.Get(), OrvanSim_TopologyError)();
    EXPECT_TRUE(error.ends_with("; the last good topology stays in use")) << error;
}

} // namespace

// A step by the service's calls, one by the client's own, and one by time, which the service sees by itself.
TEST_F(DcbWorld, MovesWithItsClientsWorld) {
    const auto Step = [](const char* when, const json& value, const char* function, int map) {
        json step{{when, value},
                  {"patch", {{{"op", "replace"}, {"path", "/adapters/0/dcb/priority_bitmap"}, {"value", map}}}}};
        if (function)
            step["function"] = function;
        return step;
    };
    json topology = json::parse(WithPriorities(2));
    topology["timeline"] = {Step("after_calls", 2, "get_app_oper_state", 3),
                            Step("after_calls", 1, "ORVAN_InitializeLibrary", 4),
                            Step("after_seconds", 0.05, nullptr, 5)};
    SetEnvironmentVariableW(VARIABLE, Write(L"moving.json", topology.dump()).c_str());
    const CQelModule library = LoadLibraryModule();
    Client client;
    EXPECT_EQ(2, client.Priorities());
    EXPECT_EQ(2, client.Priorities());
    EXPECT_EQ(3, client.Priorities());
    NEED_FUNCTION(library.Get(), ORVAN_InitializeLibrary)();
    const ULONGLONG start = GetTickCount64();
    int map = 4;
    while (map == 4 && GetTickCount64() - start < 60000)
        map = client.Priorities();
    EXPECT_EQ(5, map);
}
