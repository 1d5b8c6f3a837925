#include "simulator/dcbservice/Registration.h"

#include <optional>

#include <ole2.h>

#include "Common/Src/Owner.h"
#include "FcoeAgent/OrvanDcb.h"
#include "simulator/dcbservice/LocalPermission.h"
#include "simulator/dcbservice/ServiceHost.h"

namespace {

constexpr wchar_t CLASSES[] = L"SOFTWARE\\Classes\\";
constexpr wchar_t PROG_ID[] = L"OrvanDCB.IoControl.1";
constexpr wchar_t CLASS_NAME[] = L"ORVAN DCB control";
constexpr DWORD TIMEOUT_MS = 20000;
constexpr wchar_t DEPENDENCIES[] = L"RpcSs\0"; // COM is not there before it
constexpr wchar_t ACCOUNT[] = L"NT AUTHORITY\\LocalService";
constexpr wchar_t NO_PASSWORD[] = L"";

std::wstring ClassId() {
    wchar_t text[40];
    StringFromGUID2(__uuidof(OrvanDcbIoControl), text, ARRAYSIZE(text));
    return text;
}

std::wstring ProgramPath() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// The first error of several steps.
class FirstError {
  public:
    void Add(DWORD error) {
        if (m_error == NO_ERROR)
            m_error = error;
    }
    DWORD Get() const { return m_error; }

  private:
    DWORD m_error = NO_ERROR;
};

DWORD SetClassValue(const std::wstring& key, const wchar_t* value, const std::wstring& text) {
    return static_cast<DWORD>(RegSetKeyValueW(HKEY_LOCAL_MACHINE, (CLASSES + key).c_str(), value, REG_SZ, text.c_str(),
                                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
}

// Users may have the service started and get its class; without it only those may who are at the machine, and
// administrators.
DWORD SetLaunchPermission(const std::wstring& key) {
    const auto bytes =
        LocalPermission(COM_RIGHTS_EXECUTE | COM_RIGHTS_EXECUTE_LOCAL | COM_RIGHTS_ACTIVATE_LOCAL).Bytes();
    if (bytes.empty())
        return GetLastError();
    return static_cast<DWORD>(RegSetKeyValueW(HKEY_LOCAL_MACHINE, (CLASSES + key).c_str(), L"LaunchPermission",
                                              REG_BINARY, bytes.data(), static_cast<DWORD>(bytes.size())));
}

DWORD DeleteClassKey(const std::wstring& key) {
    const LSTATUS status = RegDeleteTreeW(HKEY_LOCAL_MACHINE, (CLASSES + key).c_str());
    return status == ERROR_FILE_NOT_FOUND ? NO_ERROR : static_cast<DWORD>(status);
}

// Tries until there is a result; ERROR_SERVICE_REQUEST_TIMEOUT when there is none in time.
template <class Attempt> DWORD Poll(Attempt attempt) {
    for (const DWORD start = GetTickCount(); GetTickCount() - start < TIMEOUT_MS; Sleep(20)) {
        if (const std::optional<DWORD> result = attempt())
            return *result;
    }
    return ERROR_SERVICE_REQUEST_TIMEOUT;
}

// Calls one of the proxy's two registration exports.
DWORD CallProxy(const char* function) {
    std::wstring path = ProgramPath();
    path.replace(path.rfind(L'\\') + 1, std::wstring::npos, L"OrvanDcbPs.dll");
    const CQelModule proxy(LoadLibraryW(path.c_str()));
    if (!proxy)
        return GetLastError();
    const auto call =
        reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(proxy.Get(), function)));
    return call ? static_cast<DWORD>(call()) : GetLastError();
}

DWORD InstallService(const std::wstring& command) {
    const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CREATE_SERVICE));
    if (!manager)
        return GetLastError();
    CQelServiceHandle service(CreateServiceW(manager.Get(), SERVICE_NAME, SERVICE_DISPLAY_NAME, SERVICE_ALL_ACCESS,
                                             SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                                             command.c_str(), nullptr, nullptr, DEPENDENCIES, ACCOUNT, NO_PASSWORD));
    if (service)
        return NO_ERROR;
    if (GetLastError() != ERROR_SERVICE_EXISTS)
        return GetLastError();
    service.Reset(OpenServiceW(manager.Get(), SERVICE_NAME, SERVICE_CHANGE_CONFIG));
    if (!service || !ChangeServiceConfigW(service.Get(), SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
                                          SERVICE_ERROR_NORMAL, command.c_str(), nullptr, nullptr, DEPENDENCIES,
                                          ACCOUNT, NO_PASSWORD, SERVICE_DISPLAY_NAME))
        return GetLastError();
    return NO_ERROR;
}

