// The client and the simulated DCB service across processes: service manager, COM activation, proxy and stub.
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/DCXServiceInterface.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/OrvanDcb.h"
#include "simulator/dcbservice/LocalPermission.h"
#include "tests/kit/DcbSystem.h"
#include "tests/kit/LogCapture.h"

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr ULONG FAILED_CODE = 0xFFFFFFFF;

struct Answer {
    bool initialized = false;
    QEL_RESULT result{0x55555555, 0x55555555};
    BYTE enabled = 0x55;
    ULONG link = 0x55555555; // also when the client was not initialized
};

Answer Ask(std::size_t adapter = 0) {
    CDCX_ServiceInterface client(DcbSystem::Identifier(adapter).c_str(), FALSE);
    Answer answer;
    answer.initialized = client.IsInitialized();
    if (answer.initialized)
        client.GetDCB_FcoeLinkStatus(answer.result, answer.enabled, answer.link);
    return answer;
}

// COM on the test's thread, for those tests that use the class without the client.
class ComThread {
  public:
    ComThread() { EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)); }
    ~ComThread() { CoUninitialize(); }
    ComThread(const ComThread&) = delete;
    ComThread& operator=(const ComThread&) = delete;

    CQelComPointer<IOrvanDcbIoControl> Create(HRESULT expected = S_OK) const {
        CQelComPointer<IOrvanDcbIoControl> control;
        EXPECT_EQ(expected, CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER,
                                             __uuidof(IOrvanDcbIoControl), reinterpret_cast<void**>(control.Put())));
        return control;
    }
};

CQelBstr Name(std::size_t adapter) {
    return CQelBstr(SysAllocString(DcbSystem::Identifier(adapter).c_str()));
}

json Fault(const char* function, json fault) {
    fault["function"] = function;
    return json::array({fault});
}

class DcbService : public testing::Test {
  protected:
    DcbSystem system;
    LogCapture log;
};

TEST_F(DcbService, StoppedServiceIsNotAsked) {
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), DcbSystem::State());
    EXPECT_FALSE(Ask().initialized);
    EXPECT_TRUE(log.Has("ERROR:  Orvan DCB service is not running - skipping CoInitialize attempt"));
    EXPECT_EQ(static_cast<DWORD>(SERVICE_STOPPED), DcbSystem::State());
}

TEST_F(DcbService, EveryOutcomeArrivesUnchanged) {
    const struct {
        const char* dcb;
        ULONG code;
        BYTE enabled;
        ULONG link;
    } rows[] = {
        {R"({})", 0, 1, 0},
        {R"({"pfc": [1, 1, 1, 0, 1, 1, 1, 1]})", 0, 1, 8},
        {R"({"enabled": 0})", 0, 0, 10},
        {R"({"config_hresult": "0x80004005"})", 0, 0, 10},
        {R"({"app_hresult": 1})", 0, 1, 7},
        {R"({"app_hresult": 2})", 0, 1, 9},
        {R"({"app_hresult": 3})", 0, 1, 9},
        {R"({"app_hresult": 4})", 0, 1, 10},
        {R"({"app_hresult": "0x80070005"})", FAILED_CODE, 1, 10},
        {R"({"priority_bitmap": 0})", 0, 1, 8},
        {R"({"priority_bitmap": 0, "pfc": [1, 0, 0, 0, 0, 0, 0, 0]})", 0, 1, 0},
        {R"({"priority_bitmap": 0, "pfc_hresult": 4})", 0, 1, 4},
        {R"({"priority_bitmap": 128, "pfc": [0, 0, 0, 0, 0, 0, 0, 1]})", 0, 1, 0},
        {R"({"pfc_hresult": 1})", 0, 1, 3},
        {R"({"pfc_hresult": 2})", 0, 1, 10},
        {R"({"pfc_hresult": 3})", 0, 1, 10},
        {R"({"pfc_hresult": "0x80004005"})", FAILED_CODE, 1, 10},
    };
    std::vector<json> adapters;
    for (const auto& row : rows)
        adapters.push_back(json::parse(row.dcb));
    system.Simulate(adapters);
    system.Start();
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Answer answer = Ask(i);
        EXPECT_TRUE(answer.initialized) << rows[i].dcb;
        EXPECT_EQ(rows[i].code, answer.result.ulErrCode) << rows[i].dcb;
        EXPECT_EQ(rows[i].enabled, answer.enabled) << rows[i].dcb;
        EXPECT_EQ(rows[i].link, answer.link) << rows[i].dcb;
    }
    EXPECT_TRUE(log.Has("GetDCB_FcoeLinkStatus() - call to get_app_oper_state() - failed - exiting!  hr=0x80070005"));
}

