// OrvanWmi.dll takes the place of the WMI locator in a Wine prefix: regsvr32 OrvanWmi.dll, undone by regsvr32 /u. On
// Windows it would take the machine's own WMI away, so it refuses to.
#include <string>

#include <windows.h>

#include <olectl.h>

#include "simulator/com/ComObject.h"
#include "simulator/wmi/Locator.h"

namespace {

constexpr wchar_t SERVER_KEY[] = L"SOFTWARE\\Classes\\CLSID\\{4590F811-1D3A-11D0-891F-00AA004B2E24}\\InprocServer32";
constexpr wchar_t REPLACED_VALUE[] = L"ReplacedByOrvanWmi"; // the system's own server while this one is registered

HMODULE g_module;

struct Server {
    std::wstring path;
    DWORD type = REG_SZ; // or REG_EXPAND_SZ, whose variables count only as such
};

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

bool ReadServer(const wchar_t* value, Server& server) {
    wchar_t text[1024];
    DWORD size = sizeof text;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, SERVER_KEY, value, RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND,
                     &server.type, text, &size) != ERROR_SUCCESS)
        return false;
    server.path = text;
    return true;
}

LSTATUS WriteServer(const wchar_t* value, const Server& server) {
    return RegSetKeyValueW(HKEY_LOCAL_MACHINE, SERVER_KEY, value, server.type, server.path.c_str(),
                           static_cast<DWORD>((server.path.size() + 1) * sizeof(wchar_t)));
}

} // namespace

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH)
        g_module = module;
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID iid, void** object) {
    if (!object)
        return E_POINTER;
    *object = nullptr;
    if (!IsEqualCLSID(classId, CLSID_WbemLocator))
        return CLASS_E_CLASSNOTAVAILABLE;
    auto* const factory = new (std::nothrow) ComClassFactory<Locator>;
    if (!factory)
        return E_OUTOFMEMORY;
    const HRESULT result = factory->QueryInterface(iid, object);
    factory->Release();
    return result;
}

STDAPI DllCanUnloadNow() {
    return ComObjectCount::IsNone() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
    if (!IsWine())
        return E_ACCESSDENIED;
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(g_module, path.data(), static_cast<DWORD>(path.size())));
    Server replaced;
    LSTATUS status = ERROR_SUCCESS;
    if (!ReadServer(REPLACED_VALUE, replaced)) {
        if (!ReadServer(nullptr, replaced))
            return SELFREG_E_CLASS;
        status = WriteServer(REPLACED_VALUE, replaced);
    }
    if (status == ERROR_SUCCESS)
        status = WriteServer(nullptr, {path, REG_SZ});
    return HRESULT_FROM_WIN32(status);
}

STDAPI DllUnregisterServer() {
    Server replaced;
    if (!ReadServer(REPLACED_VALUE, replaced))
        return S_OK;
    LSTATUS status = WriteServer(nullptr, replaced);
    if (status == ERROR_SUCCESS)
        status = RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, SERVER_KEY, REPLACED_VALUE);
    return HRESULT_FROM_WIN32(status);
}
