#include "tests/kit/DcbSystem.h"

#include <fstream>

#include <gtest/gtest.h>

#include "Common/Src/ComOwner.h"
#include "Common/Src/Helper.h"
#include "Common/Src/Owner.h"
#include "FcoeAgent/OrvanDcb.h"
#include "tests/kit/ProgramFolder.h"
#include "tests/kit/StartProcess.h"

namespace {

constexpr DWORD TURN_TIMEOUT_MS = 60000;
constexpr DWORD RUN_TIMEOUT_MS = 30000;

bool IsRpcFailure(HRESULT result) {
    return result == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) || result == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED) ||
           result == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE);
}

} // namespace

DcbSystem::Turn::Turn() : mutex(CreateMutexW(nullptr, FALSE, L"Global\\OrvanDcbSystemTest")) {
    const DWORD wait = WaitForSingleObject(mutex, TURN_TIMEOUT_MS);
    EXPECT_TRUE(wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED);
}

DcbSystem::Turn::~Turn() {
    ReleaseMutex(mutex);
    CloseHandle(mutex);
}

DcbSystem::DcbSystem() {
    // Wine 8 forgets handles of the service manager, ERROR_INVALID_HANDLE, when threads or processes open and close
    // theirs at once; not those of a process that keeps one open.
    static const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (State() != 0) // a test that was killed left it
        Run(L"--uninstall");
    Simulate({});
    EXPECT_EQ(0u, Run(L"--install --topology \"" + TopologyFile().wstring() + L'"'));
}

DcbSystem::~DcbSystem() {
    EXPECT_EQ(0u, Run(L"--uninstall"));
}

std::wstring DcbSystem::Identifier(std::size_t adapter) {
    return L"{00000000-0000-0000-0000-" + std::to_wstring(100000000000ull + adapter) + L'}';
}

void DcbSystem::Simulate(const std::vector<nlohmann::json>& dcbOfAdapters, const nlohmann::json& faults) {
    auto adapters = nlohmann::json::array();
    for (std::size_t i = 0; i < dcbOfAdapters.size(); ++i) {
        const std::wstring identifier = Identifier(i);
        adapters.push_back(
            {{"identifier", std::string(identifier.begin(), identifier.end())},
             {"mac", "02:05:7C:00:00:01"},
             {"port", {{"node_wwn", "10:00:02:05:7C:00:00:01"}, {"port_wwn", "20:00:02:05:7C:00:00:01"}}},
             {"dcb", dcbOfAdapters[i]}});
    }
    nlohmann::json topology{{"adapters", adapters}};
    if (!faults.is_null())
        topology["faults"] = faults;
    std::ofstream(TopologyFile()) << topology;
}

void DcbSystem::Start() {
    // Wine may lose a process before it begins; the service then does not start, and is asked once more.
    EXPECT_TRUE(CHelper().QelStartService(CHelper::SERVICE_DCB) || CHelper().QelStartService(CHelper::SERVICE_DCB));
    // Wine keeps the connections to a service that crashed, and takes them for those of one that got the same process
    // id: they are spent here.
    EXPECT_HRESULT_SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    HRESULT result = E_FAIL;
    for (int i = 0; i < 10 && (i == 0 || IsRpcFailure(result)); ++i) {
        CQelComPointer<IUnknown> service;
        result = CoCreateInstance(__uuidof(OrvanDcbIoControl), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(IUnknown),
                                  reinterpret_cast<void**>(service.Put()));
    }
    CoUninitialize();
}

void DcbSystem::Stop() {
    EXPECT_TRUE(CHelper().QelStopService(CHelper::SERVICE_DCB));
}

DWORD DcbSystem::State() {
    const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const CQelServiceHandle service(OpenServiceW(manager.Get(), L"OrvanDCB", SERVICE_QUERY_STATUS));
    SERVICE_STATUS status{};
    return service && QueryServiceStatus(service.Get(), &status) ? status.dwCurrentState : 0;
}

bool DcbSystem::WaitFor(DWORD state) {
    for (int i = 0; i < 500; ++i, Sleep(20)) {
        if (State() == state)
            return true;
    }
    return false;
}

HANDLE DcbSystem::Launch(const std::wstring& arguments) {
    const std::wstring command = L'"' + (ProgramFolder() / L"OrvanDcb.exe").wstring() + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!StartProcess(command, false, startup, process)) {
        ADD_FAILURE() << "cannot start OrvanDcb.exe: error " << GetLastError();
        return nullptr;
    }
    CloseHandle(process.hThread);
    return process.hProcess;
}

DWORD DcbSystem::Run(const std::wstring& arguments) {
    const HANDLE process = Launch(arguments);
    DWORD exitCode = STILL_ACTIVE;
    if (WaitForSingleObject(process, RUN_TIMEOUT_MS) == WAIT_OBJECT_0)
        GetExitCodeProcess(process, &exitCode);
    CloseHandle(process);
    return exitCode;
}
