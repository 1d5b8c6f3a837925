#include "simulator/wmi/Locator.h"

#include <string>
#include <string_view>

#include "simulator/control/Simulation.h"
#include "simulator/topology/Text.h"
#include "simulator/wmi/DcbNamespace.h"

namespace {

// Also as "\\.\root\standardcimv2" and with slashes.
bool IsSimulatedNamespace(std::wstring_view name) {
    std::wstring plain(name);
    for (auto& character : plain) {
        if (character == L'/')
            character = L'\\';
    }
    constexpr std::wstring_view LOCAL = L"\\\\.\\";
    if (plain.starts_with(LOCAL))
        plain.erase(0, LOCAL.size());
    return sim::EqualNoCase(plain, L"root\\standardcimv2");
}

// A locator of the system's own WMI. Its module stays loaded: what it hands out may live on.
HRESULT MakeSystemLocator(IWbemLocator** locator) {
    wchar_t path[MAX_PATH];
    const UINT length = GetSystemDirectoryW(path, ARRAYSIZE(path));
    const HMODULE module = LoadLibraryW((std::wstring(path, length) + L"\\wbem\\wbemprox.dll").c_str());
    if (!module)
        return HRESULT_FROM_WIN32(GetLastError());
    const auto getClassObject =
        reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    if (!getClassObject)
        return HRESULT_FROM_WIN32(GetLastError());
    IClassFactory* factory = nullptr;
    HRESULT result = getClassObject(CLSID_WbemLocator, IID_IClassFactory, reinterpret_cast<void**>(&factory));
    if (FAILED(result))
        return result;
    result = factory->CreateInstance(nullptr, IID_IWbemLocator, reinterpret_cast<void**>(locator));
    factory->Release();
    return result;
}

} // namespace

HRESULT Locator::ConnectServer(const BSTR resource, const BSTR user, const BSTR password, const BSTR locale, LONG flags,
                               const BSTR authority, IWbemContext* context, IWbemServices** services) {
    if (!resource || !services)
        return WBEM_E_INVALID_PARAMETER;
    *services = nullptr;
    if (IsSimulatedNamespace(resource)) {
        sim::Simulation::Instance().LoadIfChanged();
        *services = new (std::nothrow) DcbNamespace;
        return *services ? WBEM_S_NO_ERROR : WBEM_E_OUT_OF_MEMORY;
    }
    IWbemLocator* locator = nullptr;
    HRESULT result = MakeSystemLocator(&locator);
    if (SUCCEEDED(result)) {
        result = locator->ConnectServer(resource, user, password, locale, flags, authority, context, services);
        locator->Release();
    }
    return result;
}