TEST_F(DcbService, UnknownAdapterIsUnknown) {
    system.Simulate({json::object()});
    system.Start();
    const Answer answer = Ask(1);
    EXPECT_TRUE(answer.initialized);
    EXPECT_EQ(0u, answer.result.ulErrCode);
    EXPECT_EQ(0, answer.enabled);
    EXPECT_EQ(10u, answer.link);
}

TEST_F(DcbService, RefusedClassIsLogged) {
    system.Simulate({json::object()}, Fault("CreateInstance", {{"hresult", "0x80070005"}}));
    system.Start();
    EXPECT_FALSE(Ask().initialized);
    EXPECT_TRUE(log.Has("Initialize() - CoCreateInstance Failed - hr=0x80070005."));
}

TEST_F(DcbService, CrashWhileTheConfigurationIsAskedEndsSilently) {
    system.Simulate({json::object()}, Fault("get_dcb_config", {{"throw", true}}));
    system.Start();
    const Answer answer = Ask();
    EXPECT_TRUE(answer.initialized);
    EXPECT_EQ(0u, answer.result.ulErrCode);
    EXPECT_EQ(0, answer.enabled);
    EXPECT_EQ(10u, answer.link);
    EXPECT_TRUE(DcbSystem::WaitFor(SERVICE_STOPPED));
}

TEST_F(DcbService, CrashDuringAStateQueryIsAnErrorAndTheServiceCanStartAgain) {
    system.Simulate({json::object()}, Fault("get_app_oper_state", {{"throw", true}}));
    system.Start();
    const Answer answer = Ask();
    EXPECT_TRUE(answer.initialized);
    EXPECT_EQ(FAILED_CODE, answer.result.ulErrCode);
    EXPECT_EQ(1, answer.enabled);
    EXPECT_EQ(10u, answer.link);
    const auto messages = log.Messages();
    EXPECT_THAT(messages, testing::Contains(HasSubstr("call to get_app_oper_state() - failed - exiting!  hr=0x8")));
    ASSERT_TRUE(DcbSystem::WaitFor(SERVICE_STOPPED));
    EXPECT_FALSE(Ask().initialized);

    system.Simulate({json::object()});
    system.Start();
    EXPECT_EQ(0u, Ask().link);
}

TEST_F(DcbService, StoppingTheServiceBreaksTheConnection) {
    system.Simulate({json::object()});
    system.Start();
    CDCX_ServiceInterface client(DcbSystem::Identifier(0).c_str(), FALSE);
    ASSERT_TRUE(client.IsInitialized());
    system.Stop();
    Answer answer;
    client.GetDCB_FcoeLinkStatus(answer.result, answer.enabled, answer.link);
    EXPECT_EQ(0u, answer.result.ulErrCode);
    EXPECT_EQ(10u, answer.link);
    EXPECT_TRUE(client.UnInitialize());
}

TEST_F(DcbService, FaultsCountAcrossClients) {
    system.Simulate({json::object()}, Fault("get_app_oper_state", {{"hresult", 1}, {"on_call", 2}}));
    system.Start();
    EXPECT_EQ(0u, Ask().link);
    EXPECT_EQ(7u, Ask().link);
    EXPECT_EQ(0u, Ask().link);
}

TEST_F(DcbService, TakesUpAChangedTopology) {
    system.Simulate({json::object()});
    system.Start();
    EXPECT_EQ(0u, Ask().link);
    system.Simulate({{{"app_hresult", 1}}});
    EXPECT_EQ(7u, Ask().link);
}

TEST_F(DcbService, WrongTopologyFailsEveryQuery) {
    std::ofstream(system.TopologyFile()) << "{";
    system.Start();
    const ComThread com;
    const auto control = com.Create();
    ASSERT_TRUE(control);
    DCB_CONFIG config{};
    EXPECT_EQ(E_UNEXPECTED, control.Get()->get_dcb_config(Name(0).Get(), &config));
}

