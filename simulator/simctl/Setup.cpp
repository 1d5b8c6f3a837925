// simctl setup, simctl remove
#include <filesystem>

#include <windows.h>

#include "Common/Src/Owner.h"
#include "simulator/simctl/SuiteValues.h"
#include "simulator/simctl/SystemText.h"
#include "simulator/simctl/Verbs.h"
#include "simulator/topology/Text.h"

namespace simctl {
namespace {

constexpr wchar_t SERVICE[] = L"OrvanDCB";
constexpr ULONGLONG SERVICE_TIMEOUT_MS = 30000;
constexpr DWORD POLL_MS = 50;

std::wstring Program(const wchar_t* name) {
    return SuiteFolder() + L"\\bin\\" + name;
}

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

// What went wrong; empty: nothing.
std::string RunDcbService(const wchar_t* option) {
    std::wstring line = L'"' + Program(L"OrvanDcb.exe") + L"\" " + option;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return "OrvanDcb.exe cannot be started: " + SystemText(GetLastError());
    CloseHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    return code == 0 ? std::string() : "OrvanDcb.exe " + sim::Utf8(option) + " ended with " + std::to_string(code);
}

// A session of Wine that is still starting refuses the first requests, so they are repeated.
std::string StartDcbService() {
    const ULONGLONG end = GetTickCount64() + SERVICE_TIMEOUT_MS;
    DWORD error = ERROR_SERVICE_REQUEST_TIMEOUT;
    do {
        const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
        const CQelServiceHandle service(
            manager ? OpenServiceW(manager.Get(), SERVICE, SERVICE_START | SERVICE_QUERY_STATUS) : nullptr);
        SERVICE_STATUS status{};
        if (service && QueryServiceStatus(service.Get(), &status)) {
            if (status.dwCurrentState == SERVICE_RUNNING)
                return {};
            if (status.dwCurrentState == SERVICE_STOPPED && !StartServiceW(service.Get(), 0, nullptr))
                error = GetLastError();
        } else {
            error = GetLastError();
        }
        Sleep(POLL_MS);
    } while (GetTickCount64() < end);
    return "the DCB service does not start: " + SystemText(error);
}

// Wine's WMI has no provider for DCB; this one replaces it.
std::string CallWmiProvider(const char* function) {
    HRESULT result = HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    if (const HMODULE provider = LoadLibraryW(Program(L"OrvanWmi.dll").c_str())) {
        if (const auto call = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
                reinterpret_cast<void*>(GetProcAddress(provider, function))))
            result = call();
        FreeLibrary(provider);
    }
    return SUCCEEDED(result)
               ? std::string()
               : "OrvanWmi.dll: " + std::string(function) + ": " + SystemText(static_cast<unsigned long>(result));
}

// The suite's programs take the simulated setupapi.dll beside them instead of Wine's.
void TakeOwnSetupApi(bool take) {
    for (const wchar_t* program : {L"fcoectl.exe", L"simctl.exe"}) {
        const std::wstring key = std::wstring(L"Software\\Wine\\AppDefaults\\") + program;
        constexpr wchar_t ORDER[] = L"native,builtin";
        if (take)
            RegSetKeyValueW(HKEY_CURRENT_USER, (key + L"\\DllOverrides").c_str(), L"setupapi", REG_SZ, ORDER,
                            sizeof ORDER);
        else
            RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    }
}

int Refused(Console& console, const std::string& why) {
    console.Err(why + "\n");
    return WRONG;
}

std::string ValuesProblem(LSTATUS status) {
    if (status == ERROR_ACCESS_DENIED)
        return "the registry cannot be written: run this as administrator";
    return status == ERROR_SUCCESS
               ? std::string()
               : "the registry cannot be written: " + SystemText(static_cast<unsigned long>(status));
}

} // namespace

int SetUp(Console& console) {
    if (const std::wstring other = ForeignAgent(); !other.empty())
        return Refused(console, "\"" + sim::Utf8(other) + "\" is registered on this machine: remove it first");
    std::error_code none; // the log says itself where it cannot be written
    std::filesystem::create_directories(SuiteFolder() + L"\\log", none);
    std::string problem = ValuesProblem(WriteValues());
    if (problem.empty())
        problem = RunDcbService(L"--install");
    if (problem.empty())
        problem = StartDcbService();
    if (problem.empty() && IsWine()) {
        TakeOwnSetupApi(true);
        problem = CallWmiProvider("DllRegisterServer");
    }
    if (!problem.empty())
        return Refused(console, problem);
    console.Out("the simulated suite is set up in " + sim::Utf8(SuiteFolder()) + "\n");
    return GOOD;
}

int Remove(Console& console) {
    if (!IsRegistered())
        return Refused(console, "no suite is set up on this machine");
    if (const std::wstring other = ForeignAgent(); !other.empty())
        return Refused(console, "\"" + sim::Utf8(other) + "\" is registered on this machine, and not this suite");
    std::string problem = RunDcbService(L"--uninstall");
    if (IsWine()) {
        TakeOwnSetupApi(false);
        if (const std::string provider = CallWmiProvider("DllUnregisterServer"); problem.empty())
            problem = provider;
    }
    if (const std::string values = ValuesProblem(DeleteValues()); problem.empty())
        problem = values;
    if (!problem.empty())
        return Refused(console, problem);
    console.Out("the simulated suite is removed; its folder can be deleted: " + sim::Utf8(SuiteFolder()) + "\n");
    return GOOD;
}

} // namespace simctl