DWORD StopService(SC_HANDLE service) {
    SERVICE_STATUS status{};
    const DWORD error = ControlService(service, SERVICE_CONTROL_STOP, &status) ? NO_ERROR : GetLastError();
    // A service may end before the manager has its answer: it is stopped all the same.
    return Poll([&]() -> std::optional<DWORD> {
        if (!QueryServiceStatus(service, &status))
            return GetLastError();
        if (status.dwCurrentState == SERVICE_STOPPED)
            return NO_ERROR;
        if (error != NO_ERROR && status.dwCurrentState != SERVICE_STOP_PENDING)
            return error;
        return std::nullopt;
    });
}

DWORD UninstallService() {
    const CQelServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    if (!manager)
        return GetLastError();
    CQelServiceHandle service(OpenServiceW(manager.Get(), SERVICE_NAME, SERVICE_STOP | SERVICE_QUERY_STATUS | DELETE));
    if (!service)
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? NO_ERROR : GetLastError();
    FirstError error;
    error.Add(StopService(service.Get()));
    if (!DeleteService(service.Get()) && GetLastError() != ERROR_SERVICE_MARKED_FOR_DELETE)
        error.Add(GetLastError());
    service.Reset();
    // It stays until the last handle to it is closed, the one of its own process among them.
    error.Add(Poll([&]() -> std::optional<DWORD> {
        const CQelServiceHandle left(OpenServiceW(manager.Get(), SERVICE_NAME, SERVICE_QUERY_STATUS));
        if (left)
            return std::nullopt;
        return GetLastError() == ERROR_SERVICE_DOES_NOT_EXIST ? NO_ERROR : GetLastError();
    }));
    return error.Get();
}

} // namespace

DWORD Install(const std::wstring& arguments) {
    const std::wstring id = ClassId();
    const std::wstring command = L'"' + ProgramPath() + L'"' + (arguments.empty() ? L"" : L' ' + arguments);
    FirstError error;
    error.Add(CallProxy("DllRegisterServer"));
    error.Add(SetClassValue(PROG_ID, nullptr, CLASS_NAME));
    error.Add(SetClassValue(std::wstring(PROG_ID) + L"\\CLSID", nullptr, id));
    error.Add(SetClassValue(L"CLSID\\" + id, nullptr, CLASS_NAME));
    error.Add(SetClassValue(L"CLSID\\" + id, L"AppID", id));
    error.Add(SetClassValue(L"CLSID\\" + id + L"\\ProgID", nullptr, PROG_ID));
    error.Add(SetClassValue(L"CLSID\\" + id + L"\\LocalServer32", nullptr, command + L" -Embedding"));
    error.Add(SetClassValue(L"AppID\\" + id, nullptr, CLASS_NAME));
    error.Add(SetClassValue(L"AppID\\" + id, L"LocalService", SERVICE_NAME));
    error.Add(SetLaunchPermission(L"AppID\\" + id));
    error.Add(InstallService(command));
    return error.Get();
}

DWORD Uninstall() {
    const std::wstring id = ClassId();
    FirstError error;
    error.Add(UninstallService());
    error.Add(DeleteClassKey(PROG_ID));
    error.Add(DeleteClassKey(L"CLSID\\" + id));
    error.Add(DeleteClassKey(L"AppID\\" + id));
    error.Add(CallProxy("DllUnregisterServer"));
    return error.Get();
}