TEST_F(DcbService, AnswersSeveralClientsAtOnce) {
    system.Simulate({json::object(), {{"app_hresult", 1}}, {{"app_hresult", 2}}, {{"pfc_hresult", 1}}});
    system.Start();
    // Wine 8 destroys the proxies that a process's clients share when the last of them leaves, even while the next one
    // takes them up, and crashes: one client stays.
    const ComThread com;
    CQelComPointer<IClassFactory> factory;
    ASSERT_HRESULT_SUCCEEDED(CoGetClassObject(__uuidof(OrvanDcbIoControl), CLSCTX_LOCAL_SERVER, nullptr,
                                              __uuidof(IClassFactory), reinterpret_cast<void**>(factory.Put())));
    constexpr ULONG LINKS[] = {0, 7, 9, 3};
    std::vector<Answer> answers[std::size(LINKS)];
    std::vector<std::thread> threads;
    for (std::size_t adapter = 0; adapter < std::size(LINKS); ++adapter) {
        threads.emplace_back([&, adapter] {
            for (int i = 0; i < 5; ++i)
                answers[adapter].push_back(Ask(adapter));
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (std::size_t adapter = 0; adapter < std::size(LINKS); ++adapter) {
        for (const Answer& answer : answers[adapter]) {
            EXPECT_TRUE(answer.initialized) << "adapter " << adapter;
            EXPECT_EQ(0u, answer.result.ulErrCode) << "adapter " << adapter;
            EXPECT_EQ(1, answer.enabled) << "adapter " << adapter;
            EXPECT_EQ(LINKS[adapter], answer.link) << "adapter " << adapter;
        }
    }
}

TEST_F(DcbService, AllSlotsPassTheProxy) {
    system.Simulate({json::object()});
    system.Start();
    const ComThread com;
    const auto owner = com.Create();
    ASSERT_TRUE(owner);
    IOrvanDcbIoControl* const control = owner.Get();
    UINT types = 5;
    EXPECT_EQ(S_OK, control->GetTypeInfoCount(&types));
    EXPECT_EQ(0u, types);
    EXPECT_EQ(E_NOTIMPL, control->Reserved07());
    EXPECT_EQ(E_NOTIMPL, control->Reserved14());
    EXPECT_EQ(E_NOTIMPL, control->Reserved16());
    EXPECT_EQ(E_NOTIMPL, control->Reserved18());
    EXPECT_EQ(E_NOTIMPL, control->Reserved20());
    EXPECT_EQ(E_NOTIMPL, control->Reserved39());
    DCB_CONFIG config;
    DCB_APP_STATE app;
    DCB_PFC_STATE pfc;
    EXPECT_EQ(S_OK, control->get_dcb_config(Name(0).Get(), &config));
    EXPECT_EQ(1, config.lDcbEnabled);
    EXPECT_THAT(config.lReserved, testing::Each(0));
    EXPECT_EQ(S_OK, control->get_app_oper_state(Name(0).Get(), 0, &app));
    EXPECT_EQ(8, app.byPriorityMap);
    EXPECT_EQ(E_INVALIDARG, control->get_app_oper_state(Name(0).Get(), 1, &app));
    EXPECT_EQ(S_OK, control->get_pfc_oper_state(Name(0).Get(), &pfc));
    EXPECT_THAT(pfc.lEnabled, ElementsAre(0, 0, 0, 1, 0, 0, 0, 0));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_NOT_FOUND), control->get_pfc_oper_state(Name(1).Get(), &pfc));
}

TEST_F(DcbService, FaultsOfTheOperations) {
    system.Simulate({json::object()}, json::array({{{"function", "get_pfc_oper_state"}, {"hresult", "0x80004001"}},
                                                   {{"function", "get_dcb_config"}, {"garbage", true}}}));
    system.Start();
    const ComThread com;
    const auto control = com.Create();
    ASSERT_TRUE(control);
    DCB_PFC_STATE pfc;
    EXPECT_EQ(E_NOTIMPL, control.Get()->get_pfc_oper_state(Name(0).Get(), &pfc));
    DCB_CONFIG config;
    EXPECT_EQ(S_OK, control.Get()->get_dcb_config(Name(0).Get(), &config));
    EXPECT_EQ(static_cast<LONG>(0xA5A5A5A5), config.lReserved[6]);
}

TEST_F(DcbService, ComStartsTheService) {
    const ComThread com;
    EXPECT_TRUE(com.Create());
    EXPECT_EQ(static_cast<DWORD>(SERVICE_RUNNING), DcbSystem::State());
}

TEST_F(DcbService, EmbeddedServerEndsWithItsLastObject) {
    system.Simulate({json::object()});
    const HANDLE process = DcbSystem::Launch(L"--topology \"" + system.TopologyFile().wstring() + L"\" -Embedding");
    const ComThread com;
    // Nothing but the running process is left to serve the class; it is on offer soon after the start.
    EXPECT_EQ(0, RegDeleteTreeW(HKEY_CLASSES_ROOT, L"CLSID\\{6F0C8E0A-3B61-4B53-9B0E-0C6D2D1A7C41}"));
    CQelComPointer<IOrvanDcbIoControl> first;
    for (int i = 0; i < 500 && !first; ++i, Sleep(20))
        CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IOrvanDcbIoControl),
                         reinterpret_cast<void**>(first.Put()));
    ASSERT_TRUE(first);
    auto second = com.Create();
    DCB_CONFIG config{};
    EXPECT_EQ(S_OK, first.Get()->get_dcb_config(Name(0).Get(), &config));
    first.Reset();
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(process, 100));
    second.Reset();
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), WaitForSingleObject(process, 10000));
    DWORD exitCode = 1;
    GetExitCodeProcess(process, &exitCode);
    EXPECT_EQ(0u, exitCode);
    CloseHandle(process);
}

