// What SetupAPI tells of an adapter's device.
#include <algorithm>

#include <windows.h>

#include <setupapi.h>

#include "tools/reading/Text.h"
#include "tools/recording/Questions.h"

namespace recording {
namespace {

constexpr GUID NETWORK_DEVICES = {0x4D36E972, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};
constexpr DWORD MAX_DEVICES = 65536;

// Loaded when it is needed: no other command of the program has to wait for it.
struct SetupApi {
    LoadedModule module{L"setupapi.dll"};
    decltype(&SetupDiGetClassDevsW) getDevices = module.Find<decltype(&SetupDiGetClassDevsW)>("SetupDiGetClassDevsW");
    decltype(&SetupDiEnumDeviceInfo) getDevice = module.Find<decltype(&SetupDiEnumDeviceInfo)>("SetupDiEnumDeviceInfo");
    decltype(&SetupDiOpenDevRegKey) openKey = module.Find<decltype(&SetupDiOpenDevRegKey)>("SetupDiOpenDevRegKey");
    decltype(&SetupDiGetDeviceRegistryPropertyW) getProperty =
        module.Find<decltype(&SetupDiGetDeviceRegistryPropertyW)>("SetupDiGetDeviceRegistryPropertyW");
    decltype(&SetupDiDestroyDeviceInfoList) destroy =
        module.Find<decltype(&SetupDiDestroyDeviceInfoList)>("SetupDiDestroyDeviceInfoList");

    bool IsWhole() const { return getDevices && getDevice && openKey && getProperty && destroy; }
};

std::wstring InstanceOf(const SetupApi& api, HDEVINFO devices, SP_DEVINFO_DATA& device) {
    const HKEY key = api.openKey(devices, &device, DICS_FLAG_GLOBAL, 0, DIREG_DRV, KEY_READ);
    if (key == INVALID_HANDLE_VALUE)
        return {};
    wchar_t text[256] = L"";
    DWORD size = sizeof text;
    const LSTATUS result = RegGetValueW(key, nullptr, L"NetCfgInstanceId", RRF_RT_REG_SZ, nullptr, text, &size);
    RegCloseKey(key);
    return result == ERROR_SUCCESS ? text : L"";
}

// The last error when the device is not found.
DWORD Find(const SetupApi& api, HDEVINFO devices, const std::wstring& instance, SP_DEVINFO_DATA& device) {
    device.cbSize = sizeof device;
    for (DWORD index = 0; index < MAX_DEVICES; ++index) {
        if (!api.getDevice(devices, index, &device))
            return GetLastError();
        if (reading::EqualIgnoringCase(InstanceOf(api, devices, device), instance))
            return ERROR_SUCCESS;
    }
    return ERROR_NO_MORE_ITEMS;
}

DWORD Read(const SetupApi& api, HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property,
           std::optional<std::uint32_t>& value) {
    DWORD read = 0;
    if (!api.getProperty(devices, &device, property, nullptr, reinterpret_cast<BYTE*>(&read), sizeof read, nullptr))
        return GetLastError();
    value = read;
    return ERROR_SUCCESS;
}

struct Location {
    std::optional<std::uint32_t> bus;
    std::optional<std::uint32_t> slot; // device and function
};

DWORD Locate(const std::wstring& instance, Location& location) {
    const SetupApi api;
    if (!api.IsWhole())
        return ERROR_PROC_NOT_FOUND;
    const HDEVINFO devices = api.getDevices(&NETWORK_DEVICES, nullptr, nullptr, DIGCF_PRESENT);
    if (devices == INVALID_HANDLE_VALUE)
        return GetLastError();
    SP_DEVINFO_DATA device{};
    DWORD error = Find(api, devices, instance, device);
    if (error == ERROR_SUCCESS)
        error = Read(api, devices, device, SPDRP_BUSNUMBER, location.bus);
    if (error == ERROR_SUCCESS)
        error = Read(api, devices, device, SPDRP_ADDRESS, location.slot);
    api.destroy(devices);
    return error;
}

} // namespace

// One question: whatever of it fails, an agent shows the location that it has by then. The count says what that is.
void AskPci(Session& session, const std::string& adapter, const std::string& instance) {
    Location location;
    session.Ask({.function = PCI_PROPERTY, .adapter = adapter}, [&](Reply& answer) {
        answer.status = Locate(reading::FromUtf8(instance), location);
        answer.count = location.bus.has_value() + location.slot.has_value();
    });
    session.Tell([&](Journal& journal) {
        for (AdapterFacts& facts : journal.adapters)
            if (facts.identifier == adapter && location.bus) {
                facts.bus = location.bus;
                facts.slot = location.slot ? location.slot : facts.slot;
            }
    });
}

} // namespace recording