TEST_F(DcbService, InstallingTwiceReplaces) {
    EXPECT_EQ(0u, DcbSystem::Run(L"--install --topology \"" + system.TopologyFile().wstring() + L'"'));
    system.Simulate({json::object()});
    system.Start();
    EXPECT_EQ(0u, Ask().link);
    EXPECT_TRUE(Ask().initialized);
}

TEST_F(DcbService, IsInstalledAfterComWithAnAccountOfFewRights) {
    const auto expectConfiguration = [] {
        const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
        const CQelServiceHandle service(OpenServiceW(manager.Get(), L"OrvanDCB", SERVICE_QUERY_CONFIG));
        alignas(QUERY_SERVICE_CONFIGW) BYTE buffer[8192];
        auto* const configuration = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(buffer);
        DWORD size = 0;
        ASSERT_TRUE(QueryServiceConfigW(service.Get(), configuration, sizeof buffer, &size));
        wchar_t dependencies[64] = L"";
        DWORD length = sizeof dependencies;
        // Wine's service manager keeps them, and does not tell them.
        EXPECT_EQ(0, RegGetValueW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\OrvanDCB",
                                  L"DependOnService", RRF_RT_REG_MULTI_SZ, nullptr, dependencies, &length));
        EXPECT_EQ((std::wstring{L"RpcSs\0", 7}), (std::wstring{dependencies, length / sizeof(wchar_t)}));
        EXPECT_STREQ(L"NT AUTHORITY\\LocalService", configuration->lpServiceStartName);
        EXPECT_EQ(static_cast<DWORD>(SERVICE_AUTO_START), configuration->dwStartType);
    };
    expectConfiguration();
    EXPECT_EQ(0u, DcbSystem::Run(L"--install"));
    expectConfiguration();
}

TEST_F(DcbService, UsersMayGetTheClass) {
    BYTE bytes[1024];
    DWORD size = sizeof bytes;
    ASSERT_EQ(0, RegGetValueW(HKEY_CLASSES_ROOT, L"AppID\\{6F0C8E0A-3B61-4B53-9B0E-0C6D2D1A7C41}", L"LaunchPermission",
                              RRF_RT_REG_BINARY, nullptr, bytes, &size));
    constexpr DWORD LOCAL_START_AND_ACTIVATION = 1 | 2 | 8;
    EXPECT_EQ(LocalPermission(LOCAL_START_AND_ACTIVATION).Bytes(), std::vector<BYTE>(bytes, bytes + size));
}

TEST_F(DcbService, UninstallStopsTheServiceAndLeavesNothing) {
    system.Start();
    EXPECT_EQ(0u, DcbSystem::Run(L"--uninstall"));
    EXPECT_EQ(0u, DcbSystem::State());
    const ComThread com;
    CLSID classId{};
    EXPECT_EQ(CO_E_CLASSSTRING, CLSIDFromProgID(L"OrvanDCB.IoControl.1", &classId));
    EXPECT_FALSE(com.Create(REGDB_E_CLASSNOTREG));
    for (const wchar_t* key :
         {L"CLSID\\{6F0C8E0A-3B61-4B53-9B0E-0C6D2D1A7C41}", L"AppID\\{6F0C8E0A-3B61-4B53-9B0E-0C6D2D1A7C41}",
          L"Interface\\{C3D1B84B-7B80-404E-BB91-E9F54DE5F3A8}", L"CLSID\\{C3D1B84B-7B80-404E-BB91-E9F54DE5F3A8}"}) {
        HKEY opened = nullptr;
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, RegOpenKeyExW(HKEY_CLASSES_ROOT, key, 0, KEY_READ, &opened));
    }
    EXPECT_EQ(0u, DcbSystem::Run(L"--uninstall"));
}

TEST_F(DcbService, WrongArgumentsAreRefused) {
    EXPECT_EQ(2u, DcbSystem::Run(L"--instal"));
    EXPECT_EQ(2u, DcbSystem::Run(L"--topology"));
    // Not started by the service manager.
    EXPECT_EQ(1u, DcbSystem::Run(L""));
}

} // namespace
